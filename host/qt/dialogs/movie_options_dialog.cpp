#include "movie_options_dialog.h"

#include "mnemonic_tips.h"
#include "number_field.h"
#include "theme.h"

namespace host {

namespace {

constexpr int usualBitRate = 20000; // kbit a second: a clean picture at 1080 lines
constexpr int usualKeyDistance = 25;

template <class Field>
QWidget* row(QCheckBox* box, Field* field) {
  auto* widget = new QWidget;
  auto* layout = new QHBoxLayout(widget);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(8);
  layout->addWidget(box);
  layout->addWidget(field);
  layout->addStretch(1);
  QObject::connect(box, &QCheckBox::toggled, field, &QWidget::setEnabled);
  return widget;
}

} // namespace

MovieOptionsDialog::MovieOptionsDialog(LONG format, const MovieOptions& options, QWidget* parent)
    : QDialog(parent), codecs_(movieCodecs(format)), codec_(new QComboBox(this)),
      quality_(new SliderField(this)), ownBitRate_(new QCheckBox(tr("&Fixed"), this)),
      bitRate_(new NumberField(this)), ownKeys_(new QCheckBox(tr("F&ixed"), this)),
      keyDistance_(new NumberField(this)), alpha_(new QCheckBox(tr("Write the &alpha channel"), this)),
      note_(new QLabel(this)) {
  setWindowTitle(tr("Movie Options"));
  setObjectName(QStringLiteral("movie-options"));
  codec_->setObjectName(QStringLiteral("codec"));
  quality_->setObjectName(QStringLiteral("quality"));
  ownBitRate_->setObjectName(QStringLiteral("own-bit-rate"));
  bitRate_->setObjectName(QStringLiteral("bit-rate"));
  ownKeys_->setObjectName(QStringLiteral("own-key-distance"));
  keyDistance_->setObjectName(QStringLiteral("key-distance"));
  alpha_->setObjectName(QStringLiteral("alpha"));
  setRole(note_, "dim");
  fillFields(options);
  layOut();
  describe();
  connect(codec_, &QComboBox::currentIndexChanged, this, &MovieOptionsDialog::showCodec);
  connect(ownBitRate_, &QCheckBox::toggled, this, &MovieOptionsDialog::showCodec);
  connect(ownKeys_, &QCheckBox::toggled, this, &MovieOptionsDialog::showCodec);
  showCodec();
}

void MovieOptionsDialog::fillFields(const MovieOptions& options) {
  for (const MovieCodecInfo& one : codecs_)
    codec_->addItem(QString::fromUtf8(one.name), one.id);
  if (const int index = codec_->findData(options.codec); index >= 0) codec_->setCurrentIndex(index);
  quality_->setRange(1, 100);
  quality_->setDecimals(0);
  quality_->setSuffix(QStringLiteral(" %"));
  quality_->setValue(options.quality);
  bitRate_->setDecimals(0);
  bitRate_->setRange(1, 2000000);
  bitRate_->setStep(500);
  bitRate_->setSuffix(tr(" kbit/s"));
  bitRate_->setMinimumWidth(110);
  bitRate_->setValue(options.bitRate > 0 ? options.bitRate : usualBitRate);
  ownBitRate_->setChecked(options.bitRate > 0);
  keyDistance_->setDecimals(0);
  keyDistance_->setRange(1, 1000);
  keyDistance_->setSuffix(tr(" frames"));
  keyDistance_->setMinimumWidth(110);
  keyDistance_->setValue(options.keyDistance > 0 ? options.keyDistance : usualKeyDistance);
  ownKeys_->setChecked(options.keyDistance > 0);
  alpha_->setChecked(options.alpha);
}

void MovieOptionsDialog::layOut() {
  auto* form = new QFormLayout;
  form->setHorizontalSpacing(12);
  form->setVerticalSpacing(8);
  form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
  form->addRow(tr("&Codec"), codec_);
  form->addRow(tr("&Quality"), quality_);
  form->addRow(tr("Bit rate"), row(ownBitRate_, bitRate_));
  form->addRow(tr("Key frame every"), row(ownKeys_, keyDistance_));
  form->addRow(QString(), alpha_);
  form->addRow(QString(), note_);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  buttons->button(QDialogButtonBox::Ok)->setEnabled(!codecs_.empty());
  buttons->button(QDialogButtonBox::Ok)->setToolTip(tr("Takes these options (Enter)"));
  buttons->button(QDialogButtonBox::Cancel)->setToolTip(tr("Keeps the former options (Esc)"));
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(16, 16, 16, 12);
  layout->setSpacing(16);
  layout->addLayout(form);
  layout->addWidget(buttons);
}

void MovieOptionsDialog::describe() {
  const auto name = [](QWidget* field, const QString& label, const QString& tip) {
    field->setAccessibleName(label);
    field->setToolTip(tip);
  };
  name(codec_, tr("Codec"), tr("How the movie is packed"));
  name(ownBitRate_, tr("Fixed bit rate"), tr("Decides the size of the movie instead of the quality"));
  name(bitRate_, tr("Bit rate"), tr("The size of a second of the movie"));
  name(ownKeys_, tr("Fixed distance of key frames"), tr("Off: the encoder chooses"));
  name(keyDistance_, tr("Key frame every"), tr("Players jump to key frames; fewer make smaller movies"));
  name(alpha_, tr("Write the alpha channel"), tr("Keeps where the picture is transparent"));
  quality_->setName(tr("Quality"));
  quality_->setToolTip(tr("Higher looks better and makes larger movies"));
  tellMnemonics(*this);
}

const MovieCodecInfo* MovieOptionsDialog::codec() const {
  const int index = codec_->currentIndex();
  return index >= 0 && index < static_cast<int>(codecs_.size()) ? &codecs_[static_cast<std::size_t>(index)]
                                                                : nullptr;
}

void MovieOptionsDialog::showCodec() {
  const MovieCodecInfo* one = codec();
  const bool fixedRate = one && one->bitRate && ownBitRate_->isChecked();
  quality_->setEnabled(one && one->quality && !fixedRate);
  ownBitRate_->setEnabled(one && one->bitRate);
  bitRate_->setEnabled(fixedRate);
  ownKeys_->setEnabled(one && one->keyDistance);
  keyDistance_->setEnabled(one && one->keyDistance && ownKeys_->isChecked());
  alpha_->setEnabled(one && one->alpha);
  if (!one)
    note_->setText(tr("This installation can write no movie of this format."));
  else if (!one->quality && !one->bitRate)
    note_->setText(tr("This codec loses nothing: there is no quality to choose."));
  else if (fixedRate)
    note_->setText(tr("A fixed bit rate decides the quality."));
  else
    note_->setText(tr("Without fixed values they follow quality and frame rate."));
}

MovieOptions MovieOptionsDialog::options() const {
  MovieOptions options;
  if (const MovieCodecInfo* one = codec()) options.codec = one->id;
  options.quality = static_cast<LONG>(quality_->value());
  options.bitRate = ownBitRate_->isChecked() ? static_cast<LONG>(bitRate_->value()) : 0;
  options.keyDistance = ownKeys_->isChecked() ? static_cast<LONG>(keyDistance_->value()) : 0;
  options.alpha = alpha_->isChecked();
  return options;
}

void writeMovieOptions(const MovieOptions& options, BaseContainer& container) {
  container.SetLong(movieCodecKey, options.codec);
  container.SetLong(movieQualityKey, options.quality);
  container.SetLong(movieBitRateKey, options.bitRate);
  container.SetLong(movieKeyDistanceKey, options.keyDistance);
  container.SetLong(movieAlphaKey, options.alpha ? 1 : 0);
}

} // namespace host
