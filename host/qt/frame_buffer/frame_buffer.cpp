#include "frame_buffer.h"

#include "c4d_render.h"
#include "film.h"
#include "filmstrip.h"
#include "frame_commands.h"
#include "frame_probe.h"
#include "frame_status.h"
#include "frame_steering.h"
#include "icons.h"
#include "key_table.h"
#include "layer_choice.h"
#include "message_box.h"
#include "panel_docks.h"
#include "picture_canvas.h"
#include "picture_export.h"
#include "picture_source.h"
#include "qt_text.h"
#include "scene_edits.h"
#include "shown_layers.h"
#include "theme.h"
#include "view_bar.h"
#include "view_setting.h"

namespace host {

namespace {

constexpr int livePeriod = 100; // milliseconds

} // namespace

FrameBuffer::FrameBuffer(Session& session, QWidget* parent)
    : QMainWindow(parent, Qt::Window), session_(session) {
  setObjectName(QStringLiteral("frameBuffer"));
  setWindowTitle(tr("Frame Buffer"));
  setWindowIcon(icon(QStringLiteral("lumenara")));
  setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
  setTabPosition(Qt::AllDockWidgetAreas, QTabWidget::North);
  build();
  connectParts();
  probe_ = new FrameProbe(session_, *this);
  steering_ = new FrameSteering(session_, *this);
  setAcceptDrops(true);
  takeSceneView();
  showCurrent();
}

FrameBuffer::~FrameBuffer() {
  canvas_->setSource(nullptr);
}

// --- parts ---

void FrameBuffer::build() {
  commands_ = new FrameCommands(*this);
  export_ = new PictureExport(session_, *this);
  picture_ = new PictureSource(this);
  canvas_ = new PictureCanvas;
  canvas_->setSource(picture_);
  list_ = new Filmstrip(session_);
  auto* split = new QSplitter(Qt::Horizontal);
  split->addWidget(list_);
  split->addWidget(canvas_);
  split->setStretchFactor(1, 1);
  split->setCollapsible(1, false);
  split->setSizes({232, 728});
  addFileCommands();
  addViewCommands();
  commands_->fillBar({render_, save_, remove_, nullptr, fit_, one_, in_, out_, nullptr, noise_, full_});

  layers_ = new LayerChoice;
  setTipWithKeys(*layers_, layers_->toolTip(), {previous_, next_});
  view_ = new ViewBar;
  view_->insertFront(*layers_);
  for (QAction* action : view_->actions())
    commands_->add(FrameMenu::picture, action);
  auto* centre = new QWidget;
  auto* layout = new QVBoxLayout(centre);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(view_);
  layout->addWidget(split, 1);
  setCentralWidget(centre);
  status_ = new FrameStatus(session_);
  statusBar()->setSizeGripEnabled(false);
  statusBar()->addWidget(status_, 1);
}

void FrameBuffer::addFileCommands() {
  const auto key = [](const char* text) { return QKeySequence(QLatin1String(text)); };
  render_ = commands_->add(FrameMenu::file,
                           {"render", tr("Render"), {key("Shift+R")}, [this] { emit renderWanted(); }});
  more_ = commands_->add(FrameMenu::file, {"more-samples",
                                           tr("More Samples"),
                                           {key("Shift+M")},
                                           [this] { session_.renders().moreSamples(*picture_->bitmap()); },
                                           false,
                                           tr("Doubles the samples of this picture")});
  commands_->addSeparator(FrameMenu::file);
  commands_->add(FrameMenu::file,
                 {"open", tr("Open Picture..."), {key("Ctrl+O")}, [this] { openPictures(); }});
  save_ = commands_->add(
      FrameMenu::file,
      {"save", tr("Save Picture As..."), {key("Ctrl+S"), key("Ctrl+Shift+S")}, [this] { saveAs(); }});
  commands_->addSeparator(FrameMenu::file);
  commands_->add(FrameMenu::file, {"close-window", tr("Close"), {key("Ctrl+W")}, [this] { close(); }});
  copy_ = commands_->add(FrameMenu::edit, {"copy", tr("Copy Picture"), {key("Ctrl+C")}, [this] {
                                             export_->copy(picture_->image());
                                           }});
  remove_ = commands_->add(FrameMenu::edit,
                           {"delete", tr("Remove From List"), {key("Del")}, [this] { removeCurrent(); }});
}

void FrameBuffer::addViewCommands() {
  const auto key = [](const char* text) { return QKeySequence(QLatin1String(text)); };
  const auto middle = [this] { return QRectF(canvas_->rect()).center(); };
  const auto add = [this](FrameCommand command) {
    return commands_->add(FrameMenu::view, std::move(command));
  };
  fit_ = add({"zoom-fit", tr("Whole Picture"), {key("H"), key("0")}, [this] { canvas_->fit(); }});
  one_ = add({"zoom-one", tr("One to One"), {key("1")}, [this] { canvas_->setZoom(1); }});
  in_ = add({"zoom-in", tr("Zoom In"), {key("+"), key("=")}, [this, middle] { canvas_->zoomIn(middle()); }});
  out_ = add({"zoom-out", tr("Zoom Out"), {key("-")}, [this, middle] { canvas_->zoomOut(middle()); }});
  commands_->addSeparator(FrameMenu::view);
  full_ =
      add({"fullscreen", tr("Full Screen"), {key("F11")}, [this] { setFullScreen(!isFullScreen()); }, true});
  next_ = commands_->add(FrameMenu::picture,
                         {"layer-next", tr("Next Layer"), {key("Right")}, [this] { layers_->step(1); }});
  previous_ =
      commands_->add(FrameMenu::picture,
                     {"layer-previous", tr("Previous Layer"), {key("Left")}, [this] { layers_->step(-1); }});
  commands_->add(
      FrameMenu::view,
      {"fullscreen-next", tr("Full Screen on Next Monitor"), {key("Shift+F11")}, [this] { toNextScreen(); }});
  commands_->addSeparator(FrameMenu::view);
  QAction* grid = add({"pixel-grid",
                       tr("Pixel Grid"),
                       {key("Ctrl+G")},
                       [this] { canvas_->showGrid(!canvas_->showsGrid()); },
                       true,
                       tr("Lines between the pixels of an enlarged picture")});
  grid->setChecked(canvas_->showsGrid());
  noise_ = commands_->add(FrameMenu::picture, {"denoise",
                                               tr("Without Noise"),
                                               {key("D")},
                                               [this] { toggleNoise(); },
                                               true,
                                               tr("Shows the denoised picture, or the noisy one")});
  commands_->addSeparator(FrameMenu::picture);
  addHistoryCommands();
}

void FrameBuffer::addHistoryCommands() {
  const auto key = [](const char* text) { return QKeySequence(QLatin1String(text)); };
  const auto add = [this](FrameCommand command) { commands_->add(FrameMenu::picture, std::move(command)); };
  add({"previous-picture", tr("Newer Picture"), {key("PgUp")}, [this] { list_->step(-1); }});
  add({"next-picture", tr("Older Picture"), {key("PgDown")}, [this] { list_->step(1); }});
  add({"restore-scene",
       tr("Restore Scene"),
       {key("Ctrl+Shift+R")},
       [this] { list_->restoreScene(); },
       false,
       tr("Makes the scene what it was when this picture was rendered")});
  add({"show-changes",
       tr("Show What Changed"),
       {key("Ctrl+Shift+D")},
       [this] { list_->showChanges(); },
       false,
       tr("From this picture to the scene now, or between two chosen pictures")});
  add({"find-picture", tr("Search Pictures"), {key("Ctrl+F")}, [this] { list_->search().setFocus(); }});
  add({"star-picture", tr("Star"), {key("*")}, [this] { list_->toggleStar(); }});
  add({"note-picture", tr("Note..."), {key("Shift+N")}, [this] { list_->askNote(); }});
  commands_->addSeparator(FrameMenu::picture);
}

void FrameBuffer::connectParts() {
  connect(canvas_, &PictureCanvas::hovered, this, &FrameBuffer::showPixel);
  connect(canvas_, &PictureCanvas::imageChanged, this, &FrameBuffer::showPixel);
  connect(picture_, &PictureSource::changed, this, [this] { status_->showFaults(picture_->faults()); });
  connect(canvas_, &PictureCanvas::zoomChanged, this, [this] { status_->showZoom(canvas_->zoom()); });
  connect(status_, &FrameStatus::zoomWanted, this,
          [this](double zoom) { zoom > 0 ? canvas_->setZoom(zoom) : canvas_->fit(); });
  connect(canvas_, &PictureCanvas::dragOutWanted, this, [this] { export_->dragOut(picture_->image()); });
  connect(export_, &PictureExport::said, status_, &FrameStatus::say);
  connect(list_, &Filmstrip::said, status_, &FrameStatus::say);
  connect(layers_, &LayerChoice::layerChanged, this, [this] { picture_->setLayer(layers_->shown()); });
  live_.setInterval(livePeriod);
  connect(&live_, &QTimer::timeout, this, [this] {
    if (isVisible() && !picture_->isMaking()) picture_->refresh();
  });
  connect(view_, &ViewBar::lookChanged, this, &FrameBuffer::showLook);
  connect(view_, &ViewBar::keepWanted, this, &FrameBuffer::keepSceneView);
  subscriptions_.push_back(session_.hub().changed.add([this] { takeSceneView(); }));
  subscriptions_.push_back(session_.hub().replaced.add([this](Replacement) { takeSceneView(); }));
  subscriptions_.push_back(session_.pictures().changed.add([this] { showCurrent(); }));
  subscriptions_.push_back(session_.renders().changed.add([this] { refreshPicture(false); }));
  subscriptions_.push_back(session_.renders().finished.add([this] {
    refreshPicture(true);
    showCurrent();
  }));
  connect(&ThemeNotifier::instance(), &ThemeNotifier::changed, this, [this] { canvas_->update(); });
}

QAction* FrameBuffer::addPanel(QWidget* panel, const char* name, const QString& title,
                               const QKeySequence& key) {
  QAction* toggle = dockPanel(*this, panel, name, title);
  if (!key.isEmpty()) toggle->setShortcut(key);
  commands_->add(FrameMenu::panels, toggle);
  return toggle;
}

void FrameBuffer::showPanel(QWidget& panel) {
  host::showPanel(*this, panel);
}

// --- display ---

void FrameBuffer::showCurrent() {
  const PictureList::Picture* picture = session_.pictures().find(session_.pictures().current());
  const SharedBitmap bitmap = picture ? picture->bitmap : nullptr;
  canvas_->setEmptyText(
      session_.pictures().pictures().empty()
          ? tr("No pictures yet.\n\nRender to the Frame Buffer, or save a picture of the viewer here, and it "
               "is listed at the left.")
          : tr("No picture of this scene yet.\n\nThe earlier pictures are listed at the left."));
  if (bitmap != picture_->bitmap()) picture_->setBitmap(bitmap, picture && picture->filmOnly);
  setWindowTitle(picture ? tr("%1 - Frame Buffer").arg(toQt(picture->name)) : tr("Frame Buffer"));
  status_->showSize(bitmap.get());
  status_->showZoom(canvas_->zoom());
  showPixel();
  for (QAction* action : {save_, copy_, fit_, one_, in_, out_})
    action->setEnabled(bitmap != nullptr);
  remove_->setEnabled(picture && !picture->running);
  more_->setEnabled(picture && !picture->running && session_.renders().hasSamples(bitmap.get()));
  const bool lives = picture && picture->live && picture->running;
  if (live_.isActive() && !lives) picture_->refresh(); // the last samples
  lives ? live_.start() : live_.stop();
  showLayers();
  showNoise();
  emit pictureChanged();
}

// A running render takes its layers away for a moment when it begins.
void FrameBuffer::showLayers() {
  const PictureList::Picture* picture = session_.pictures().find(session_.pictures().current());
  const std::shared_ptr<Film> film = picture ? filmOf(*picture->bitmap) : nullptr;
  std::vector<ShownLayer> list = film ? shownLayers(*film) : std::vector<ShownLayer>();
  const bool begins = picture && picture->running && film == layersOf_.lock();
  if (begins && list.size() < layers_->count()) return;
  layersOf_ = film;
  layers_->setLayers(std::move(list));
}

// The pictures of a render that was denoised have both colours in their film.
void FrameBuffer::showNoise() {
  const BaseBitmap* bitmap = picture_->bitmap().get();
  const std::shared_ptr<Film> film = bitmap ? filmOf(*bitmap) : nullptr;
  noise_->setEnabled(film && film->findLayer(film_layers::denoised));
  noise_->setChecked(film && film->showsDenoised());
  view_->setHasLight(film != nullptr); // a render that runs gets its film late
}

void FrameBuffer::toggleNoise() {
  const SharedBitmap bitmap = picture_->bitmap();
  const std::shared_ptr<Film> film = bitmap ? filmOf(*bitmap) : nullptr;
  if (film) showDenoised(*bitmap, !film->showsDenoised());
  picture_->refresh();
  showNoise();
}

void FrameBuffer::showPixel() {
  const QPoint pixel = canvas_->hoveredPixel();
  const BaseBitmap* bitmap = pixel.x() >= 0 ? picture_->bitmap().get() : nullptr;
  status_->showPixel(bitmap, pixel, bitmap ? canvas_->shownColor(pixel) : QColor());
}

// A large picture is refreshed less often, so that the window stays responsive.
void FrameBuffer::refreshPicture(bool now) {
  if (!picture_->bitmap() || picture_->bitmap() != session_.renders().state().bitmap) return;
  if (!now && sinceRefresh_.isValid() && sinceRefresh_.elapsed() < 4 * refreshCost_) return;
  QElapsedTimer timer;
  timer.start();
  picture_->refresh();
  refreshCost_ = timer.elapsed();
  sinceRefresh_.start();
  showLayers();
  showNoise(); // live denoising may have begun
}

// The scene's view is taken over when it becomes another one; until then the window keeps its own.
void FrameBuffer::takeSceneView() {
  const BaseDocument* document = session_.document();
  const RenderData* settings = document ? document->GetActiveRenderData() : nullptr;
  const ViewSettings view = settings ? render::readView(settings->GetData(), document) : ViewSettings();
  if (view == std::exchange(sceneView_, view)) return;
  view_->setView(view);
}

void FrameBuffer::setDesk(const DeskLook& desk) {
  const DeskLook wanted = desk.isPlain() ? DeskLook() : desk;
  if (wanted == desk_) return;
  desk_ = wanted;
  showLook();
}

void FrameBuffer::showLook() {
  CanvasLook look = view_->look();
  look.desk = desk_;
  picture_->setLook(look);
}

void FrameBuffer::keepSceneView() {
  if (!session_.document()) return;
  sceneView_ = view_->look().view;
  session_.edits().apply("Change View", [view = sceneView_](BaseDocument& document) {
    setRenderValue(document, render::viewSetting, GeData(String(view.view)));
    setRenderValue(document, render::exposureSetting, GeData(view.exposure));
    setRenderValue(document, render::gammaSetting, GeData(view.gamma));
    setRenderValue(document, render::whiteBalanceSetting, GeData(view.kelvin));
  });
}

// --- commands ---

void FrameBuffer::present() {
  show();
  raise();
  activateWindow();
  canvas_->setFocus(); // its keys are single letters, which the search would take
}

void FrameBuffer::openPictures() {
  const QPointer<FrameBuffer> there = this;
  QFileDialog chooser(this, tr("Open Picture"));
  chooser.setFileMode(QFileDialog::ExistingFiles);
  chooser.setNameFilters(
      {tr("Pictures (*.exr *.hdr *.png *.tif *.tiff *.jpg *.jpeg *.webp *.bmp *.psd *.tga *.gif "
          "*.ppm *.pfm)"),
       tr("All files (*)")});
  QStringList files;
  {
    const ModalScope modal;
    if (chooser.exec() == QDialog::Accepted) files = chooser.selectedFiles();
  }
  if (there) openPictures(files);
}

void FrameBuffer::openPictures(const QStringList& files) {
  for (const QString& file : files)
    session_.pictureOpener().open(Filename(toHost(file)),
                                  [there = QPointer<FrameBuffer>(this)](const std::string& error) {
                                    if (there && !error.empty())
                                      showError(there, splitBoxText(QString::fromStdString(error)));
                                  });
}

void FrameBuffer::save(const Filename& file) {
  export_->save(file, view_->look().view, desk_);
}

void FrameBuffer::saveAs() {
  export_->saveAs(view_->look().view, desk_);
}

void FrameBuffer::removeCurrent() {
  list_->remove();
}

void FrameBuffer::setFullScreen(bool on) {
  if (on == isFullScreen()) return;
  setChromeVisible(!on);
  if (on) {
    wasMaximized_ = isMaximized();
    showFullScreen();
  } else {
    wasMaximized_ ? showMaximized() : showNormal();
  }
  full_->setChecked(on);
}

// To the monitor at the right of this one, or the first; with one monitor the full screen is on it.
void FrameBuffer::toNextScreen() {
  const QList<QScreen*> screens = QGuiApplication::screens();
  const QScreen* next =
      screens.value((screens.indexOf(screen()) + 1) % std::max<qsizetype>(screens.size(), 1));
  if (next && next != screen()) {
    if (isFullScreen()) setFullScreen(false);
    setGeometry(QRect(next->availableGeometry().topLeft(), size()));
  }
  setFullScreen(true);
}

// Panels that were hidden before stay hidden afterwards.
void FrameBuffer::setChromeVisible(bool visible) {
  if (visible) {
    for (const QPointer<QWidget>& part : std::exchange(hidden_, {}))
      if (part) part->show();
    return;
  }
  QList<QWidget*> parts{menuBar(), &commands_->bar(), view_, list_, statusBar()};
  for (QDockWidget* dock : findChildren<QDockWidget*>(Qt::FindDirectChildrenOnly))
    if (!dock->isFloating()) parts << dock;
  for (QWidget* part : parts) {
    if (part->isHidden()) continue;
    part->hide();
    hidden_ << part;
  }
}

void FrameBuffer::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape && isFullScreen()) return setFullScreen(false);
  QMainWindow::keyPressEvent(event);
}

void FrameBuffer::closeEvent(QCloseEvent* event) {
  QMainWindow::closeEvent(event);
  emit closed();
}

void FrameBuffer::dragEnterEvent(QDragEnterEvent* event) {
  if (!event->source() && event->mimeData()->hasUrls()) event->acceptProposedAction();
}

// Boxes open after the drop has ended: they must not keep the other program waiting.
void FrameBuffer::dropEvent(QDropEvent* event) {
  QStringList files;
  for (const QUrl& url : event->mimeData()->urls())
    if (url.isLocalFile()) files << url.toLocalFile();
  if (files.isEmpty()) return;
  event->acceptProposedAction();
  openPictures(files);
}

// Called as well when the desktop ends the full screen.
void FrameBuffer::changeEvent(QEvent* event) {
  QMainWindow::changeEvent(event);
  if (event->type() != QEvent::WindowStateChange || !full_) return;
  const bool full = isFullScreen();
  setChromeVisible(!full);
  full_->setChecked(full);
}

} // namespace host
