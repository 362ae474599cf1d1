#include "render_settings_dialog.h"

#include <algorithm>
#include <cmath>

#include "c4d_render.h"
#include "icons.h"
#include "number_field.h"
#include "quiet_combo.h"
#include "render_effects_page.h"
#include "render_settings.h"
#include "theme.h"
#include "view_setting.h"

namespace host {

namespace {

QStringList viewsOf(const BaseDocument* document) {
  const RenderData* data = document ? document->GetActiveRenderData() : nullptr;
  QStringList names;
  for (const std::string& name : viewNames(data ? render::readView(data->GetData(), document).config : ""))
    names << QString::fromStdString(name);
  return names;
}

constexpr LONG mostPixels = 32768; // a side, as bitmaps have it

} // namespace

RenderSettingsDialog::RenderSettingsDialog(Session& session, QWidget* parent)
    : QDialog(parent), session_(session), fields_(session, *this) {
  setObjectName(QStringLiteral("renderSettings"));
  setWindowTitle(tr("Render Settings"));
  setModal(false);
  tabs_ = new QTabWidget(this);
  tabs_->setDocumentMode(true);
  const auto page = [this](QWidget* content, const QString& title) {
    auto* area = new QScrollArea(tabs_);
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    content->setProperty("role", "scrolled");
    area->setWidget(content);
    area->setFocusPolicy(Qt::NoFocus);
    tabs_->addTab(area, title);
  };
  page(buildOutput(), tr("Output"));
  page(buildQuality(), tr("Quality"));
  page(buildOptions(), tr("Options"));
  page(buildLayers(), tr("Multi-Pass"));
  effects_ = new RenderEffectsPage(session_, this);
  page(effects_, tr("Effects"));

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(metrics::groupSpace, metrics::grid, metrics::groupSpace, metrics::groupSpace);
  layout->setSpacing(metrics::groupSpace);
  layout->addWidget(tabs_, 1);
  layout->addLayout(buildButtons());

  soon_.setSingleShot(true);
  soon_.setInterval(0);
  connect(&soon_, &QTimer::timeout, this, &RenderSettingsDialog::refresh);
  const auto soon = [this] {
    stale_ = true;
    if (isVisible()) soon_.start();
  };
  connect(&fields_, &RenderSettingFields::changed, this, [this] {
    stale_ = true;
    soon_.start();
  });
  subscriptions_.push_back(session_.hub().changed.add(soon));
  subscriptions_.push_back(session_.hub().replaced.add([this, soon](Replacement) {
    fields_.forgetDrag();
    soon();
  }));
  refresh();
}

RenderSettingsDialog::~RenderSettingsDialog() = default;

QLayout* RenderSettingsDialog::buildButtons() {
  auto* render = new QPushButton(icon(QStringLiteral("render")), tr("&Render"), this);
  render->setObjectName(QStringLiteral("renderButton"));
  render->setAutoDefault(false);
  render->setToolTip(tr("Renders to the Frame Buffer (Alt+R)"));
  connect(render, &QPushButton::clicked, this, &RenderSettingsDialog::renderWanted);
  auto* shut = new QPushButton(tr("&Close"), this);
  shut->setAutoDefault(false);
  shut->setToolTip(tr("Closes the window; the settings stay (Alt+C, Esc)"));
  connect(shut, &QPushButton::clicked, this, &QDialog::close);
  auto* buttons = new QHBoxLayout;
  buttons->setSpacing(metrics::groupSpace);
  buttons->addStretch(1);
  buttons->addWidget(render);
  buttons->addWidget(shut);
  return buttons;
}

QWidget* RenderSettingsDialog::field(LONG id) const {
  return fields_.field(id);
}

QListWidget& RenderSettingsDialog::effects() {
  return effects_->list();
}

void RenderSettingsDialog::addEffect(LONG type) {
  effects_->add(type);
}

void RenderSettingsDialog::removeEffect() {
  effects_->remove();
}

void RenderSettingsDialog::setProportional(bool on) {
  const double width = fields_.value(RDATA_XRES).GetReal(), height = fields_.value(RDATA_YRES).GetReal();
  if (on && width > 0 && height > 0) proportion_ = width / height;
  proportional_->setChecked(on);
}

void RenderSettingsDialog::refresh() {
  soon_.stop();
  stale_ = false;
  if (!session_.document()) return;
  fields_.refresh();
  const QSize size(fields_.value(RDATA_XRES).GetLong(), fields_.value(RDATA_YRES).GetLong());
  presets_->setCurrentIndex(presets_->findData(size));
  effects_->refresh();
}

void RenderSettingsDialog::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  if (stale_) refresh();
}

