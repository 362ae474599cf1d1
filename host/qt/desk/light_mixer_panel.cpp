#include "light_mixer_panel.h"

#include <algorithm>

#include "layer_table.h"
#include "light_strip.h"
#include "render_settings.h"
#include "scene_edits.h"
#include "theme.h"

namespace host {

namespace {

QPushButton* makeButton(QWidget* parent, const char* name, const QString& text, const QString& tip) {
  auto* button = new QPushButton(text, parent);
  button->setObjectName(QLatin1String(name));
  button->setAutoDefault(false);
  button->setToolTip(tip);
  return button;
}

QLabel* makeLabel(QWidget* parent, const char* name) {
  auto* label = new QLabel(parent);
  label->setObjectName(QLatin1String(name));
  label->setWordWrap(true);
  setRole(label, "dim");
  return label;
}

bool wantsGroups(const Session& session) {
  const BaseDocument* document = session.document();
  const RenderData* data = document ? document->GetActiveRenderData() : nullptr;
  return data &&
         (static_cast<unsigned>(data->GetData().GetLong(render::layersSetting, 0)) & lightGroupLayers);
}

} // namespace

LightMixerPanel::LightMixerPanel(Session& session, QWidget* parent) : QWidget(parent), session_(session) {
  setObjectName(QStringLiteral("lightMixer"));
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(metrics::groupSpace, metrics::groupSpace, metrics::groupSpace,
                             metrics::groupSpace);
  layout->setSpacing(metrics::groupSpace);
  empty_ = buildEmpty();
  filled_ = new QWidget(this);
  auto* scrolled = new QWidget;
  setRole(scrolled, "scrolled");
  rows_ = new QVBoxLayout(scrolled);
  rows_->setContentsMargins(0, 0, metrics::groupSpace, 0);
  rows_->addStretch(1);
  auto* area = new QScrollArea(filled_);
  area->setFrameShape(QFrame::NoFrame);
  area->setWidgetResizable(true);
  area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  area->setWidget(scrolled);
  reset_ = makeButton(filled_, "mixReset", tr("Reset"), tr("All faders to neutral"));
  apply_ =
      makeButton(filled_, "mixApply", tr("Apply to Scene"),
                 tr("Multiplies the light of lamps, glowing materials and the sky by their group's fader"));
  connect(reset_, &QPushButton::clicked, this, &LightMixerPanel::reset);
  connect(apply_, &QPushButton::clicked, this, &LightMixerPanel::applyToScene);
  note_ = makeLabel(filled_, "mixNote");
  auto* buttons = new QHBoxLayout;
  buttons->setSpacing(metrics::groupSpace);
  buttons->addWidget(reset_);
  buttons->addStretch(1);
  buttons->addWidget(apply_);
  auto* inside = new QVBoxLayout(filled_);
  inside->setContentsMargins(0, 0, 0, 0);
  inside->setSpacing(metrics::groupSpace);
  inside->addWidget(area, 1);
  inside->addWidget(note_);
  inside->addLayout(buttons);
  layout->addWidget(empty_);
  layout->addWidget(filled_);
  subscriptions_.push_back(session_.hub().changed.add([this] { updateState(); }));
  subscriptions_.push_back(session_.hub().replaced.add([this](Replacement) { updateState(); }));
  updateState();
}

QWidget* LightMixerPanel::buildEmpty() {
  auto* empty = new QWidget(this);
  auto* layout = new QVBoxLayout(empty);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(metrics::groupSpace);
  lesson_ = makeLabel(empty, "mixLesson");
  want_ = makeButton(empty, "mixWant", tr("Turn On Light Groups"),
                     tr("Switches the layer on in the render settings; it costs no samples"));
  connect(want_, &QPushButton::clicked, this, &LightMixerPanel::wantGroups);
  layout->addWidget(lesson_);
  layout->addWidget(want_, 0, Qt::AlignLeft);
  layout->addStretch(1);
  return empty;
}

void LightMixerPanel::showFilm(const Film* film) {
  hasFilm_ = film != nullptr;
  const std::vector<std::string> groups = film ? lightGroupsOf(*film) : std::vector<std::string>();
  const auto same = [](const LightStrip* strip, const std::string& group) {
    return strip->fader().group == group;
  };
  if (!std::equal(strips_.begin(), strips_.end(), groups.begin(), groups.end(), same)) {
    for (LightStrip* strip : strips_)
      delete strip;
    strips_.clear();
    for (const std::string& group : groups) {
      auto* strip = new LightStrip(group, this);
      LightFader fader{group};
      for (const LightFader& known : mix_.faders)
        if (known.group == group) fader = known;
      strip->setFader(fader);
      connect(strip, &LightStrip::changed, this, &LightMixerPanel::takeStrips);
      rows_->insertWidget(static_cast<int>(strips_.size()), strip);
      strips_.push_back(strip);
    }
  }
  updateState();
}

void LightMixerPanel::takeStrips() {
  for (const LightStrip* strip : strips_) {
    const auto known = std::find_if(mix_.faders.begin(), mix_.faders.end(), [&](const LightFader& fader) {
      return fader.group == strip->fader().group;
    });
    if (known != mix_.faders.end())
      *known = strip->fader();
    else
      mix_.faders.push_back(strip->fader());
  }
  note_->clear();
  updateState();
  emit mixChanged();
}

void LightMixerPanel::reset() {
  mix_.faders.clear();
  for (LightStrip* strip : strips_)
    strip->setFader({strip->fader().group});
  note_->clear();
  updateState();
  emit mixChanged();
}

void LightMixerPanel::applyToScene() {
  if (!session_.document()) return;
  std::vector<LightGroupGain> gains;
  for (const LightStrip* strip : strips_) {
    const LightGain gain = gainOf(mix_, strip->fader().group);
    gains.push_back({strip->fader().group, {gain[0], gain[1], gain[2]}});
  }
  const bool done = session_.edits().apply(
      "Apply Light Mix", [&gains](BaseDocument& document) { scaleLightGroups(document, gains); });
  if (done) reset();
  note_->setText(
      done ? tr("Applied. The picture shows the light of its render again; the next render has the new one.")
           : tr("The scene has no lights of these groups. Open the scene that the picture shows."));
  updateState();
}

void LightMixerPanel::wantGroups() {
  session_.edits().apply("Turn On Light Groups",
                         [](BaseDocument& document) { wantLayers(document, lightGroupLayers); });
  updateState();
}

void LightMixerPanel::updateState() {
  filled_->setVisible(!strips_.empty());
  empty_->setVisible(strips_.empty());
  const bool wanted = wantsGroups(session_);
  want_->setEnabled(session_.document() && !wanted);
  lesson_->setText(
      wanted
          ? tr("Light groups are on. Render the scene, and its groups can be mixed here.\n\nLamps, glowing "
               "materials and the sky name their light group among their attributes; those without a name "
               "share one.")
          : tr("%1\n\nWith light groups, a render keeps the light of each group of lamps apart. Their "
               "brightness and colour can then be changed here, without another render.")
                .arg(hasFilm_ ? tr("This picture has no light groups.")
                              : tr("No picture with light groups.")));
  const bool neutral = mix_.isNeutral();
  reset_->setEnabled(!neutral);
  apply_->setEnabled(!neutral && session_.document());
  note_->setVisible(!note_->text().isEmpty());
}

} // namespace host
