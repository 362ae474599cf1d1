// What stands on the pages of the render settings.
#include "c4d_render.h"
#include "icons.h"
#include "number_field.h"
#include "render_settings_dialog.h"
#include "scene_edits.h"
#include "theme.h"

namespace host {

namespace {

constexpr LONG mostPixels = 32768; // a side, as bitmaps have it

}

QWidget* RenderSettingsDialog::buildOutput() {
  auto* page = new QWidget(this);
  page->setLayout(new QVBoxLayout);
  QGridLayout* size = addGroup(page, tr("Picture"));
  addPresets(*size);
  addSize(*size, RDATA_XRES, tr("Width"));
  addSize(*size, RDATA_YRES, tr("Height"));
  proportional_ = new QCheckBox(tr("Keep proportions"), page);
  proportional_->setObjectName(QStringLiteral("proportional"));
  connect(proportional_, &QCheckBox::toggled, this, &RenderSettingsDialog::setProportional);
  addRow(*size, {}, proportional_, tr("Changing one side changes the other."));

  QGridLayout* region = addGroup(page, tr("Region"));
  addSwitch(*region, RDATA_RENDERREGION, tr("Render a part only"),
            tr("Only these pixels are rendered, the first and the last included."));
  const struct {
    LONG id;
    QString label;
  } sides[] = {{RDATA_RENDERREGION_LEFT, tr("Left")},
               {RDATA_RENDERREGION_TOP, tr("Top")},
               {RDATA_RENDERREGION_RIGHT, tr("Right")},
               {RDATA_RENDERREGION_BOTTOM, tr("Bottom")}};
  for (const auto& side : sides) {
    addNumber(*region, side.id, side.label, tr("In pixels from the left upper corner."), 0, mostPixels - 1, 0,
              1, 1, tr(" px"));
    enable(side.id, [this] { return isOn(RDATA_RENDERREGION); });
  }

  QGridLayout* frames = addGroup(page, tr("Frames"));
  const QString kept =
      tr("Kept in the scene. The renders of this program show the frame of the time slider.");
  addChoice(*frames, RDATA_FRAMESEQUENCE, tr("Sequence"), kept, {{0, tr("Manual")}});
  addFrame(*frames, RDATA_FRAMEFROM, tr("From"), kept);
  addFrame(*frames, RDATA_FRAMETO, tr("To"), kept);
  auto* note = new QLabel(kept, page);
  note->setWordWrap(true);
  setRole(note, "dim");
  frames->addWidget(note, frames->rowCount(), 0, 1, 2);
  static_cast<QVBoxLayout*>(page->layout())->addStretch(1);
  return page;
}

QWidget* RenderSettingsDialog::buildQuality() {
  auto* page = new QWidget(this);
  page->setLayout(new QVBoxLayout);
  QGridLayout* engine = addGroup(page, tr("Engine"));
  addChoice(
      *engine, RDATA_RENDERENGINE, tr("Engine"),
      tr("Standard traces light. The previews show shapes and colours at once; the hardware preview uses "
         "the graphics card where there is a driver."),
      {{RDATA_RENDERENGINE_STANDARD, tr("Standard")},
       {RDATA_RENDERENGINE_PREVIEWSOFTWARE, tr("Software Preview")},
       {RDATA_RENDERENGINE_PREVIEWHARDWARE, tr("Hardware Preview")}});
  QGridLayout* samples = addGroup(page, tr("Sampling"));
  addNumber(*samples, RDATA_MAXSAMPLES, tr("Samples"),
            tr("The most samples that a pixel takes. More take longer and leave less noise."), 1, 1 << 20);
  addNumber(*samples, RDATA_NOISETHRESHOLD, tr("Noise threshold"),
            tr("A pixel stops early when its noise falls below this. 0: it never does."), 0, 1, 4, 0.001);
  const auto standard = [this] { return value(RDATA_RENDERENGINE).GetLong() == RDATA_RENDERENGINE_STANDARD; };
  enable(RDATA_MAXSAMPLES, standard);
  enable(RDATA_NOISETHRESHOLD, standard);
  QGridLayout* edges = addGroup(page, tr("Anti-Aliasing"));
  addChoice(*edges, RDATA_ANTIALIASING, tr("Anti-aliasing"),
            tr("None smooths the pixel alone, Geometry adds samples and the filter at edges between objects, "
               "Best uses the filter everywhere."),
            {{0, tr("None")}, {1, tr("Geometry")}, {2, tr("Best")}});
  addChoice(*edges, RDATA_AAFILTER, tr("Filter"),
            tr("How samples become a pixel: sharper for stills, softer for animations."),
            {{0, tr("Still Image")},
             {1, tr("Animation")},
             {2, tr("Blend")},
             {3, tr("Sinc")},
             {4, tr("Area")},
             {5, tr("Cone")},
             {6, tr("Catmull")},
             {7, tr("Video")}});
  enable(RDATA_AAFILTER, [this, standard] { return standard() && value(RDATA_ANTIALIASING).GetLong() != 0; });
  QGridLayout* detail = addGroup(page, tr("Detail"));
  addNumber(*detail, RDATA_LOD, tr("Level of detail"),
            tr("Scales how finely generators and subdivision divide surfaces."), 0, 100, 1, 1, 100,
            QStringLiteral(" %"));
  static_cast<QVBoxLayout*>(page->layout())->addStretch(1);
  return page;
}

QWidget* RenderSettingsDialog::buildOptions() {
  auto* page = new QWidget(this);
  page->setLayout(new QVBoxLayout);
  QGridLayout* surfaces = addGroup(page, tr("Surfaces"));
  addSwitch(*surfaces, RDATA_TEXTURES, tr("Textures"),
            tr("Pictures on surfaces; without them plain colours."));
  addSwitch(*surfaces, RDATA_ENABLEBLURRY, tr("Blurriness"),
            tr("Rough surfaces reflect and let light through blurred; without it all are sharp."));
  addSwitch(*surfaces, RDATA_OPTION_REFLECTION, tr("Reflection"), tr("Surfaces mirror what is around them."));
  addSwitch(*surfaces, RDATA_OPTION_LIMITREFLECTION, tr("Limit to sky and floor"),
            tr("Reflections show floors and the sky only."), true, 1);
  addSwitch(*surfaces, RDATA_OPTION_TRANSPARENCY, tr("Transparency"), tr("Light goes through glass."));
  addSwitch(*surfaces, RDATA_OPTION_REFRACTION, tr("Refraction"),
            tr("Light bends where it enters and leaves glass."), true, 1);
  addSwitch(*surfaces, RDATA_SSS, tr("Subsurface scattering"), tr("Light that spreads below a surface."),
            false);
  addSwitch(*surfaces, RDATA_SUBPOLYGON_DISPLACEMENT, tr("Sub-polygon displacement"),
            tr("Displacement finer than the mesh."), false);
  enable(RDATA_OPTION_LIMITREFLECTION, [this] { return isOn(RDATA_OPTION_REFLECTION); });
  enable(RDATA_OPTION_REFRACTION, [this] { return isOn(RDATA_OPTION_TRANSPARENCY); });

  QGridLayout* light = addGroup(page, tr("Light"));
  addSwitch(*light, RDATA_OPTION_SHADOW, tr("Shadows"), tr("Lights cast shadows."));
  addSwitch(*light, RDATA_OPTION_LIMITSHADOW, tr("Limit to soft"),
            tr("Only lights with a size cast shadows."), true, 1);
  addSwitch(*light, RDATA_VOLUMETRICLIGHTING, tr("Volumetric lighting"), tr("Light seen in the air."), false);
  enable(RDATA_OPTION_LIMITSHADOW, [this] { return isOn(RDATA_OPTION_SHADOW); });

  QGridLayout* scene = addGroup(page, tr("Scene"));
  addSwitch(*scene, RDATA_ACTIVEOBJECTONLY, tr("Selected objects only"),
            tr("Renders what is selected and nothing else."));
  addSwitch(*scene, RDATA_POSTEFFECTS_ENABLE, tr("Post effects"),
            tr("Calls the effects of plug-ins that are listed under Effects."));

  QGridLayout* save = addGroup(page, tr("Saving"));
  addSwitch(*save, RDATA_SAVEIMAGE, tr("Save the picture"), tr("Save in the Picture Viewer instead."), false);
  addSwitch(*save, RDATA_MULTIPASS_ENABLE, tr("Multi-pass"), tr("Several layers a picture."), false);
  addSwitch(*save, RDATA_MULTIPASS_SAVEIMAGE, tr("Save the multi-pass picture"),
            tr("The layers in one file."), false, 1);
  enable(RDATA_MULTIPASS_SAVEIMAGE, [this] { return isOn(RDATA_MULTIPASS_ENABLE); });
  static_cast<QVBoxLayout*>(page->layout())->addStretch(1);
  return page;
}

QWidget* RenderSettingsDialog::buildEffects() {
  auto* page = new QWidget(this);
  auto* layout = new QVBoxLayout(page);
  layout->setContentsMargins(metrics::groupSpace, metrics::groupSpace, metrics::groupSpace,
                             metrics::groupSpace);
  layout->setSpacing(metrics::groupSpace);
  auto* bar = new QHBoxLayout;
  bar->setSpacing(metrics::groupSpace);
  add_ = new QPushButton(icon(QStringLiteral("plus")), tr("Add Effect"), page);
  add_->setObjectName(QStringLiteral("addEffect"));
  add_->setAutoDefault(false);
  add_->setMenu(new QMenu(add_));
  connect(add_->menu(), &QMenu::aboutToShow, this, &RenderSettingsDialog::fillAddMenu);
  remove_ = new QPushButton(icon(QStringLiteral("delete")), tr("Remove"), page);
  remove_->setObjectName(QStringLiteral("removeEffect"));
  remove_->setAutoDefault(false);
  connect(remove_, &QPushButton::clicked, this, &RenderSettingsDialog::removeEffect);
  bar->addWidget(add_);
  bar->addStretch(1);
  bar->addWidget(remove_);
  effects_ = new QListWidget(page);
  effects_->setObjectName(QStringLiteral("effectList"));
  effects_->setAccessibleName(tr("Effects"));
  connect(effects_, &QListWidget::itemChanged, this, &RenderSettingsDialog::switchEffect);
  connect(effects_, &QListWidget::currentItemChanged, this, [this] { showEffectNote(); });
  noEffects_ = new QLabel(tr("No effects. Add one to change what a render computes: global illumination lets "
                             "light bounce between surfaces."),
                          page);
  noEffects_->setWordWrap(true);
  setRole(noEffects_, "dim");
  effectNote_ = new QLabel(page);
  effectNote_->setWordWrap(true);
  setRole(effectNote_, "dim");
  layout->addLayout(bar);
  layout->addWidget(effects_, 1);
  layout->addWidget(noEffects_);
  layout->addWidget(effectNote_);
  return page;
}

} // namespace host