// --- pages ---

void RenderSettingsDialog::addSize(QGridLayout& grid, LONG id, const QString& label) {
  NumberField* field = fields_.makeNumber(grid, id, label, tr("Size of the rendered picture in pixels."), 1,
                                          mostPixels, 0, 1, 1, tr(" px"));
  fields_.connectNumber(*field, [this, id](double side) {
    RenderSettingFields::Values values{{id, GeData(static_cast<LONG>(std::lround(side)))}};
    if (!proportional_->isChecked()) return values;
    const bool wide = id == RDATA_XRES;
    const double other = std::clamp(wide ? side / proportion_ : side * proportion_, 1.0, double{mostPixels});
    values.emplace_back(wide ? RDATA_YRES : RDATA_XRES, GeData(static_cast<LONG>(std::lround(other))));
    return values;
  });
}

void RenderSettingsDialog::addPresets(QGridLayout& grid) {
  presets_ = new QuietCombo(this);
  presets_->setObjectName(QStringLiteral("presets"));
  presets_->setPlaceholderText(tr("Custom"));
  const struct {
    const char* name;
    int width, height;
  } presets[] = {{"640 x 480", 640, 480},
                 {"HD 1280 x 720", 1280, 720},
                 {"Full HD 1920 x 1080", 1920, 1080},
                 {"4K UHD 3840 x 2160", 3840, 2160},
                 {"Square 1024 x 1024", 1024, 1024},
                 {"Portrait 1080 x 1920", 1080, 1920}};
  for (const auto& preset : presets)
    presets_->addItem(QLatin1String(preset.name), QSize(preset.width, preset.height));
  connect(presets_, &QComboBox::activated, this, [this](int index) {
    const QSize size = presets_->itemData(index).toSize();
    fields_.change({{RDATA_XRES, GeData(static_cast<LONG>(size.width()))},
                    {RDATA_YRES, GeData(static_cast<LONG>(size.height()))}});
  });
  fields_.addRow(grid, tr("Format"), presets_, tr("Usual sizes."));
}

void RenderSettingsDialog::addView(QWidget* page) {
  QGridLayout* view = fields_.addGroup(page, tr("View"));
  fields_.addFile(
      *view, render::colorConfigSetting, tr("Configuration"),
      tr("An OpenColorIO configuration, whose views are added to the list. Empty: the one that the "
         "variable OCIO names."),
      tr("From OCIO"), QStringLiteral("ocio"));
  fields_.addNameChoice(*view, render::viewSetting, tr("View"),
                        tr("How light becomes colours on screen and in saved 8-bit pictures. OpenEXR files "
                           "hold the light itself."),
                        [this] { return viewsOf(session_.document()); });
  fields_.addNumber(*view, render::exposureSetting, tr("Exposure"),
                    tr("In stops: one more is twice the light."), -ViewSettings::mostStops,
                    ViewSettings::mostStops, 2, 0.1);
  fields_.addNumber(*view, render::gammaSetting, tr("Gamma"),
                    tr("Above 1 brightens the middle tones of the display."), ViewSettings::leastGamma,
                    ViewSettings::mostGamma, 2, 0.05);
  fields_.addNumber(*view, render::whiteBalanceSetting, tr("White balance"),
                    tr("Light of this temperature looks white."), ViewSettings::leastKelvin,
                    ViewSettings::mostKelvin, 1, 50, 1, tr(" K"));
}

