// The Optimizations dialog: gadgets, ranges, enabling, and messages to the viewer.
#include <gtest/gtest.h>

#include "dialog_state.h"
#include "dlg_optimize.h"
#include "gadget_actions.h"
#include "lm_keys.h"
#include "plugin_fixture.h"

namespace {

const LONG CHOICES[] = {15004, 15006, 15008, 15010, 15012, 15052, 15057};
const LONG CHECKS[] = {15014, 15015, 15016, 15017, 15019, 15020, 15021, 15022, 15023, 15024, 15026,
                       15027, 15028, 15029, 15030, 15031, 15032, 15033, 15034, 15035, 15036, 15037,
                       15038, 15039, 15041, 15042, 15046, 15048, 15050, 15053, 15058, 15059, 15060};

class OptimizeTest : public PluginFixture {
 protected:
  void SetUp() override {
    PluginFixture::SetUp();
    callAsPlugin([&] {
      ASSERT_TRUE(PluginMessage(C4DPL_INIT_SYS, nullptr));
      dialog = std::make_unique<DlgOptimize>();
    });
    runAll();
  }
  void TearDown() override {
    if (dialog) dialog->Close();
    dialog.reset();
  }

  void open() {
    callAsPlugin([&] { ASSERT_TRUE(dialog->Open(DLG_TYPE_ASYNC, ID_LUMENARA_OPTIMIZE)); });
    runAll();
    log.messages.clear();
  }
  const host::Gadget& gadget(LONG id) {
    const host::Gadget* found = host::findGadget(*dialog, id);
    if (!found) ADD_FAILURE() << "no gadget " << id;
    static const host::Gadget none;
    return found ? *found : none;
  }
  bool enabled(LONG id) { return gadget(id).enabled; }
  void click(LONG id) { EXPECT_TRUE(host::clickGadget(*dialog, id)) << id; }
  void store(LONG key, const GeData& value) {
    BaseContainer data;
    data.SetData(key, value);
    SetWorldPluginData(ID_LUMENARA, data, TRUE);
  }
  /// Events sent since the last call.
  std::vector<Message> sent() {
    runAll();
    std::vector<Message> messages;
    messages.swap(log.messages);
    return messages;
  }
  static Message event(LONG key, LLONG value) {
    return {1021446, static_cast<ULLONG>(key), static_cast<ULLONG>(value)};
  }

