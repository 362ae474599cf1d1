#include "picture_viewer.h"

#include <algorithm>

#include "bitmap_image.h"
#include "c4d_render.h"
#include "color_patch.h"
#include "film.h"
#include "icons.h"
#include "message_box.h"
#include "picture_canvas.h"
#include "qt_text.h"
#include "scene_edits.h"
#include "status_widget.h"
#include "theme.h"
#include "view_bar.h"
#include "view_setting.h"

namespace host {

namespace {

constexpr QSize thumbnailSize(72, 54);
constexpr int saidFor = 4000; // milliseconds that "Saved ..." is shown
constexpr int idRole = Qt::UserRole, runningRole = Qt::UserRole + 1;

QString nameOf(const PictureFormat& format) {
  return QStringLiteral("%1 (*.%2)").arg(QString::fromUtf8(format.name), QString::fromUtf8(format.suffix));
}

// Removes characters that file systems refuse.
QString fileNameOf(const QString& name) {
  QString text = name;
  static const QRegularExpression bad(QStringLiteral("[\\x00-\\x1f/\\\\:*?\"<>|]"));
  text.replace(bad, QStringLiteral("_"));
  return text.trimmed().isEmpty() ? QStringLiteral("Picture") : text.trimmed();
}

QString spanText(Milliseconds time) {
  const auto seconds = static_cast<int>((time + 999) / 1000);
  if (seconds < 60) return PictureViewer::tr("%1 s").arg(seconds);
  return PictureViewer::tr("%1 min %2 s").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

} // namespace

PictureViewer::PictureViewer(Session& session, QWidget* parent)
    : QWidget(parent, Qt::Window), session_(session) {
  setObjectName(QStringLiteral("pictureViewer"));
  setWindowTitle(tr("Picture Viewer"));
  setWindowIcon(icon(QStringLiteral("lumenara")));
  build();
  connectParts();
  takeSceneView();
  refreshList();
  showWork();
}

PictureViewer::~PictureViewer() = default;

// --- parts ---

void PictureViewer::build() {
  setProperty("role", "window");
  buildToolBar();
  view_ = new ViewBar(this);
  addActions(view_->actions()); // for the full screen
  list_ = new QListWidget(this);
  list_->setObjectName(QStringLiteral("pictureList"));
  list_->setAccessibleName(tr("Pictures"));
  list_->setIconSize(thumbnailSize);
  list_->setSpacing(2);
  list_->setUniformItemSizes(true);
  list_->setMinimumWidth(160);
  list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  list_->setTextElideMode(Qt::ElideRight);
  list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  canvas_ = new PictureCanvas(this);
  split_ = new QSplitter(Qt::Horizontal, this);
  split_->addWidget(list_);
  split_->addWidget(canvas_);
  split_->setStretchFactor(1, 1);
  split_->setCollapsible(1, false);
  split_->setSizes({216, 744});
  status_ = buildStatus();

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(bar_);
  layout->addWidget(view_);
  layout->addWidget(split_, 1);
  layout->addWidget(status_);
}

void PictureViewer::buildToolBar() {
  bar_ = new QToolBar(this);
  bar_->setIconSize({metrics::icon, metrics::icon});
  const auto add = [this](const char* name, const QString& text, const QList<QKeySequence>& keys, auto run) {
    QAction* action = bar_->addAction(icon(QLatin1String(name)), text);
    action->setObjectName(QLatin1String(name));
    action->setShortcuts(keys);
    action->setShortcutContext(Qt::WindowShortcut);
    const QString key = keys.isEmpty() ? QString() : keys.first().toString(QKeySequence::NativeText);
    action->setToolTip(key.isEmpty() ? text : QStringLiteral("%1 (%2)").arg(text, key));
    connect(action, &QAction::triggered, this, run);
    return action;
  };
  const auto middle = [this] { return QRectF(canvas_->rect()).center(); };
  const auto key = [](const char* text) { return QKeySequence(QLatin1String(text)); };
  render_ = add("render", tr("Render"), {key("Shift+R")}, [this] { emit renderWanted(); });
  save_ = add("save", tr("Save Picture As..."), {key("Ctrl+S"), key("Ctrl+Shift+S")}, [this] { saveAs(); });
  remove_ = add("delete", tr("Remove From List"), {key("Del")}, [this] { removeCurrent(); });
  bar_->addSeparator();
  fit_ = add("zoom-fit", tr("Whole Picture"), {key("H"), key("0")}, [this] { canvas_->fit(); });
  one_ = add("zoom-one", tr("One to One"), {key("1")}, [this] { canvas_->setZoom(1); });
  in_ = add("zoom-in", tr("Zoom In"), {key("+"), key("=")}, [this, middle] { canvas_->zoomIn(middle()); });
  out_ = add("zoom-out", tr("Zoom Out"), {key("-")}, [this, middle] { canvas_->zoomOut(middle()); });
  bar_->addSeparator();
  noise_ = add("denoise", tr("Without Noise"), {key("D")}, [this] { toggleNoise(); });
  noise_->setCheckable(true);
  noise_->setToolTip(tr("Shows the denoised picture, or the noisy one (D)"));
  full_ = add("fullscreen", tr("Full Screen"), {key("F11")}, [this] { setFullScreen(!isFullScreen()); });
  full_->setCheckable(true);
  // The keys keep working while the bar is hidden.
  addActions(bar_->actions());
  auto* shut = new QAction(tr("Close"), this);
  shut->setShortcut(key("Ctrl+W"));
  connect(shut, &QAction::triggered, this, &QWidget::close);
  addAction(shut);
}

QWidget* PictureViewer::buildStatus() {
  auto* status = new QWidget(this);
  auto* row = new QHBoxLayout(status);
  row->setContentsMargins(metrics::groupSpace, metrics::grid, metrics::groupSpace, metrics::grid);
  row->setSpacing(metrics::groupSpace);
  const auto label = [&](const char* name) {
    auto* made = new QLabel(status);
    made->setObjectName(QLatin1String(name));
    made->setFont(interfaceFont(metrics::smallFontPixels));
    row->addWidget(made);
    return made;
  };
  swatch_ = new ColorPatch(status);
  swatch_->setFixedSize(metrics::icon, metrics::icon);
  row->addWidget(swatch_);
  pixel_ = label("pixelPlace");
  values_ = label("pixelValues");
  floats_ = label("pixelFloats");
  for (QLabel* made : {pixel_, values_, floats_})
    made->setFont(fixedFont());
  row->addStretch(1);
  progressText_ = label("renderProgress");
  progress_ = new QProgressBar(status);
  progress_->setRange(0, 1000);
  progress_->setTextVisible(false);
  progress_->setFixedWidth(140);
  row->addWidget(progress_);
  stop_ = new QToolButton(status);
  stop_->setObjectName(QStringLiteral("renderStop"));
  stop_->setIcon(icon(QStringLiteral("stop")));
  stop_->setToolTip(tr("Stop the render"));
  stop_->setAccessibleName(tr("Stop the render"));
  stop_->setFixedSize(metrics::control, metrics::control);
  row->addWidget(stop_);
  size_ = label("pictureSize");
  zoom_ = new QToolButton(status);
  zoom_->setObjectName(QStringLiteral("zoomButton"));
  zoom_->setToolTip(tr("Zoom"));
  zoom_->setPopupMode(QToolButton::InstantPopup);
  zoom_->setFixedHeight(metrics::control);
  zoom_->setMinimumWidth(72);
  row->addWidget(zoom_);
  auto* menu = new QMenu(zoom_);
  menu->addAction(tr("Whole Picture"), this, [this] { canvas_->fit(); });
  menu->addSeparator();
  for (const int percent : {25, 50, 100, 200, 400, 800, 1600, 3200, 6400})
    menu->addAction(tr("%1 %").arg(percent), this, [this, percent] { canvas_->setZoom(percent / 100.0); });
  zoom_->setMenu(menu);
  return status;
}

void PictureViewer::connectParts() {
  connect(canvas_, &PictureCanvas::hovered, this, &PictureViewer::showPixel);
  connect(canvas_, &PictureCanvas::zoomChanged, this, &PictureViewer::showZoom);
  connect(view_, &ViewBar::lookChanged, this, [this] { canvas_->setLook(view_->look()); });
  connect(view_, &ViewBar::keepWanted, this, &PictureViewer::keepSceneView);
  connect(canvas_, &PictureCanvas::imageChanged, this, [this] { showPixel(hovered_); });
  subscriptions_.push_back(session_.hub().changed.add([this] { takeSceneView(); }));
  subscriptions_.push_back(session_.hub().replaced.add([this](Replacement) { takeSceneView(); }));
  connect(stop_, &QToolButton::clicked, this, [this] { session_.renders().cancel(); });
  connect(list_, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* item) {
    if (!settling_ && item) session_.pictures().choose(item->data(idRole).toULongLong());
  });
  subscriptions_.push_back(session_.pictures().changed.add([this] { refreshList(); }));
  subscriptions_.push_back(session_.renders().changed.add([this] { showWork(); }));
  subscriptions_.push_back(session_.pictureSaver().changed.add([this] { showSaving(); }));
  for (QTimer* timer : {&late_, &forget_})
    timer->setSingleShot(true);
  connect(&late_, &QTimer::timeout, this, &PictureViewer::showWork);
  connect(&forget_, &QTimer::timeout, this, [this] { said_.clear(), showWork(); });
  subscriptions_.push_back(session_.renders().finished.add([this] {
    refreshPicture(true);
    refreshList();
    showWork();
  }));
  connect(&ThemeNotifier::instance(), &ThemeNotifier::changed, this, [this] { canvas_->update(); });
}

// --- display ---

QIcon PictureViewer::thumbnail(const BaseBitmap& bitmap) const {
  const double ratio = devicePixelRatioF();
  const QSize pixels = thumbnailSize * ratio;
  QPixmap pixmap(pixels);
  pixmap.fill(Qt::transparent);
  if (bitmap.GetBw() > 0) {
    const QImage small = bitmapImage(bitmap).scaled(pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QPainter painter(&pixmap);
    painter.drawImage((pixels.width() - small.width()) / 2, (pixels.height() - small.height()) / 2, small);
  }
  pixmap.setDevicePixelRatio(ratio);
  QIcon made(pixmap);
  made.addPixmap(pixmap, QIcon::Selected);
  return made;
}

// Newest first. Entries are kept while the list is unchanged.
void PictureViewer::refreshList() {
  const bool was = std::exchange(settling_, true);
  const std::vector<PictureList::Picture>& pictures = session_.pictures().pictures();
  const auto at = [&](int row) -> const PictureList::Picture& {
    return pictures[pictures.size() - 1 - static_cast<std::size_t>(row)];
  };
  const int count = static_cast<int>(pictures.size());
  bool same = list_->count() == count;
  QHash<qulonglong, QListWidgetItem*> known;
  for (int row = 0; row < list_->count(); ++row) {
    known.insert(list_->item(row)->data(idRole).toULongLong(), list_->item(row));
    same = same && list_->item(row)->data(idRole).toULongLong() == at(row).id;
  }
  if (!same) {
    while (list_->count() > 0)
      list_->takeItem(0);
    for (int row = 0; row < count; ++row) {
      QListWidgetItem* item = known.take(at(row).id);
      list_->addItem(item ? item : new QListWidgetItem);
    }
    qDeleteAll(known);
  }
  for (int row = 0; row < count; ++row)
    showEntry(*list_->item(row), at(row));
  if (session_.pictures().current() == 0) list_->setCurrentRow(-1);
  for (int row = 0; row < count; ++row)
    if (at(row).id == session_.pictures().current() && list_->currentRow() != row) list_->setCurrentRow(row);
  settling_ = was;
  showCurrent();
}

void PictureViewer::showEntry(QListWidgetItem& item, const PictureList::Picture& picture) const {
  const QDateTime time = QDateTime::fromSecsSinceEpoch(picture.time);
  item.setText(QStringLiteral("%1\n%2 x %3\n%4")
                   .arg(toQt(picture.name))
                   .arg(picture.bitmap->GetBw())
                   .arg(picture.bitmap->GetBh())
                   .arg(picture.running ? tr("rendering") : time.toString(QStringLiteral("HH:mm:ss"))));
  item.setToolTip(toQt(picture.name));
  // The thumbnail of a running render is as old as its last refresh.
  const bool isNew = item.data(idRole).toULongLong() != picture.id;
  if (isNew || item.data(runningRole).toBool()) item.setIcon(thumbnail(*picture.bitmap));
  item.setData(idRole, static_cast<qulonglong>(picture.id));
  item.setData(runningRole, picture.running);
}

void PictureViewer::showCurrent() {
  const PictureList::Picture* picture = session_.pictures().find(session_.pictures().current());
  const SharedBitmap bitmap = picture ? picture->bitmap : nullptr;
  canvas_->setEmptyText(
      session_.pictures().pictures().empty()
          ? tr("No pictures yet.\n\nRender to the Picture Viewer, or save a picture of the viewer here, and "
               "it "
               "is listed at the left.")
          : tr("No picture of this scene yet.\n\nThe earlier pictures are listed at the left."));
  if (bitmap != canvas_->bitmap()) canvas_->setBitmap(bitmap);
  setWindowTitle(picture ? tr("%1 - Picture Viewer").arg(toQt(picture->name)) : tr("Picture Viewer"));
  size_->setText(bitmap ? tr("%1 x %2").arg(bitmap->GetBw()).arg(bitmap->GetBh()) : QString());
  showZoom();
  showPixel({-1, -1});
  for (QAction* action : {save_, remove_, fit_, one_, in_, out_})
    action->setEnabled(bitmap != nullptr);
  remove_->setEnabled(picture && !picture->running);
  showNoise();
  zoom_->setVisible(bitmap != nullptr);
}

// The pictures of a render that was denoised have both colours in their film.
void PictureViewer::showNoise() {
  const BaseBitmap* bitmap = canvas_->bitmap().get();
  const std::shared_ptr<Film> film = bitmap ? filmOf(*bitmap) : nullptr;
  noise_->setEnabled(film && film->findLayer(film_layers::denoised));
  noise_->setChecked(film && film->showsDenoised());
  view_->setHasLight(film != nullptr); // a render that runs gets its film late
}

void PictureViewer::toggleNoise() {
  const SharedBitmap bitmap = canvas_->bitmap();
  const std::shared_ptr<Film> film = bitmap ? filmOf(*bitmap) : nullptr;
  if (film) showDenoised(*bitmap, !film->showsDenoised());
  canvas_->refresh();
  showNoise();
  if (hovered_.x() >= 0) showPixel(hovered_);
}

// The scene's view is taken over when it becomes another one; until then the window keeps its own.
void PictureViewer::takeSceneView() {
  const BaseDocument* document = session_.document();
  const RenderData* settings = document ? document->GetActiveRenderData() : nullptr;
  const ViewSettings view = settings ? render::readView(settings->GetData()) : ViewSettings();
  if (view == std::exchange(sceneView_, view)) return;
  view_->setView(view);
}

void PictureViewer::keepSceneView() {
  if (!session_.document()) return;
  sceneView_ = view_->look().view;
  session_.edits().apply("Change View", [view = sceneView_](BaseDocument& document) {
    setRenderValue(document, render::viewSetting, GeData(String(view.view)));
    setRenderValue(document, render::exposureSetting, GeData(view.exposure));
    setRenderValue(document, render::gammaSetting, GeData(view.gamma));
    setRenderValue(document, render::whiteBalanceSetting, GeData(view.kelvin));
  });
}

// A large picture is refreshed less often, so that the window stays responsive.
void PictureViewer::refreshPicture(bool now) {
  if (!canvas_->bitmap() || canvas_->bitmap() != session_.renders().state().bitmap) return;
  if (!now && sinceRefresh_.isValid() && sinceRefresh_.elapsed() < 4 * refreshCost_) return;
  QElapsedTimer timer;
  timer.start();
  canvas_->refresh();
  refreshCost_ = timer.elapsed();
  sinceRefresh_.start();
  showNoise(); // live denoising may have begun
  if (hovered_.x() >= 0) showPixel(hovered_);
}

// The running render, else the picture that is being saved or was just saved.
void PictureViewer::showWork() {
  const RenderState& state = session_.renders().state();
  const bool running = session_.renders().isRunning() && state.kind == RenderKind::picture;
  const bool saving = !running && session_.pictureSaver().isBusy() && !late_.isActive();
  progress_->setVisible(running || saving);
  progressText_->setVisible(running || saving || !said_.isEmpty());
  stop_->setVisible(running);
  if (running) {
    progress_->setRange(0, 1000);
    progress_->setValue(static_cast<int>(std::clamp(state.progress, 0.0, 1.0) * 1000));
    const QString percent = tr("%1 %").arg(static_cast<int>(std::clamp(state.progress, 0.0, 1.0) * 100));
    progressText_->setText(state.left < 0 ? percent : tr("%1, %2 left").arg(percent, spanText(state.left)));
  } else if (saving) {
    progress_->setRange(0, 0);
    progressText_->setText(tr("Saving %1").arg(toQt(session_.pictureSaver().file().GetFileString())));
  } else {
    progressText_->setText(said_);
  }
  refreshPicture(false);
}

// Short work does not flash a bar.
void PictureViewer::showSaving() {
  if (session_.pictureSaver().isBusy())
    late_.start(static_cast<int>(StatusWidget::delay));
  else
    late_.stop();
  showWork();
}

void PictureViewer::showPixel(const QPoint& pixel) {
  hovered_ = pixel;
  const BaseBitmap* bitmap = canvas_->bitmap().get();
  const bool inside = bitmap && pixel.x() >= 0;
  auto& patch = static_cast<ColorPatch&>(*swatch_);
  swatch_->setVisible(inside);
  for (QLabel* label : {pixel_, values_, floats_})
    label->setVisible(inside);
  if (!inside) return patch.show({});
  const QColor seen = canvas_->shownColor(pixel);
  const int r = seen.red(), g = seen.green(), b = seen.blue();
  patch.show(QColor(r, g, b));
  pixel_->setText(QStringLiteral("x %1  y %2").arg(pixel.x(), 4).arg(pixel.y(), 4));
  QString values = QStringLiteral("R %1  G %2  B %3").arg(r, 3).arg(g, 3).arg(b, 3);
  if (bitmap->GetBt() == 32)
    values += QStringLiteral("  A %1").arg(bitmap->GetAlpha(pixel.x(), pixel.y()), 3);
  values_->setText(values);
  const std::shared_ptr<Film> film = filmOf(*bitmap);
  QString floats;
  if (film && pixel.x() < film->width() && pixel.y() < film->height()) {
    float rgba[4] = {};
    film->getShown(pixel.x(), pixel.y(), rgba);
    for (int i = 0; i < 3; ++i)
      floats += QStringLiteral("%1  ").arg(static_cast<double>(rgba[i]), 0, 'f', 4);
  }
  floats_->setText(floats.trimmed());
  floats_->setToolTip(tr("Linear light"));
}

void PictureViewer::showZoom() {
  const double percent = canvas_->zoom() * 100;
  zoom_->setText(!canvas_->bitmap() ? QString() : tr("%1 %").arg(QLocale::c().toString(percent, 'g', 4)));
}

// --- commands ---

void PictureViewer::present() {
  show();
  raise();
  activateWindow();
}

void PictureViewer::save(const Filename& file) {
  const PictureList::Picture* picture = session_.pictures().find(session_.pictures().current());
  if (!picture) return;
  said_.clear();
  const auto done = [there = QPointer<PictureViewer>(this), file](const std::string& error) {
    if (!there) return;
    if (!error.empty()) return showError(there, splitBoxText(QString::fromStdString(error)));
    there->said_ = tr("Saved %1").arg(toQt(file.GetFileString()));
    there->forget_.start(saidFor);
    there->showWork();
  };
  session_.pictureSaver().save(picture->bitmap, file, done, view_->look().view);
}

void PictureViewer::saveAs() {
  const PictureList::Picture* picture = session_.pictures().find(session_.pictures().current());
  if (!picture) return;
  QFileDialog chooser(this, tr("Save Picture"));
  chooser.setAcceptMode(QFileDialog::AcceptSave);
  chooser.setFileMode(QFileDialog::AnyFile);
  QStringList filters;
  for (const PictureFormat& format : pictureFormats())
    filters << nameOf(format);
  chooser.setNameFilters(filters);
  const auto suffix = [&](const QString& filter) {
    for (const PictureFormat& format : pictureFormats())
      if (nameOf(format) == filter) chooser.setDefaultSuffix(QString::fromUtf8(format.suffix));
  };
  suffix(filters.first());
  connect(&chooser, &QFileDialog::filterSelected, this, suffix);
  if (!folder_.isEmpty()) chooser.setDirectory(folder_);
  chooser.selectFile(fileNameOf(toQt(picture->name)));
  const QPointer<PictureViewer> there = this;
  {
    const ModalScope modal;
    if (chooser.exec() != QDialog::Accepted || !there || chooser.selectedFiles().isEmpty()) return;
  }
  const QString file = chooser.selectedFiles().first();
  folder_ = QFileInfo(file).absolutePath();
  save(Filename(toHost(file)));
}

void PictureViewer::removeCurrent() {
  const PictureList::Picture* picture = session_.pictures().find(session_.pictures().current());
  if (picture && !picture->running) session_.pictures().remove(picture->id);
}

void PictureViewer::setFullScreen(bool on) {
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

void PictureViewer::setChromeVisible(bool visible) {
  for (QWidget* part :
       {static_cast<QWidget*>(bar_), static_cast<QWidget*>(list_), static_cast<QWidget*>(view_), status_})
    part->setVisible(visible);
}

void PictureViewer::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape && isFullScreen()) return setFullScreen(false);
  QWidget::keyPressEvent(event);
}

// Called as well when the desktop ends the full screen.
void PictureViewer::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() != QEvent::WindowStateChange || !bar_) return;
  const bool full = isFullScreen();
  setChromeVisible(!full);
  full_->setChecked(full);
}

} // namespace host
