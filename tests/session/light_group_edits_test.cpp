// A mix of light groups applied to the scene, and the settings that desk panels keep.
#include <cmath>

#include "layer_table.h"
#include "lens_setting.h"
#include "render_settings.h"
#include "session_fixture.h"

namespace {

using namespace host;

class LightGroupEdits : public SessionFixture {
 protected:
  LightGroupEdits() {
    openScene();
    ObjectState* sky = makeObject(Osky);
    sky->name = "heaven";
    sky->data.SetLong(param::skyKind, 2);
    state().children.append(*sky);
    ObjectState* rim = makeObject(Olight);
    rim->name = "rim";
    rim->data.SetString(param::lightGroup, "rim.left");
    rim->data.SetReal(param::lightIntensity, 3);
    state().children.append(*rim);
    node("red").data.SetVector(param::emission, {0.5, 0.25, 0});
    node("red").data.SetReal(param::emissionStrength, 4);
    node("blue").data.SetBool(param::unlit, TRUE);
    node("blue").data.SetVector(param::baseColor, {0.5, 0.5, 0.5});
    edits().notice("");
  }
  NodeState& node(const char* name) { return *stateOf(document().SearchMaterial(name)); }
  Real real(const NodeState& of, LONG id) { return param::real(of, id); }
};

TEST_F(LightGroupEdits, LampsMaterialsAndSkyOfTheGroupAreScaled) {
  const DocumentPtr before = copy();
  const std::array<LightGroupGain, 2> gains{{{"default", {2, 1, 0.5}}, {"rim_left", {0.5, 0.5, 0.5}}}};
  ASSERT_TRUE(edits().apply("Apply", [&](BaseDocument& d) { EXPECT_TRUE(scaleLightGroups(d, gains)); }));
  EXPECT_DOUBLE_EQ(real(*object("lamp"), param::lightIntensity), 2);
  EXPECT_EQ(param::vector(*object("lamp"), param::lightColor), Vector(1, 0.5, 0.25));
  EXPECT_DOUBLE_EQ(real(*object("rim"), param::lightIntensity), 1.5);
  EXPECT_EQ(param::vector(*object("rim"), param::lightColor), Vector(1, 1, 1));
  EXPECT_DOUBLE_EQ(real(node("red"), param::emissionStrength), 8);
  EXPECT_EQ(param::vector(node("red"), param::emission), Vector(0.5, 0.125, 0));
  EXPECT_DOUBLE_EQ(real(node("blue"), param::emissionStrength), 1) << "it does not glow";
  EXPECT_EQ(param::vector(node("blue"), param::baseColor), Vector(1, 0.5, 0.25)) << "it is unlit";
  EXPECT_DOUBLE_EQ(real(*object("heaven"), param::skyStrength), 1) << "another group";
  ASSERT_TRUE(edits().undo());
  expectEqual(before, "one step");
}

TEST_F(LightGroupEdits, TheSkysColoursFollow) {
  const Vector zenith = param::vector(*object("heaven"), param::skyColor),
               ground = param::vector(*object("heaven"), param::skyGround);
  EXPECT_TRUE(scaleLightGroups(document(), std::array{LightGroupGain{"sky", {4, 2, 2}}}));
  EXPECT_DOUBLE_EQ(real(*object("heaven"), param::skyStrength), 4);
  EXPECT_EQ(param::vector(*object("heaven"), param::skyColor), Vector(zenith.x, zenith.y / 2, zenith.z / 2));
  EXPECT_EQ(param::vector(*object("heaven"), param::skyGround), Vector(ground.x, ground.y / 2, ground.z / 2));
}

TEST_F(LightGroupEdits, AMutedGroupKeepsItsColour) {
  EXPECT_TRUE(scaleLightGroups(document(), std::array{LightGroupGain{"rim_left", {0, 0, 0}}}));
  EXPECT_DOUBLE_EQ(real(*object("rim"), param::lightIntensity), 0);
  EXPECT_EQ(param::vector(*object("rim"), param::lightColor), Vector(1, 1, 1));
}

TEST_F(LightGroupEdits, NothingToDoIsNoStep) {
  const std::array<LightGroupGain, 4> gains{
      {{"default", {1, 1, 1}}, {"gone", {5, 5, 5}}, {"sky", {std::nan(""), 1, 1}}, {"rim_left", {-1, 1, 1}}}};
  const DocumentPtr before = copy();
  EXPECT_FALSE(scaleLightGroups(document(), gains));
  expectEqual(before, "unchanged");
}

TEST_F(LightGroupEdits, LayersAreAddedToTheWanted) {
  const auto layers = [this] {
    return document().GetActiveRenderData()->GetData().GetLong(render::layersSetting, 0);
  };
  EXPECT_TRUE(wantLayers(document(), normalLayer));
  EXPECT_TRUE(wantLayers(document(), lightGroupLayers));
  EXPECT_EQ(layers(), static_cast<LONG>(normalLayer | lightGroupLayers));
  EXPECT_FALSE(wantLayers(document(), lightGroupLayers));
}

TEST_F(LightGroupEdits, LensEffectsGoWithTheDocument) {
  const auto lens = [this] { return render::readLens(document().GetActiveRenderData()->GetData()); };
  LensSettings wanted;
  EXPECT_FALSE(setLensEffects(document(), wanted))
      << "the defaults of render settings are those of the effects";
  wanted.bloom = wanted.vignette = true;
  wanted.threshold = 2, wanted.strength = 0.25, wanted.radius = 0.03, wanted.streaks = 8, wanted.length = 0.4;
  wanted.angle = 45, wanted.amount = 0.75, wanted.size = 1.5, wanted.roundness = 0.5;
  EXPECT_TRUE(setLensEffects(document(), wanted));
  EXPECT_EQ(lens(), wanted);
  EXPECT_FALSE(setLensEffects(document(), wanted));
  setRenderValue(document(), render::bloomRadiusSetting, GeData(1e300));
  EXPECT_EQ(lens().radius, LensSettings::mostRadius);
}

} // namespace