  std::unique_ptr<DlgOptimize> dialog;
  MessageLog log;
};

TEST_F(OptimizeTest, HasAGadgetForEveryKey) {
  open();
  using K = host::GadgetKind;
  for (const LONG id : CHOICES)
    EXPECT_EQ(gadget(id).kind, K::comboBox) << id;
  for (const LONG id : CHECKS) {
    EXPECT_EQ(gadget(id).kind, K::checkBox) << id;
    EXPECT_TRUE(gadget(id).text.Content()) << id;
  }
  EXPECT_EQ(gadget(15001).kind, K::userArea);
  EXPECT_NE(gadget(15001).area, nullptr);
  EXPECT_EQ(gadget(15045).kind, K::editSlider);
  for (const LONG id : {15049, 15051, 15054})
    EXPECT_EQ(gadget(id).kind, K::staticText) << id;
  LONG count = 0;
  const lmKey* keys = GetKeys(&count);
  for (LONG i = 0; i < count; ++i) {
    if (keys[i].key < 15001 || keys[i].key > 15060) continue;
    EXPECT_TRUE(gadget(keys[i].key).tooltip.Content()) << keys[i].name;
  }
  EXPECT_EQ(host::dialogModel(*dialog).title, String("Optimizations"));
}

TEST_F(OptimizeTest, ItsGadgetsReachTheWindowsEdgeAndScaleWithIt) {
  open();
  const host::Gadget& root = host::dialogModel(*dialog).root;
  for (const LONG border : {root.borderLeft, root.borderTop, root.borderRight, root.borderBottom})
    EXPECT_EQ(border, 0);
  ASSERT_FALSE(root.children.empty());
  EXPECT_EQ(root.children.at(0)->flags & (BFH_SCALEFIT | BFV_SCALEFIT), BFH_SCALEFIT | BFV_SCALEFIT);
}

TEST_F(OptimizeTest, ChoicesHaveAnEntryForEachOfTheirValues) {
  open();
  const std::pair<LONG, LONG> counts[] = {{15004, 3}, {15006, 8}, {15008, 3}, {15010, 3},
                                          {15012, 3}, {15052, 4}, {15057, 3}};
  for (const auto& [id, count] : counts) {
    const auto& entries = gadget(id).entries;
    ASSERT_EQ(entries.size(), static_cast<std::size_t>(count)) << id;
    for (LONG value = 0; value < count; ++value) {
      EXPECT_EQ(entries[static_cast<std::size_t>(value)].value, value) << id;
      EXPECT_TRUE(entries[static_cast<std::size_t>(value)].text.Content()) << id;
    }
  }
}

TEST_F(OptimizeTest, ShowsTheDefaults) {
  open();
  LONG count = 0;
  const lmKey* keys = GetKeys(&count);
  int seen = 0;
  for (LONG i = 0; i < count; ++i) {
    if (keys[i].key < 15001 || keys[i].key > 15060) continue;
    const Real value = keys[i].type == DA_REAL ? keys[i].value.GetReal() : keys[i].value.GetLong();
    EXPECT_EQ(gadget(keys[i].key).number, value) << keys[i].name;
    ++seen;
  }
  EXPECT_EQ(seen, static_cast<int>(std::size(CHOICES) + std::size(CHECKS) + 4));
}

TEST_F(OptimizeTest, ShowsWhatIsStoredWhenItOpens) {
  store(15004, GeData(static_cast<LONG>(2)));
  store(15043, GeData(0.37));
  store(15045, GeData(-12.3));
  store(15055, GeData(0.25));
  store(15026, GeData(static_cast<LONG>(0)));
  store(15040, GeData(static_cast<LONG>(4)));
  open();
  EXPECT_EQ(gadget(15004).number, 2);
  EXPECT_NEAR(gadget(15043).shownNumber(), 37, 1e-9);
  EXPECT_EQ(gadget(15045).number, -12.3);
  EXPECT_EQ(gadget(15055).number, 0.25);
  EXPECT_EQ(gadget(15026).number, 0);
  EXPECT_EQ(gadget(15040).number, 4);
  dialog->Close();
  store(15040, GeData(static_cast<LONG>(7)));
  open();
  EXPECT_EQ(gadget(15040).number, 7) << "loaded anew at each opening";
}

TEST_F(OptimizeTest, NumbersStayInTheirRanges) {
  store(15048, GeData(static_cast<LONG>(1)));
  open();
  struct Range {
    LONG id;
    host::NumberKind kind;
    Real min, max, step;
  };
  const Range ranges[] = {{15040, host::NumberKind::integer, 1, 20, 1},
                          {15043, host::NumberKind::percent, 0, 100, 1},
                          {15045, host::NumberKind::meter, -100, 100, 0.1},
                          {15055, host::NumberKind::real, 0.01, 10, 0.01}};
  for (const Range& range : ranges) {
    const host::NumberSpec& spec = gadget(range.id).spec;
    EXPECT_EQ(spec.kind, range.kind) << range.id;
    EXPECT_EQ(spec.min, range.min) << range.id;
    EXPECT_EQ(spec.max, range.max) << range.id;
    EXPECT_EQ(spec.step, range.step) << range.id;
    host::enterNumber(*dialog, range.id, 1e6);
    EXPECT_NEAR(gadget(range.id).shownNumber(), range.max, 1e-9) << range.id;
    host::enterNumber(*dialog, range.id, -1e6);
    EXPECT_NEAR(gadget(range.id).shownNumber(), range.min, 1e-9) << range.id;
  }
}

TEST_F(OptimizeTest, TheDivisorIsAtFirstWithin30) {
  // Applying the values then sets the limit of 20.
  class Layout : public DlgOptimize {
   public:
    Bool InitValues() override { return TRUE; }
  };
  callAsPlugin([&] { dialog = std::make_unique<Layout>(); });
  open();
  EXPECT_EQ(gadget(15040).spec.min, 1);
  EXPECT_EQ(gadget(15040).spec.max, 30);
  EXPECT_EQ(gadget(15040).number, 1);
  EXPECT_EQ(gadget(15043).number, 1.0);
  EXPECT_EQ(gadget(15045).number, 0.0);
  EXPECT_EQ(gadget(15055).number, 1.0);
}

TEST_F(OptimizeTest, AChoiceIsSentAsItIs) {
  store(15048, GeData(static_cast<LONG>(1)));
  open();
  for (const LONG id : CHOICES) {
    host::chooseEntry(*dialog, id, 1);
    EXPECT_EQ(sent(), std::vector<Message>{event(id, 1)}) << id;
    host::chooseEntry(*dialog, id, 2);
    EXPECT_EQ(sent(), std::vector<Message>{event(id, 2)}) << id;
  }
  host::enterNumber(*dialog, 15040, 12);
  EXPECT_EQ(sent(), std::vector<Message>{event(15040, 12)});
}

TEST_F(OptimizeTest, ACheckIsSentAsOneOrZero) {
  store(15048, GeData(static_cast<LONG>(1)));
  open();
  for (const LONG id : CHECKS) {
    const LONG before = static_cast<LONG>(gadget(id).number);
    click(id);
    EXPECT_EQ(sent(), std::vector<Message>{event(id, 1 - before)}) << id;
    click(id);
    EXPECT_EQ(sent(), std::vector<Message>{event(id, before)}) << id;
  }
}

TEST_F(OptimizeTest, RealsAreSentAsWholeNumbers) {
  store(15048, GeData(static_cast<LONG>(1)));
  open();
  host::enterNumber(*dialog, 15043, 37);
  EXPECT_EQ(sent(), std::vector<Message>{event(15043, 37)});
  host::enterNumber(*dialog, 15045, -12.3);
  EXPECT_EQ(sent(), std::vector<Message>{event(15045, -123000)});
  host::enterNumber(*dialog, 15055, 0.25);
  EXPECT_EQ(sent(), std::vector<Message>{event(15055, 25)});
  host::enterNumber(*dialog, 15043, 29);
  EXPECT_EQ(sent(), std::vector<Message>{event(15043, 28)})
      << "0.29 * 100 is a little less than 29, and is cut";
  host::enterNumber(*dialog, 15045, 0.00019);
  EXPECT_EQ(sent(), std::vector<Message>{event(15045, 1)});
  host::enterNumber(*dialog, 15055, 1.999);
  EXPECT_EQ(sent(), std::vector<Message>{event(15055, 199)});
}

TEST_F(OptimizeTest, GadgetsWithoutASettingSendNothing) {
  open();
  for (const LONG id : {15001, 15003, 15005, 15049, 15051, 15054, 15061, 15000, 20004, 0})
    EXPECT_TRUE(dialog->Command(id, BaseContainer())) << id;
  EXPECT_TRUE(sent().empty());
}

TEST_F(OptimizeTest, AChangeIsNotStoredHere) {
  open();
  host::chooseEntry(*dialog, 15004, 2);
  sent();
  EXPECT_EQ(GetWorldPluginData(ID_LUMENARA), nullptr);
}

TEST_F(OptimizeTest, StereoEnablesItsGadgets) {
  open();
  for (const LONG id : {15049, 15045, 15050, 15051, 15052, 15053, 15054, 15055, 15060})
    EXPECT_FALSE(enabled(id)) << id;
  click(15048);
  for (const LONG id : {15049, 15045, 15050, 15051, 15052, 15053, 15054, 15055, 15060})
    EXPECT_TRUE(enabled(id)) << id;
  click(15050);
  EXPECT_FALSE(enabled(15051));
  EXPECT_FALSE(enabled(15052));
  EXPECT_TRUE(enabled(15050));
  click(15048);
  for (const LONG id : {15049, 15045, 15050, 15051, 15052, 15053, 15054, 15055, 15060})
    EXPECT_FALSE(enabled(id)) << id;
}

TEST_F(OptimizeTest, NamedCamerasTakeTheSeparationAway) {
  store(15048, GeData(static_cast<LONG>(1)));
  store(15060, GeData(static_cast<LONG>(1)));
  open();
  for (const LONG id : {15049, 15045, 15054, 15055, 15053})
    EXPECT_FALSE(enabled(id)) << id;
  for (const LONG id : {15050, 15051, 15052, 15060})
    EXPECT_TRUE(enabled(id)) << id;
  click(15060);
  for (const LONG id : {15049, 15045, 15054, 15055, 15053})
    EXPECT_TRUE(enabled(id)) << id;
}

TEST_F(OptimizeTest, AControlStandsAboveWhatItEnables) {
  open();
  std::vector<LONG> order;
  host::forEachGadget(host::dialogModel(*dialog).root,
                      [&](const host::Gadget& one) { order.push_back(one.id); });
  const std::pair<LONG, LONG> pairs[] = {{15048, 15060}, {15060, 15049}, {15060, 15045}, {15060, 15054},
                                         {15060, 15055}, {15060, 15053}, {15048, 15050}, {15050, 15051},
                                         {15050, 15052}, {15049, 15045}, {15054, 15055}, {15051, 15052}};
  for (const auto& [above, below] : pairs) {
    EXPECT_LT(std::find(order.begin(), order.end(), above), std::find(order.begin(), order.end(), below))
        << above << " and " << below;
  }
}

TEST_F(OptimizeTest, ItsOwnSettingsAreWrittenBackWhenItGoes) {
  open();
  host::chooseEntry(*dialog, 15004, 2);
  dialog->Close();
  EXPECT_EQ(GetWorldPluginData(ID_LUMENARA), nullptr);
  dialog.reset();
  const BaseContainer* stored = GetWorldPluginData(ID_LUMENARA);
  ASSERT_NE(stored, nullptr);
  EXPECT_EQ(stored->GetLong(15004), 0) << "the viewer stores changes, not this one";
  EXPECT_EQ(stored->GetLong(15057, -1), 0);
  EXPECT_EQ(stored->GetLong(15060, -1), 0);
}

TEST_F(OptimizeTest, OtherStoredTypesAreShownByTheirType) {
  store(15014, GeData(static_cast<LONG>(1)));
  BaseContainer data;
  data.SetBool(15015, FALSE);
  SetWorldPluginData(ID_LUMENARA, data, TRUE);
  open();
  EXPECT_EQ(gadget(15014).number, 1);
  EXPECT_EQ(gadget(15015).number, 0);
  click(15015);
  EXPECT_EQ(sent(), std::vector<Message>{event(15015, 1)});
}

TEST_F(OptimizeTest, FitsTheScreen) {
  open();
  LONG x = 0, y = 0, width = 0, height = 0, bottom = 0, right = 0;
  host::forEachGadget(host::dialogModel(*dialog).root, [&](const host::Gadget& one) {
    if (!one.id || !dialog->GetItemDim(one.id, &x, &y, &width, &height)) return;
    bottom = std::max(bottom, y + height);
    right = std::max(right, x + width);
  });
  EXPECT_GT(bottom, 300);
  EXPECT_LT(bottom, 900);
  EXPECT_LT(right, 900);
}

} // namespace