QWidget* RenderSettingsDialog::buildOutput() {
  auto* page = new QWidget(this);
  page->setLayout(new QVBoxLayout);
  QGridLayout* size = fields_.addGroup(page, tr("Picture"));
  addPresets(*size);
  addSize(*size, RDATA_XRES, tr("Width"));
  addSize(*size, RDATA_YRES, tr("Height"));
  proportional_ = new QCheckBox(tr("Keep proportions"), page);
  proportional_->setObjectName(QStringLiteral("proportional"));
  connect(proportional_, &QCheckBox::toggled, this, &RenderSettingsDialog::setProportional);
  fields_.addRow(*size, {}, proportional_, tr("Changing one side changes the other."));

  addView(page);
  QGridLayout* region = fields_.addGroup(page, tr("Region"));
  fields_.addSwitch(*region, RDATA_RENDERREGION, tr("Render a part only"),
                    tr("Only these pixels are rendered, the first and the last included."));
  const struct {
    LONG id;
    QString label;
  } sides[] = {{RDATA_RENDERREGION_LEFT, tr("Left")},
               {RDATA_RENDERREGION_TOP, tr("Top")},
               {RDATA_RENDERREGION_RIGHT, tr("Right")},
               {RDATA_RENDERREGION_BOTTOM, tr("Bottom")}};
  for (const auto& side : sides) {
    fields_.addNumber(*region, side.id, side.label, tr("In pixels from the left upper corner."), 0,
                      mostPixels - 1, 0, 1, 1, tr(" px"));
    fields_.enable(side.id, [this] { return fields_.isOn(RDATA_RENDERREGION); });
  }

  QGridLayout* frames = fields_.addGroup(page, tr("Frames"));
  const QString kept =
      tr("Kept in the scene. The renders of this program show the frame of the time slider.");
  fields_.addChoice(*frames, RDATA_FRAMESEQUENCE, tr("Sequence"), kept, {{0, tr("Manual")}});
  fields_.addFrame(*frames, RDATA_FRAMEFROM, tr("From"), kept);
  fields_.addFrame(*frames, RDATA_FRAMETO, tr("To"), kept);
  auto* note = new QLabel(kept, page);
  note->setWordWrap(true);
  setRole(note, "dim");
  frames->addWidget(note, frames->rowCount(), 0, 1, 2);
  static_cast<QVBoxLayout*>(page->layout())->addStretch(1);
  return page;
}

void RenderSettingsDialog::addEngine(QWidget* page) {
  QGridLayout* engine = fields_.addGroup(page, tr("Engine"));
  fields_.addChoice(
      *engine, RDATA_RENDERENGINE, tr("Engine"),
      tr("Standard traces light. The previews show shapes and colours at once; the hardware preview uses "
         "the graphics card where there is a driver."),
      {{RDATA_RENDERENGINE_STANDARD, tr("Standard")},
       {RDATA_RENDERENGINE_PREVIEWSOFTWARE, tr("Software Preview")},
       {RDATA_RENDERENGINE_PREVIEWHARDWARE, tr("Hardware Preview")}});
  RenderSettingFields::Choices shadings;
  for (const render::ShadingModeInfo& info : render::shadingModes())
    shadings.emplace_back(static_cast<LONG>(info.mode), QString::fromUtf8(info.label));
  fields_.addChoice(
      *engine, render::shadingSetting, tr("Shading"),
      tr("Shows the scene in clay, or one property of its surfaces, to find mistakes in it. The "
         "materials stay as they are."),
      shadings);
}

