#include "animation_dialog.h"

#include <algorithm>

#include "form_fields.h"
#include "message_box.h"
#include "mnemonic_tips.h"
#include "movie_options.h"
#include "number_field.h"
#include "part.h"
#include "picture_formats.h"
#include "preferences.h"
#include "qt_text.h"
#include "scene_queries.h"
#include "session.h"
#include "theme.h"

namespace host {

namespace {

constexpr const char* keptName = "animation"; // of the preferences

QCheckBox* box(const char* name, const QString& text, const QString& tip) {
  auto* made = new QCheckBox(text);
  made->setObjectName(QLatin1String(name));
  made->setToolTip(tip);
  return made;
}

QComboBox* choice(const char* name, const QString& label, const QString& tip) {
  auto* made = new QComboBox;
  made->setObjectName(QLatin1String(name));
  made->setAccessibleName(label);
  made->setToolTip(tip);
  return made;
}

void setRow(QFormLayout& form, QWidget* field, bool visible) {
  form.setRowVisible(field, visible);
}

} // namespace

AnimationDialog::AnimationDialog(Session& session, farm::RenderQueue& queue, QWidget* parent)
    : QDialog(parent), session_(session), queue_(queue), message_(new QLabel),
      add_(new QPushButton(tr("&Add to Queue"))) {
  setObjectName(QStringLiteral("animation-dialog"));
  setWindowTitle(tr("Render Animation"));
  layOut();
  connect(output_, &QLineEdit::textChanged, this, &AnimationDialog::showFormat);
  for (QLineEdit* field : {output_, frames_})
    connect(field, &QLineEdit::textChanged, this, [this] { say({}, false); });
  tellMnemonics(*this);
  takeKept();
  fill();
  showFormat();
}

void AnimationDialog::addPicture(QFormLayout& form) {
  output_ = textField(
      "animation-output", tr("Output"), QStringLiteral("shot.mp4"),
      tr("A movie (mp4, mov, avi), or the base name or pattern of pictures (shot.exr, shot.####.png). "
         "A name without a folder is beside the scene"));
  auto* choose = new QPushButton(tr("&Choose..."));
  choose->setObjectName(QStringLiteral("animation-choose"));
  choose->setAutoDefault(false);
  choose->setToolTip(tr("Chooses the file of the output"));
  connect(choose, &QPushButton::clicked, this, &AnimationDialog::chooseOutput);
  frames_ = textField(
      "animation-frames", tr("Frames"), QStringLiteral("0:89"),
      tr("First and last frame with a colon between them, and a step behind another (0:89:2), single "
         "frames and ranges with commas (1,5,9:12), or all"));
  width_ = numberField("animation-width", tr("Width"), 1, 65536, tr("The width in pixels"));
  height_ = numberField("animation-height", tr("Height"), 1, 65536, tr("The height in pixels"));
  camera_ = choice("animation-camera", tr("Camera"), tr("The camera of all frames"));
  samples_ = numberField("animation-samples", tr("Samples"), 1, 1e6, tr("Samples per pixel"));
  denoise_ = box("animation-denoise", tr("Take the &noise out"),
                 tr("Denoises each frame when its last sample is done"));
  stamps_ = box("animation-stamps", tr("Draw the s&tamps"),
                tr("Draws the stamps that the viewer's options switch on"));
  form.addRow(tr("&Output"), formRow({output_, choose}, 0));
  form.addRow(tr("&Frames"), frames_);
  form.addRow(tr("Si&ze"), formRow({width_, new QLabel(QStringLiteral("×")), height_}));
  form.addRow(tr("Came&ra"), camera_);
  form.addRow(tr("Sam&ples"), formRow({samples_}));
  form.addRow(QString(), denoise_);
  form.addRow(QString(), stamps_);
}

void AnimationDialog::addFormat(QFormLayout& form) {
  codec_ = choice("animation-codec", tr("Codec"),
                  tr("The movie's codec. The first is understood by most programs"));
  quality_ = numberField("animation-quality", tr("Quality"), 0, 100,
                         tr("1 to 100. 0: the usual one (movies 80, JPEG 95, WebP without loss)"));
  compression_ =
      choice("animation-compression", tr("Compression"), tr("The compression of OpenEXR pictures"));
  for (const std::string_view name : exrCompressions())
    compression_->addItem(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
  compression_->setCurrentText(QStringLiteral("zip"));
  half_ = box("animation-half", tr("Colours as &half floats"),
              tr("Colours as 16-bit floats; other layers stay 32-bit"));
  layers_ = box("animation-layers", tr("All la&yers"),
                tr("Every layer that the renderer has. Without it, those of the render settings"));
  deep_ = box("animation-deep", tr("16 &bits a channel"),
              tr("PNG pictures with 16 bits a channel, for grading without bands"));
  alpha_ =
      box("animation-alpha", tr("Al&pha channel"), tr("Writes what is behind the objects as transparent"));
  existing_ = choice("animation-existing", tr("Existing pictures"),
                     tr("Frames whose pictures are there already and complete"));
  existing_->addItems({tr("Render again"), tr("Keep")});
  replace_ = box("animation-replace", tr("Replace an &existing movie"), tr("Replaces a movie of this name"));
  form.addRow(tr("Co&dec"), codec_);
  qualityRow_ = formRow({quality_});
  form.addRow(tr("&Quality"), qualityRow_);
  form.addRow(tr("Co&mpression"), compression_);
  form.addRow(QString(), half_);
  form.addRow(QString(), layers_);
  form.addRow(QString(), deep_);
  form.addRow(QString(), alpha_);
  form.addRow(tr("E&xisting pictures"), existing_);
  form.addRow(QString(), replace_);
}

void AnimationDialog::layOut() {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(16, 16, 16, 12);
  layout->setSpacing(10);
  QFormLayout* picture = addForm(*layout, tr("Picture"));
  addPicture(*picture);
  format_ = addForm(*layout, tr("Format"));
  addFormat(*format_);
  alignLabels({picture, format_});
  auto* note =
      new QLabel(tr("The queue gets a copy of the scene as you see it: later changes do not reach it."));
  note->setWordWrap(true);
  setRole(note, "dim");
  message_->setWordWrap(true);
  message_->setObjectName(QStringLiteral("animation-message"));
  message_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  message_->setTextFormat(Qt::PlainText);
  layout->addWidget(note);
  layout->addWidget(message_);
  layout->addStretch(1);
  auto* cancel = new QPushButton(tr("Cancel"));
  cancel->setObjectName(QStringLiteral("animation-cancel"));
  cancel->setAutoDefault(false);
  cancel->setToolTip(tr("Closes the window (Esc)"));
  connect(cancel, &QPushButton::clicked, this, &AnimationDialog::reject);
  add_->setObjectName(QStringLiteral("animation-add"));
  add_->setAutoDefault(false); // Enter commits a number field, and must not start a render by accident
  add_->setToolTip(
      tr("Copies the scene into the render queue, which begins at once unless it is paused (Alt+A)"));
  connect(add_, &QPushButton::clicked, this, &AnimationDialog::add);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  buttons->addWidget(cancel);
  buttons->addWidget(add_);
  layout->addLayout(buttons);
  resize(520, sizeHint().height());
}

void AnimationDialog::fill() {
  const BaseDocument* document = session_.document();
  if (!document) return;
  const LONG fps = document->GetFps();
  frames_->setText(QStringLiteral("%1:%2")
                       .arg(document->GetLoopMinTime().GetFrame(fps))
                       .arg(document->GetLoopMaxTime().GetFrame(fps)));
  width_->setValue(renderValue(*document, RDATA_XRES).GetReal());
  height_->setValue(renderValue(*document, RDATA_YRES).GetReal());
  samples_->setValue(renderValue(*document, RDATA_MAXSAMPLES).GetLong());
  camera_->clear();
  for (const CameraRow& one : cameraRows(*document)) {
    camera_->addItem(one.identity ? toQt(one.name) : tr("As the view shows it"),
                     one.identity ? toQt(one.name) : QString());
    if (one.current) camera_->setCurrentIndex(camera_->count() - 1);
  }
  say({}, false);
}

farm::AnimationOrder AnimationDialog::order() const {
  farm::AnimationOrder order;
  if (!output_->text().trimmed().isEmpty())
    order.output =
        session_.files().outputFile(Filename(toHost(output_->text().trimmed()))).GetString().GetUTF8();
  order.frames = textOf(*frames_);
  order.width = numberOf(*width_), order.height = numberOf(*height_);
  order.camera = camera_->currentData().toString().toStdString();
  order.samples = numberOf(*samples_);
  order.codec = codec_->currentData().toString().toStdString();
  order.compression = compression_->currentText().toStdString();
  order.quality = numberOf(*quality_);
  order.deep = deep_->isChecked();
  order.alpha = alpha_->isChecked(), order.half = half_->isChecked(), order.allLayers = layers_->isChecked();
  order.stamps = stamps_->isChecked(), order.denoise = denoise_->isChecked();
  order.keep = existing_->currentIndex() == 1, order.replace = replace_->isChecked();
  return order;
}

void AnimationDialog::chooseOutput() {
  QFileDialog chooser(this, tr("Output of the Animation"));
  chooser.setAcceptMode(QFileDialog::AcceptSave);
  chooser.setOption(QFileDialog::DontConfirmOverwrite);
  chooser.setNameFilters(
      {tr("Movies and pictures (*.mp4 *.mov *.avi *.exr *.png *.tif *.jpg *.webp *.bmp *.psd *.b3d)"),
       tr("All files (*)")});
  const QPointer<AnimationDialog> there = this;
  QStringList files;
  {
    const ModalScope modal;
    if (chooser.exec() == QDialog::Accepted) files = chooser.selectedFiles();
  }
  if (there && !files.isEmpty()) output_->setText(files.first());
}

void AnimationDialog::fillCodecs() {
  const QString suffix = QFileInfo(output_->text().trimmed()).suffix().toLower();
  if (suffix == codecsOf_) return;
  codecsOf_ = suffix;
  const QVariant old = codec_->currentData();
  codec_->clear();
  std::vector<MovieCodecInfo> codecs;
  try {
    codecs = movieCodecs(movieFormatOf(Filename(toHost(output_->text().trimmed()))));
  } catch (const PartError&) {
    // The order says so once it is rendered; until then the list has the default alone.
  }
  for (const MovieCodecInfo& one : codecs)
    for (const MovieCodecName& known : movieCodecNames())
      if (known.id == one.id) codec_->addItem(QString::fromUtf8(one.name), QString::fromUtf8(known.name));
  if (codec_->count() == 0) codec_->addItem(tr("Default"), QString());
  codec_->setCurrentIndex(std::max(0, codec_->findData(old)));
}

void AnimationDialog::showFormat() {
  const farm::OutputKind kind = farm::outputKind(output_->text().trimmed().toStdString());
  if (kind.movie) fillCodecs();
  setRow(*format_, codec_, kind.movie);
  setRow(*format_, qualityRow_, kind.quality);
  for (QWidget* field : std::initializer_list<QWidget*>{compression_, half_, layers_})
    setRow(*format_, field, kind.exr);
  setRow(*format_, deep_, kind.deep);
  setRow(*format_, alpha_, kind.alpha);
  setRow(*format_, existing_, !kind.movie);
  setRow(*format_, replace_, kind.movie);
}

void AnimationDialog::add() {
  if (!session_.document()) return;
  const farm::AnimationOrder wanted = order();
  if (const std::string problem = farm::problemOf(wanted); !problem.empty())
    return say(QString::fromStdString(problem), true);
  keep();
  add_->setEnabled(false);
  say(tr("Copying the scene..."), false);
  queue_.add(DocumentPtr(session_.document()->GetClone(COPYFLAGS_0)), session_.files().title().GetUTF8(),
             wanted, [there = QPointer<AnimationDialog>(this)](const std::string& error) {
               if (!there) return;
               there->add_->setEnabled(true);
               there->say(QString::fromStdString(error), true);
               if (!error.empty()) return;
               emit there->queued();
               there->hide();
             });
}

void AnimationDialog::say(const QString& text, bool error) {
  setRole(message_, error ? "error" : "dim");
  message_->setText(text);
  // The text wraps, which the dialog's own minimum leaves out.
  if (layout()) resize(width(), std::max(height(), layout()->totalHeightForWidth(width())));
}

void AnimationDialog::keep() const {
  Preferences* kept = preferences();
  if (!kept) return;
  BaseContainer values;
  values.SetString(1, toHost(output_->text()));
  values.SetString(2, toHost(codec_->currentData().toString()));
  values.SetString(3, toHost(compression_->currentText()));
  values.SetLong(4, numberOf(*quality_));
  LONG id = 5;
  for (const QCheckBox* one : {denoise_, stamps_, alpha_, half_, layers_})
    values.SetBool(id++, one->isChecked() ? TRUE : FALSE);
  values.SetLong(id++, existing_->currentIndex());
  values.SetBool(id, deep_->isChecked() ? TRUE : FALSE);
  kept->setNamed(keptName, values);
}

void AnimationDialog::takeKept() {
  const Preferences* kept = preferences();
  const BaseContainer* values = kept ? kept->getNamed(keptName) : nullptr;
  if (!values) return;
  output_->setText(toQt(values->GetString(1)));
  showFormat();
  codec_->setCurrentIndex(std::max(0, codec_->findData(toQt(values->GetString(2)))));
  if (const int at = compression_->findText(toQt(values->GetString(3))); at >= 0)
    compression_->setCurrentIndex(at);
  quality_->setValue(std::clamp<LONG>(values->GetLong(4), 0, 100));
  LONG id = 5;
  for (QCheckBox* one : {denoise_, stamps_, alpha_, half_, layers_})
    one->setChecked(values->GetBool(id++) != FALSE);
  existing_->setCurrentIndex(values->GetLong(id++) == 1 ? 1 : 0);
  deep_->setChecked(values->GetBool(id) != FALSE);
}

} // namespace host
