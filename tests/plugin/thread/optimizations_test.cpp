// The scene optimizations: subdivision objects, material channels, shaders.
#include <gtest/gtest.h>

#include "thread_fixture.h"

namespace {

using OptimizationsTest = ThreadFixture;

TEST_F(OptimizationsTest, NestedSubdivisionObjectsAreSwitchedOffAndKeepTheirChildren) {
  BaseObject* outer = addObject(Onull, "Outer");
  BaseObject* generator = addObject(Osds, "Smooth", outer);
  addObject(Onull, "Child", generator);
  settings.SetValue(LM_OPT_15019, 0);
  probe->during = [](BaseDocument& clone, VideoPostStruct&) {
    BaseObject* smooth = clone.SearchObject("Smooth");
    ASSERT_NE(smooth, nullptr);
    EXPECT_FALSE(smooth->GetDeformMode());
    ASSERT_NE(smooth->GetDown(), nullptr);
    EXPECT_EQ(smooth->GetDown()->GetName(), String("Child"));
    EXPECT_TRUE(clone.SearchObject("Outer")->GetDeformMode());
  };
  runJob();
  EXPECT_EQ(probe->renders.size(), 1u);
  EXPECT_TRUE(generator->GetDeformMode());
}

TEST_F(OptimizationsTest, WithTheSwitchOnNoObjectChanges) {
  addObject(Osds, "Smooth");
  probe->during = [](BaseDocument& clone, VideoPostStruct&) {
    EXPECT_TRUE(clone.SearchObject("Smooth")->GetDeformMode());
  };
  runJob();
  EXPECT_EQ(probe->renders.size(), 1u);
}

TEST_F(OptimizationsTest, FindObjectsDoesNothingWhenBothArgumentsAreSet) {
  BaseObject* generator = addObject(Osds, "Smooth");
  thread.FindObjects(document, TRUE, TRUE);
  EXPECT_TRUE(generator->GetDeformMode());
  thread.FindObjects(document, TRUE, FALSE);
  EXPECT_TRUE(generator->GetDeformMode());
  thread.FindObjects(document, FALSE, TRUE);
  EXPECT_FALSE(generator->GetDeformMode());
}

TEST_F(OptimizationsTest, ABreakStopsTheWalks) {
  BaseObject* generator = addObject(Osds, "Smooth");
  BaseMaterial* material = addMaterial("Clay");
  BaseShader* shader = addShader(material, CHANNEL_COLOR, Xambientocclusion);
  settings.SetValue(LM_OPT_SHADERS, 0);
  thread.stop = 1;
  thread.FindObjects(document, FALSE, TRUE);
  thread.FixShaders(document);
  EXPECT_TRUE(generator->GetDeformMode());
  EXPECT_EQ(material->GetChannel(CHANNEL_COLOR)->GetShader(), shader);
}

const std::pair<LONG, LONG> SWITCHES[] = {
    {15026, 2000}, {15027, 2001}, {15028, 2002}, {15029, 2003}, {15030, 2004}, {15031, 2005}, {15032, 2006},
    {15033, 2007}, {15034, 2013}, {15035, 2008}, {15036, 2009}, {15037, 2010}, {15038, 2011}, {15039, 2012},
};

TEST_F(OptimizationsTest, WithEverySwitchOnNoMaterialIsTouched) {
  BaseMaterial* material = addMaterial("Clay");
  const BaseContainer before = material->GetData();
  thread.FixMaterials(document);
  EXPECT_EQ(material->GetData(), before);
}

TEST_F(OptimizationsTest, EachSwitchSetsItsParameterInEveryMaterial) {
  BaseMaterial* materials[] = {addMaterial("Clay"), addMaterial("Glass")};
  for (const auto& [key, parameter] : SWITCHES) {
    SCOPED_TRACE(key);
    for (BaseMaterial* material : materials) {
      for (const auto& [otherKey, other] : SWITCHES)
        material->SetParameter(other, GeData::FromBool(TRUE));
    }
    settings.SetValue(key, 0);
    thread.FixMaterials(document);
    settings.SetValue(key, 1);
    for (BaseMaterial* material : materials) {
      for (const auto& [otherKey, other] : SWITCHES) {
        GeData value;
        ASSERT_TRUE(material->GetParameter(other, value));
        EXPECT_EQ(value.GetBool() != 0, other != parameter) << other;
        if (other == parameter) {
          EXPECT_EQ(value.GetType(), DA_LONG) << other;
        }
      }
    }
  }
}

TEST_F(OptimizationsTest, ATopShaderIsRemovedAndItsChannelIsEmpty) {
  BaseMaterial* material = addMaterial("Clay");
  addShader(material, CHANNEL_COLOR, Xambientocclusion);
  BaseShader* kept = addShader(material, CHANNEL_NORMAL, Xbitmap);
  settings.SetValue(LM_OPT_SHADERS, 0);
  thread.FixShaders(document);
  EXPECT_EQ(material->GetChannel(CHANNEL_COLOR)->GetShader(), nullptr);
  EXPECT_EQ(material->GetChannel(CHANNEL_NORMAL)->GetShader(), kept);
}

TEST_F(OptimizationsTest, ShadersInsideLayerAndFusionAreRemoved) {
  for (const LONG parentType : {Xlayer, Xfusion}) {
    BaseMaterial* material = addMaterial("Clay");
    BaseShader* parent = addShader(material, CHANNEL_COLOR, parentType);
    BaseShader* color = BaseShader::Alloc(Xcolor);
    BaseShader* occlusion = BaseShader::Alloc(Xambientocclusion);
    BaseShader* last = BaseShader::Alloc(Xcolor);
    parent->InsertShader(color);
    parent->InsertShader(occlusion, color);
    parent->InsertShader(last, occlusion);
    settings.SetValue(LM_OPT_SHADERS, 0);
    thread.FixShaders(document);
    EXPECT_EQ(material->GetChannel(CHANNEL_COLOR)->GetShader(), parent);
    EXPECT_EQ(parent->GetDown(), color);
    EXPECT_EQ(color->GetNext(), last);
    EXPECT_EQ(last->GetNext(), nullptr);
  }
}

TEST_F(OptimizationsTest, EveryChannelThatCarriesAShaderIsVisited) {
  settings.SetValue(LM_OPT_SHADERS, 0);
  for (const LONG channel : {0, 1, 2, 3, 4, 6, 7, 9, 11, 12, 13}) {
    BaseMaterial* material = addMaterial("Clay");
    ASSERT_NE(addShader(material, channel, Xambientocclusion), nullptr) << channel;
    thread.FixShaders(document);
    EXPECT_EQ(material->GetChannel(channel)->GetShader(), nullptr) << channel;
  }
}

TEST_F(OptimizationsTest, WithTheSwitchOnEveryShaderStays) {
  BaseMaterial* material = addMaterial("Clay");
  BaseShader* shader = addShader(material, CHANNEL_COLOR, Xambientocclusion);
  thread.FixShaders(document);
  EXPECT_EQ(material->GetChannel(CHANNEL_COLOR)->GetShader(), shader);
}

TEST_F(OptimizationsTest, FindObjectsLooksAtBothArguments) {
  BaseObject* generator = addObject(Osds, "Smooth");
  thread.FindObjects(document, FALSE, FALSE);
  EXPECT_FALSE(generator->GetDeformMode());
}

TEST_F(OptimizationsTest, SearchShadersKeepsThemWithTheSwitchOn) {
  BaseMaterial* material = addMaterial("Clay");
  BaseShader* shader = addShader(material, CHANNEL_COLOR, Xambientocclusion);
  EXPECT_EQ(thread.SearchShaders(shader), 0);
  EXPECT_EQ(material->GetChannel(CHANNEL_COLOR)->GetShader(), shader);
}

TEST_F(OptimizationsTest, AnEmptyTreeSucceeds) {
  settings.SetValue(LM_OPT_SHADERS, 0);
  EXPECT_EQ(thread.SearchObjects(nullptr, FALSE, TRUE), 0);
  EXPECT_EQ(thread.SearchShaders(nullptr), 0);
  addMaterial("Clay");
  thread.FixShaders(document);
  while (BaseObject* object = document->GetFirstObject()) {
    object->Remove();
    BaseObject::Free(object);
  }
  thread.FindObjects(document, FALSE, TRUE);
}

TEST_F(OptimizationsTest, ARemovedShaderTakesItsChildrenAlong) {
  BaseMaterial* material = addMaterial("Clay");
  BaseShader* parent = addShader(material, CHANNEL_COLOR, Xlayer);
  BaseShader* occlusion = BaseShader::Alloc(Xambientocclusion);
  BaseShader* last = BaseShader::Alloc(Xcolor);
  parent->InsertShader(occlusion);
  parent->InsertShader(last, occlusion);
  occlusion->InsertShader(BaseShader::Alloc(Xcolor));
  settings.SetValue(LM_OPT_SHADERS, 0);
  thread.FixShaders(document);
  EXPECT_EQ(parent->GetDown(), last);
  EXPECT_EQ(last->GetDown(), nullptr);
  EXPECT_EQ(last->GetNext(), nullptr);
}

/// Breaks after a number of break tests, and records the searched shaders.
class BreakingThread final : public lmThread {
 public:
  explicit BreakingThread(lmSettings* from) { settings = from; }
  ~BreakingThread() override { End(TRUE); }
  Bool TestDBreak() override { return left == 0 || --left < 0; }
  LONG SearchShaders(BaseShader* first) override {
    if (first) searched.push_back(first);
    return lmThread::SearchShaders(first);
  }
  LONG left = 1000;
  std::vector<BaseShader*> searched;
};

// One break test per object: objects before the break are changed, the rest are not.
TEST_F(OptimizationsTest, ABreakStopsTheObjectsWhereItComes) {
  BaseObject* group = addObject(Onull, "Group");
  std::vector<BaseObject*> generators;
  for (const char* name : {"Third", "Second", "First"}) {
    BaseObject* generator = BaseObject::Alloc(Osds);
    generator->SetName(name);
    generator->InsertUnder(group);
    generators.insert(generators.begin(), generator);
  }
  for (LONG tests = 0; tests <= 4; ++tests) {
    SCOPED_TRACE(tests);
    for (BaseObject* generator : generators)
      generator->SetDeformMode(TRUE);
    BreakingThread breaking(&settings);
    breaking.left = tests;
    breaking.FindObjects(document, FALSE, TRUE); // the group takes the first test
    for (LONG i = 0; i < 3; ++i)
      EXPECT_EQ(generators[static_cast<std::size_t>(i)]->GetDeformMode() == 0, i + 1 < tests) << i;
  }
}

TEST_F(OptimizationsTest, ABreakStopsTheShadersWhereItComes) {
  BaseMaterial* material = addMaterial("Clay");
  BaseShader* parent = addShader(material, CHANNEL_COLOR, Xlayer);
  for (int i = 0; i < 3; ++i)
    parent->InsertShader(BaseShader::Alloc(Xambientocclusion));
  settings.SetValue(LM_OPT_SHADERS, 0);
  BreakingThread breaking(&settings);
  breaking.left = 3; // the layer and two of its children
  breaking.FixShaders(document);
  ASSERT_NE(parent->GetDown(), nullptr);
  EXPECT_EQ(parent->GetDown()->GetNext(), nullptr);
}

TEST_F(OptimizationsTest, ChannelsAreVisitedInTheirOrderMaterialByMaterial) {
  std::vector<BaseShader*> expected;
  BaseMaterial* materials[] = {addMaterial("Second"), addMaterial("First")}; // the last one stands first
  for (BaseMaterial* material = document->GetFirstMaterial(); material; material = material->GetNext()) {
    for (const LONG channel : {0, 1, 2, 3, 4, 6, 7, 9, 11, 12, 13})
      expected.push_back(addShader(material, channel, Xcolor));
  }
  EXPECT_NE(materials[0], materials[1]);
  settings.SetValue(LM_OPT_SHADERS, 0);
  BreakingThread walking(&settings);
  walking.FixShaders(document);
  EXPECT_EQ(walking.searched, expected);
}

} // namespace