QWidget* RenderSettingsDialog::buildQuality() {
  auto* page = new QWidget(this);
  page->setLayout(new QVBoxLayout);
  addEngine(page);
  QGridLayout* samples = fields_.addGroup(page, tr("Sampling"));
  fields_.addNumber(*samples, RDATA_MAXSAMPLES, tr("Samples"),
                    tr("The samples a pixel. More take longer and leave less noise."), 1, 1 << 20);
  fields_.addChoice(*samples, render::spreadSetting, tr("Spread samples"),
                    tr("By noise: noisy places take more samples and quiet ones fewer, in about the same "
                       "time. Evenly: every "
                       "pixel takes the same number."),
                    {{0, tr("By noise")}, {1, tr("Evenly")}});
  fields_.addNumber(*samples, RDATA_NOISETHRESHOLD, tr("Noise threshold"),
                    tr("A pixel stops early when its noise falls below this. 0: it never does."), 0, 1, 4,
                    0.001);
  fields_.addChoice(*samples, render::denoiseSetting, tr("Denoise"),
                    tr("Takes the noise out of the finished picture, or live: while it refines as well. The "
                       "noisy picture is kept; D shows it in the Frame Buffer."),
                    {{0, tr("Off")}, {1, tr("At the end")}, {2, tr("Live")}});
  fields_.addSwitch(
      *samples, render::radianceCacheSetting, tr("Radiance cache"),
      tr("Paths of light that a surface has scattered end in light that is known by then. Rooms "
         "are clean several times sooner. Off: every path is followed to its end."));
  const auto standard = [this] {
    return fields_.value(RDATA_RENDERENGINE).GetLong() == RDATA_RENDERENGINE_STANDARD;
  };
  fields_.enable(RDATA_MAXSAMPLES, standard);
  fields_.enable(render::spreadSetting, standard);
  fields_.enable(RDATA_NOISETHRESHOLD, standard);
  fields_.enable(render::denoiseSetting, standard);
  fields_.enable(render::radianceCacheSetting, standard);
  QGridLayout* edges = fields_.addGroup(page, tr("Anti-Aliasing"));
  fields_.addChoice(
      *edges, RDATA_ANTIALIASING, tr("Anti-aliasing"),
      tr("None smooths the pixel alone, Geometry adds samples and the filter at edges between objects, "
         "Best uses the filter everywhere."),
      {{0, tr("None")}, {1, tr("Geometry")}, {2, tr("Best")}});
  fields_.addChoice(*edges, RDATA_AAFILTER, tr("Filter"),
                    tr("How samples become a pixel: sharper for stills, softer for animations."),
                    {{0, tr("Still Image")},
                     {1, tr("Animation")},
                     {2, tr("Blend")},
                     {3, tr("Sinc")},
                     {4, tr("Area")},
                     {5, tr("Cone")},
                     {6, tr("Catmull")},
                     {7, tr("Video")}});
  fields_.enable(RDATA_AAFILTER,
                 [this, standard] { return standard() && fields_.value(RDATA_ANTIALIASING).GetLong() != 0; });
  addMotionBlur(page);
  QGridLayout* detail = fields_.addGroup(page, tr("Detail"));
  fields_.addNumber(*detail, RDATA_LOD, tr("Level of detail"),
                    tr("Scales how finely generators and subdivision divide surfaces."), 0, 100, 1, 1, 100,
                    QStringLiteral(" %"));
  static_cast<QVBoxLayout*>(page->layout())->addStretch(1);
  return page;
}

void RenderSettingsDialog::addMotionBlur(QWidget* page) {
  QGridLayout* motion = fields_.addGroup(page, tr("Motion Blur"));
  fields_.addSwitch(*motion, render::motionBlurSetting, tr("Motion blur"),
                    tr("Animated objects, cameras and shapes blur while the shutter is open."));
  fields_.addNumber(*motion, render::shutterOpenSetting, tr("Shutter open"),
                    tr("When the shutter opens, in frames from the frame's time."), -10, 10, 3, 0.05, 1,
                    tr(" frames"));
  fields_.addNumber(*motion, render::shutterCloseSetting, tr("Shutter close"),
                    tr("When the shutter closes. Half a frame after it opens is a shutter of 180 degrees."),
                    -10, 10, 3, 0.05, 1, tr(" frames"));
  fields_.addNumber(*motion, render::motionStepsSetting, tr("Steps"),
                    tr("Straight pieces that a motion is cut into. Fast turns need more."), 1, 16);
  for (const LONG id : {render::shutterOpenSetting, render::shutterCloseSetting, render::motionStepsSetting})
    fields_.enable(id, [this] { return fields_.isOn(render::motionBlurSetting); });
}

