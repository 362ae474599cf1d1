#include "farm_dialog.h"

#include <algorithm>

#include "form_fields.h"
#include "message_box.h"
#include "mnemonic_tips.h"
#include "number_field.h"
#include "preferences.h"
#include "qt_text.h"
#include "scene_queries.h"
#include "session.h"
#include "theme.h"

namespace host {

namespace {

constexpr const char* keptName = "farm"; // of the preferences

constexpr double mostFrame = 1e6;

} // namespace

FarmDialog::FarmDialog(Session& session, farm::FarmDesk& desk, QWidget* parent)
    : QDialog(parent), session_(session), desk_(desk), note_(new QLabel), message_(new QLabel),
      submit_(new QPushButton(tr("&Submit"))), cancel_(new QPushButton(tr("Cancel"))) {
  setObjectName(QStringLiteral("farm-dialog"));
  setWindowTitle(tr("Render on the Farm"));
  layOut();
  tellMnemonics(*this);
  connect(kind_, &QComboBox::currentIndexChanged, this, &FarmDialog::showState);
  changed_ = desk_.changed.add([this] { showState(); });
  takeKept();
  fill();
}

void FarmDialog::addWork(QFormLayout& form) {
  output_ = textField(
      "farm-output", tr("Output"), QStringLiteral("/shared/shot.tif"),
      tr("A movie (mov, mp4, avi), or the base name or pattern of pictures (shot.exr, shot.####.png), on a "
         "file system that all machines of the farm share"));
  auto* choose = new QPushButton(tr("&Choose..."));
  choose->setObjectName(QStringLiteral("farm-choose"));
  choose->setAutoDefault(false);
  choose->setToolTip(tr("Chooses the file of the output"));
  connect(choose, &QPushButton::clicked, this, &FarmDialog::chooseOutput);
  kind_ = new QComboBox;
  kind_->setObjectName(QStringLiteral("farm-kind"));
  kind_->setAccessibleName(tr("Split into"));
  kind_->addItems({tr("Frames"), tr("One picture, split by samples"), tr("One picture, split into tiles"),
                   tr("Frames, each split by samples")}); // in the order of FarmSplit
  kind_->setToolTip(tr("The units that the machines share. Tiles need less memory each"));
  from_ = numberField("farm-from", tr("First frame"), -mostFrame, mostFrame,
                      tr("The first frame, or the frame of one picture"));
  to_ = numberField("farm-to", tr("Last frame"), -mostFrame, mostFrame, tr("The last frame"));
  step_ = numberField("farm-step", tr("Step"), 1, mostFrame, tr("The distance between frames"));
  parts_ = numberField("farm-parts", tr("Parts"), 2, 1000,
                       tr("Parts of the samples; each is rendered on its own"));
  parts_->setValue(8);
  columns_ = numberField("farm-columns", tr("Columns of tiles"), 1, 100, tr("Tiles beside each other"));
  rows_ = numberField("farm-rows", tr("Rows of tiles"), 1, 100, tr("Tiles below each other"));
  columns_->setValue(4);
  rows_->setValue(2);
  partsRow_ = formRow({new QLabel(tr("Parts")), parts_});
  tilesRow_ = formRow({columns_, new QLabel(QStringLiteral("×")), rows_});
  width_ = numberField("farm-width", tr("Width"), 1, 65536, tr("Pixels"));
  height_ = numberField("farm-height", tr("Height"), 1, 65536, tr("Pixels"));
  samples_ = numberField("farm-samples", tr("Samples"), 1, 1e6, tr("Samples per pixel"));
  camera_ = new QComboBox;
  camera_->setObjectName(QStringLiteral("farm-camera"));
  camera_->setAccessibleName(tr("Camera"));
  camera_->setToolTip(tr("The camera of all frames"));
  overwrite_ = new QCheckBox(tr("&Replace an existing file"));
  overwrite_->setObjectName(QStringLiteral("farm-overwrite"));
  overwrite_->setToolTip(tr("Replaces a movie or picture of this name. Frames are always replaced"));
  withoutMissing_ = new QCheckBox(tr("Submit although files are &missing"));
  withoutMissing_->setObjectName(QStringLiteral("farm-without-missing"));
  withoutMissing_->setToolTip(tr("Renders without the textures that cannot be read"));
  form.addRow(tr("&Output"), formRow({output_, choose}, 0));
  form.addRow(tr("Split into"), formRow({kind_, partsRow_, tilesRow_}));
  form.addRow(tr("&Frames"), formRow({from_, new QLabel(tr("to")), to_, new QLabel(tr("Step")), step_}));
  form.addRow(tr("Si&ze"), formRow({width_, new QLabel(QStringLiteral("×")), height_}));
  form.addRow(tr("Came&ra"), camera_);
  form.addRow(tr("Sam&ples"), formRow({samples_}));
  form.addRow(QString(), overwrite_);
  form.addRow(QString(), withoutMissing_);
}

void FarmDialog::addSlurm(QFormLayout& form) {
  chunk_ = numberField("farm-chunk", tr("Frames a task"), 0, 1e6,
                       tr("Frames of a task, which starts the program and loads the scene once. 0: chosen"));
  partition_ = textField("farm-partition", tr("Partition"), tr("default"), tr("Slurm's partition"));
  account_ = textField("farm-account", tr("Account"), tr("default"), tr("Slurm's account"));
  memory_ = textField("farm-memory", tr("Memory"), QStringLiteral("8G"), tr("The memory of a task"));
  time_ =
      textField("farm-time", tr("Time limit"), QStringLiteral("2:00:00"), tr("The longest time of a task"));
  others_ = textField("farm-others", tr("Further options"), QStringLiteral("--qos=low"),
                      tr("Further options of sbatch"));
  program_ = textField("farm-program", tr("Program"), tr("as on this machine"),
                       tr("The path of lumenara on the farm's machines"));
  form.addRow(tr("Frames a &task"), formRow({chunk_}));
  form.addRow(tr("Part&ition"), partition_);
  form.addRow(tr("&Account"), account_);
  form.addRow(tr("Memor&y"), memory_);
  form.addRow(tr("Time &limit"), time_);
  form.addRow(tr("Further options"), others_);
  form.addRow(tr("Pro&gram"), program_);
}

void FarmDialog::layOut() {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(16, 16, 16, 12);
  layout->setSpacing(10);
  QFormLayout* picture = addForm(*layout, tr("Picture"));
  addWork(*picture);
  QFormLayout* slurm = addForm(*layout, tr("Slurm"));
  addSlurm(*slurm);
  alignLabels({picture, slurm});
  note_->setWordWrap(true);
  setRole(note_, "dim");
  message_->setWordWrap(true);
  message_->setObjectName(QStringLiteral("farm-message"));
  message_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  message_->setTextFormat(Qt::PlainText);
  layout->addWidget(note_);
  layout->addWidget(message_);
  layout->addStretch(1);
  submit_->setObjectName(QStringLiteral("farm-submit"));
  submit_->setAutoDefault(false); // Enter commits a number field, and must not submit by accident
  submit_->setToolTip(tr("Checks the job, packs the scene and hands it to Slurm (Alt+S)"));
  cancel_->setObjectName(QStringLiteral("farm-cancel"));
  cancel_->setAutoDefault(false);
  cancel_->setToolTip(tr("Ends a submission that runs, else closes the window (Esc)"));
  connect(submit_, &QPushButton::clicked, this, &FarmDialog::submit);
  connect(cancel_, &QPushButton::clicked, this, &FarmDialog::reject);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  buttons->addWidget(cancel_);
  buttons->addWidget(submit_);
  layout->addLayout(buttons);
  resize(520, sizeHint().height());
}

void FarmDialog::fill() {
  const BaseDocument* document = session_.document();
  if (!document || desk_.isSubmitting()) return;
  const LONG fps = document->GetFps();
  from_->setValue(document->GetLoopMinTime().GetFrame(fps));
  to_->setValue(document->GetLoopMaxTime().GetFrame(fps));
  step_->setValue(1);
  width_->setValue(renderValue(*document, RDATA_XRES).GetReal());
  height_->setValue(renderValue(*document, RDATA_YRES).GetReal());
  samples_->setValue(renderValue(*document, RDATA_MAXSAMPLES).GetLong());
  camera_->clear();
  for (const CameraRow& one : cameraRows(*document)) {
    camera_->addItem(one.identity ? toQt(one.name) : tr("As the view shows it"),
                     one.identity ? toQt(one.name) : QString());
    if (one.current) camera_->setCurrentIndex(camera_->count() - 1);
  }
  note_->setText(session_.files().isDirty()
                     ? tr("The scene has unsaved changes. It is submitted as you see it, with them.")
                     : tr("The job keeps a copy of the scene: later changes do not reach it."));
  say({}, false);
  showState();
}

farm::FarmOrder FarmDialog::order() const {
  farm::FarmOrder order;
  if (!output_->text().trimmed().isEmpty())
    order.output =
        session_.files().outputFile(Filename(toHost(output_->text().trimmed()))).GetString().GetUTF8();
  order.from = numberOf(*from_), order.to = numberOf(*to_), order.step = numberOf(*step_);
  order.split = static_cast<farm::FarmSplit>(kind_->currentIndex());
  order.parts = numberOf(*parts_);
  order.columns = numberOf(*columns_), order.rows = numberOf(*rows_);
  order.width = numberOf(*width_), order.height = numberOf(*height_);
  order.samples = numberOf(*samples_);
  order.chunk = numberOf(*chunk_);
  order.camera = camera_->currentData().toString().toStdString();
  order.partition = textOf(*partition_), order.account = textOf(*account_);
  order.memory = textOf(*memory_), order.time = textOf(*time_);
  order.others = textOf(*others_), order.program = textOf(*program_);
  order.overwrite = overwrite_->isChecked(), order.withoutMissing = withoutMissing_->isChecked();
  return order;
}

void FarmDialog::chooseOutput() {
  QFileDialog chooser(this, tr("Output of the Farm"));
  chooser.setAcceptMode(QFileDialog::AcceptSave);
  chooser.setOption(QFileDialog::DontConfirmOverwrite);
  chooser.setNameFilters(
      {tr("Movies and pictures (*.mov *.mp4 *.avi *.exr *.png *.tif *.jpg *.webp *.bmp *.psd *.b3d)"),
       tr("All files (*)")});
  const QPointer<FarmDialog> there = this;
  QStringList files;
  {
    const ModalScope modal;
    if (chooser.exec() == QDialog::Accepted) files = chooser.selectedFiles();
  }
  if (there && !files.isEmpty()) output_->setText(files.first());
}

void FarmDialog::submit() {
  if (desk_.isSubmitting() || !session_.document()) return;
  const farm::FarmOrder wanted = order();
  if (const std::string problem = farm::problemOf(wanted); !problem.empty())
    return say(QString::fromStdString(problem), true);
  keep();
  say(tr("Packing the scene and handing it to Slurm..."), false);
  const Filename file = session_.files().file();
  QString name = file.Content() ? QFileInfo(toQt(file)).completeBaseName() : QStringLiteral("untitled");
  if (name.isEmpty()) name = QStringLiteral("untitled");
  desk_.submit(DocumentPtr(session_.document()->GetClone(COPYFLAGS_0)), name.toStdString() + ".glb", wanted,
               [there = QPointer<FarmDialog>(this)](const std::string& error) {
                 if (there) there->submissionEnded(error);
               });
}

void FarmDialog::submissionEnded(const std::string& error) {
  showState();
  if (!error.empty()) return say(QString::fromStdString(error), true);
  say({}, false);
  emit submitted();
  hide();
}

void FarmDialog::reject() {
  if (!desk_.isSubmitting()) return QDialog::reject();
  desk_.cancelSubmission();
  say(tr("Cancelling..."), false);
}

void FarmDialog::say(const QString& text, bool error) {
  setRole(message_, error ? "error" : "dim");
  message_->setText(text);
  // The text wraps, which the dialog's own minimum leaves out.
  if (layout()) resize(width(), std::max(height(), layout()->totalHeightForWidth(width())));
}

void FarmDialog::showState() {
  const farm::FarmOrder wanted = order();
  partsRow_->setVisible(wanted.split == farm::FarmSplit::samples ||
                        wanted.split == farm::FarmSplit::frameSamples);
  tilesRow_->setVisible(wanted.split == farm::FarmSplit::tiles);
  to_->setEnabled(!wanted.isStill());
  step_->setEnabled(!wanted.isStill());
  chunk_->setEnabled(!wanted.isStill());
  submit_->setEnabled(!desk_.isSubmitting());
}

void FarmDialog::keep() const {
  Preferences* kept = preferences();
  if (!kept) return;
  BaseContainer values;
  LONG id = 1;
  for (const QLineEdit* field : {partition_, account_, memory_, time_, others_, program_, output_})
    values.SetString(id++, toHost(field->text()));
  kept->setNamed(keptName, values);
}

void FarmDialog::takeKept() {
  const Preferences* kept = preferences();
  const BaseContainer* values = kept ? kept->getNamed(keptName) : nullptr;
  if (!values) return;
  LONG id = 1;
  for (QLineEdit* field : {partition_, account_, memory_, time_, others_, program_, output_})
    field->setText(toQt(values->GetString(id++)));
}

} // namespace host