QWidget* RenderSettingsDialog::buildOptions() {
  auto* page = new QWidget(this);
  page->setLayout(new QVBoxLayout);
  QGridLayout* surfaces = fields_.addGroup(page, tr("Surfaces"));
  fields_.addSwitch(*surfaces, RDATA_TEXTURES, tr("Textures"),
                    tr("Pictures on surfaces; without them plain colours."));
  fields_.addSwitch(*surfaces, RDATA_ENABLEBLURRY, tr("Blurriness"),
                    tr("Rough surfaces reflect and let light through blurred; without it all are sharp."));
  fields_.addSwitch(*surfaces, RDATA_OPTION_REFLECTION, tr("Reflection"),
                    tr("Surfaces mirror what is around them."));
  fields_.addSwitch(*surfaces, RDATA_OPTION_LIMITREFLECTION, tr("Limit to sky and floor"),
                    tr("Reflections show floors and the sky only."), true, 1);
  fields_.addSwitch(*surfaces, RDATA_OPTION_TRANSPARENCY, tr("Transparency"),
                    tr("Light goes through glass."));
  fields_.addSwitch(*surfaces, RDATA_OPTION_REFRACTION, tr("Refraction"),
                    tr("Light bends where it enters and leaves glass."), true, 1);
  fields_.addSwitch(*surfaces, RDATA_SSS, tr("Subsurface scattering"),
                    tr("Light that spreads below a surface."), false);
  fields_.addSwitch(*surfaces, RDATA_SUBPOLYGON_DISPLACEMENT, tr("Sub-polygon displacement"),
                    tr("Displacement finer than the mesh."), false);
  fields_.enable(RDATA_OPTION_LIMITREFLECTION, [this] { return fields_.isOn(RDATA_OPTION_REFLECTION); });
  fields_.enable(RDATA_OPTION_REFRACTION, [this] { return fields_.isOn(RDATA_OPTION_TRANSPARENCY); });

  QGridLayout* light = fields_.addGroup(page, tr("Light"));
  fields_.addSwitch(*light, RDATA_OPTION_SHADOW, tr("Shadows"), tr("Lights cast shadows."));
  fields_.addSwitch(*light, RDATA_OPTION_LIMITSHADOW, tr("Limit to soft"),
                    tr("Only lights with a size cast shadows."), true, 1);
  fields_.addSwitch(*light, RDATA_VOLUMETRICLIGHTING, tr("Volumetric lighting"), tr("Light seen in the air."),
                    false);
  fields_.enable(RDATA_OPTION_LIMITSHADOW, [this] { return fields_.isOn(RDATA_OPTION_SHADOW); });

  QGridLayout* scene = fields_.addGroup(page, tr("Scene"));
  fields_.addSwitch(*scene, RDATA_ACTIVEOBJECTONLY, tr("Selected objects only"),
                    tr("Renders what is selected and nothing else."));
  fields_.addSwitch(*scene, RDATA_POSTEFFECTS_ENABLE, tr("Post effects"),
                    tr("Calls the effects of plug-ins that are listed under Effects."));

  QGridLayout* save = fields_.addGroup(page, tr("Saving"));
  fields_.addSwitch(*save, RDATA_SAVEIMAGE, tr("Save the picture"), tr("Save in the Frame Buffer instead."),
                    false);
  static_cast<QVBoxLayout*>(page->layout())->addStretch(1);
  return page;
}

QWidget* RenderSettingsDialog::buildLayers() {
  auto* page = new QWidget(this);
  page->setLayout(new QVBoxLayout);
  QGridLayout* layers = fields_.addGroup(page, tr("Layers"));
  std::vector<RenderSettingFields::Bit> bits;
  for (const LayerInfo& layer : layerTable())
    bits.push_back({static_cast<LONG>(layer.bit), QString::fromLatin1(layer.name), tr(layer.label)});
  fields_.addBits(*layers, render::layersSetting, bits);
  auto* note =
      new QLabel(tr("Renders of the standard engine fill these layers beside the picture. OpenEXR files hold "
                    "them."),
                 page);
  note->setWordWrap(true);
  setRole(note, "dim");
  layers->addWidget(note, layers->rowCount(), 0, 1, 2);
  static_cast<QVBoxLayout*>(page->layout())->addStretch(1);
  return page;
}

} // namespace host
