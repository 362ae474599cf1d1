// The Options dialog: gadgets, ranges, enabling, and the stored values.
#include <gtest/gtest.h>

#include "dialog_state.h"
#include "dlg_options.h"
#include "gadget_actions.h"
#include "lm_keys.h"
#include "plugin_fixture.h"

namespace {

class OptionsTest : public PluginFixture {
 protected:
  void SetUp() override {
    PluginFixture::SetUp();
    callAsPlugin([&] { ASSERT_TRUE(PluginMessage(C4DPL_INIT_SYS, nullptr)); });
    settings.Init(ID_LUMENARA);
    WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_VIEWER);
    callAsPlugin([&] { dialog = std::make_unique<DlgOptions>(); });
    dialog->settings = &settings;
  }
  void TearDown() override { dialog.reset(); }

  /// Opens the dialog and runs the user's actions. If still open, it is closed by its window control.
  bool open(const std::function<void()>& act) {
    bool opened = false;
    ui.whileDialogIsOpen = [&](GeDialog& shown) {
      opened = &shown == dialog.get();
      act();
      if (dialog->IsOpen()) host::closeByUser(*dialog);
    };
    callAsPlugin([&] { dialog->Open(); });
    EXPECT_TRUE(opened);
    return dialog->GetResult() != FALSE;
  }
  const host::Gadget& gadget(LONG id) {
    const host::Gadget* found = host::findGadget(*dialog, id);
    if (!found) ADD_FAILURE() << "no gadget " << id;
    static const host::Gadget none;
    return found ? *found : none;
  }
  bool click(LONG id) { return host::clickGadget(*dialog, id); }
  bool enabled(LONG id) { return gadget(id).enabled; }
  Filename writePicture(const char* name) {
    const AutoAlloc<BaseBitmap> bitmap;
    EXPECT_EQ(bitmap->Init(4, 4, 24), IMAGERESULT_OK);
    EXPECT_EQ(bitmap->Save(folder / name, FILTER_TIF), IMAGERESULT_OK);
    return folder / name;
  }
  const BaseContainer& data() { return *settings.GetDataInstance(); }

  lmSettings settings;
  std::unique_ptr<DlgOptions> dialog;
};

/// The dialog's keys with a default, and the two without.
std::vector<lmKey> dialogKeys() {
  LONG count = 0;
  const lmKey* keys = GetKeys(&count);
  std::vector<lmKey> ours;
  for (LONG i = 0; i < count; ++i) {
    if (keys[i].key >= 20000 && keys[i].key <= 20072) ours.push_back(keys[i]);
  }
  return ours;
}

TEST_F(OptionsTest, HasAGadgetForEveryKey) {
  open([&] {
    for (const lmKey& key : dialogKeys()) {
      const host::Gadget* found = host::findGadget(*dialog, key.key);
      ASSERT_NE(found, nullptr) << key.name;
      using K = host::GadgetKind;
      if (key.type == DA_STRING) {
        EXPECT_EQ(found->kind, K::editText) << key.name;
      }
      if (key.type == DA_VECTOR) {
        EXPECT_EQ(found->kind, K::colorField) << key.name;
      }
      if (key.type == DA_REAL) {
        EXPECT_EQ(found->kind, K::editNumberArrows) << key.name;
      }
      EXPECT_TRUE(found->tooltip.Content()) << key.name;
    }
    EXPECT_EQ(gadget(20001).kind, host::GadgetKind::userArea);
    EXPECT_NE(gadget(20001).area, nullptr);
    EXPECT_EQ(gadget(20023).kind, host::GadgetKind::button);
    EXPECT_EQ(gadget(20023).text, String("..."));
    EXPECT_EQ(host::dialogModel(*dialog).title, String("Options"));
    EXPECT_NE(host::findGadget(*dialog, IDC_OK), nullptr);
  });
}

TEST_F(OptionsTest, ChoicesHaveAnEntryForEachOfTheirValues) {
  open([&] {
    const auto values = [&](LONG id) {
      std::vector<LONG> all;
      for (const host::ComboEntry& entry : gadget(id).entries) {
        all.push_back(entry.value);
        EXPECT_TRUE(entry.text.Content());
      }
      std::sort(all.begin(), all.end());
      return all;
    };
    EXPECT_EQ(values(20027), (std::vector<LONG>{0, 1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(values(20035), (std::vector<LONG>{0, 1}));
    EXPECT_EQ(values(20037), (std::vector<LONG>{0, 1, 2}));
    for (const LONG id : {20012, 20013, 20015, 20016, 20019, 20020, 20024, 20025, 20043, 20044, 20046, 20047,
                          20061, 20062, 20067, 20068})
      EXPECT_EQ(values(id), (std::vector<LONG>{0, 1, 2})) << id;
  });
}

TEST_F(OptionsTest, ShowsTheSettings) {
  settings.SetValue(20005, 1234);
  settings.SetValue(20018, String("Take 3"));
  settings.SetValue(20027, 4);
  settings.SetValue(20057, LVector(0.25, 0.5, 0.75));
  settings.SetValue(20071, String("Left"));
  open([&] {
    EXPECT_EQ(gadget(20005).number, 1234);
    EXPECT_EQ(gadget(20018).text, String("Take 3"));
    EXPECT_EQ(gadget(20027).number, 4);
    EXPECT_EQ(gadget(20057).color, Vector(0.25, 0.5, 0.75));
    EXPECT_EQ(gadget(20057).brightness, 1.0);
    EXPECT_EQ(gadget(20058).color, Vector(0, 1, 1));
    EXPECT_EQ(gadget(20071).text, String("Left"));
    EXPECT_EQ(gadget(20072).text, String(""));
    EXPECT_EQ(gadget(20011).number, 1);
    EXPECT_EQ(gadget(20014).number, 0);
    EXPECT_EQ(gadget(20040).shownNumber(), 10) << "ten per cent";
  });
}

TEST_F(OptionsTest, NumbersStayInTheirRanges) {
  struct Range {
    LONG id;
    Real min, max;
  };
  const Range ranges[] = {
      {20005, 0, 5000}, {20028, 1, 16000}, {20029, 1, 16000}, {20033, 2, 50}, {20040, 1, 20}};
  settings.SetValue(20004, 1);
  settings.SetValue(20065, 0);
  settings.SetValue(20027, 1);
  open([&] {
    for (const Range& range : ranges) {
      EXPECT_EQ(gadget(range.id).spec.min, range.min) << range.id;
      EXPECT_EQ(gadget(range.id).spec.max, range.max) << range.id;
      EXPECT_EQ(gadget(range.id).spec.step, 1) << range.id;
      host::enterNumber(*dialog, range.id, -100000);
      EXPECT_NEAR(gadget(range.id).shownNumber(), range.min, 1e-9) << range.id;
      host::enterNumber(*dialog, range.id, 100000);
      EXPECT_NEAR(gadget(range.id).shownNumber(), range.max, 1e-9) << range.id;
    }
    host::enterNumber(*dialog, 20040, 25);
    EXPECT_NEAR(gadget(20040).shownNumber(), 20, 1e-9);
  });
  EXPECT_EQ(data().GetLong(20005), 5000);
  EXPECT_EQ(data().GetLong(20033), 50);
  EXPECT_NEAR(data().GetReal(20040), 0.2, 1e-12);
}

TEST_F(OptionsTest, WithoutStoredValuesTheRangesHoldAtTheirLowerEnds) {
  for (const lmKey& key : dialogKeys())
    settings.GetDataInstance()->RemoveData(key.key);
  open([&] {
    EXPECT_EQ(gadget(20005).number, 0);
    EXPECT_EQ(gadget(20028).number, 1);
    EXPECT_EQ(gadget(20029).number, 1);
    EXPECT_EQ(gadget(20033).number, 2);
    EXPECT_NEAR(gadget(20040).number, 0.1, 1e-12);
    EXPECT_EQ(gadget(20057).color, Vector(1, 0, 0));
    EXPECT_EQ(gadget(20058).color, Vector(0, 1, 1));
  });
  for (const lmKey& key : dialogKeys()) {
    const bool camera = key.key == 20071 || key.key == 20072;
    EXPECT_EQ(data().GetType(key.key), camera ? DA_STRING : DA_NIL) << key.name;
  }
}

TEST_F(OptionsTest, TheStoredTypeDeterminesHowAGadgetIsRead) {
  settings.GetDataInstance()->SetBool(20014, TRUE);
  settings.GetDataInstance()->SetData(20012, GeData(BaseTime(1)));
  settings.GetDataInstance()->SetReal(20013, 2.0);
  open([&] {
    EXPECT_EQ(gadget(20014).number, 1);
    click(20014);
  });
  EXPECT_EQ(data().GetType(20014), DA_BOOL);
  EXPECT_EQ(data().GetBool(20014), FALSE);
  EXPECT_EQ(data().GetType(20012), DA_TIME) << "no gadget shows a time";
}

// Ranges belong to a type: a real stored in the place of an integer is unbounded, and vice versa.
TEST_F(OptionsTest, ValuesOfAnotherTypeAreUnbounded) {
  settings.GetDataInstance()->SetReal(20028, -7.5);
  settings.SetValue(20040, 3000);
  open([&] {
    EXPECT_EQ(gadget(20040).number, 3000);
    EXPECT_EQ(gadget(20028).number, -7.5);
    EXPECT_EQ(gadget(20028).spec.min, -1.0e308);
    EXPECT_EQ(gadget(20028).spec.max, 1.0e308);
    EXPECT_EQ(gadget(20028).spec.step, 1.0);
  });
  EXPECT_EQ(data().GetReal(20028), -7.5);
  EXPECT_EQ(data().GetLong(20040), 3000);
}

TEST_F(OptionsTest, ScalesWithItsWindow) {
  open([&] {
    const host::Gadget& root = host::dialogModel(*dialog).root;
    ASSERT_FALSE(root.children.empty());
    EXPECT_EQ(root.children.at(0)->flags & (BFH_SCALEFIT | BFV_SCALEFIT), BFH_SCALEFIT | BFV_SCALEFIT);
  });
}

TEST_F(OptionsTest, EveryWayOfClosingStores) {
  EXPECT_TRUE(open([&] {
    click(20014);
    click(20017);
    host::enterText(*dialog, 20018, "First");
    host::chooseEntry(*dialog, 20037, 0);
    host::enterColor(*dialog, 20057, Vector(0, 0, 1));
    host::enterNumber(*dialog, 20040, 5);
    host::enterText(*dialog, 20071, "Left eye");
    click(IDC_OK);
  }));
  const BaseContainer* stored = GetWorldPluginData(ID_LUMENARA);
  ASSERT_NE(stored, nullptr);
  EXPECT_EQ(stored->GetLong(20014), 1);
  EXPECT_EQ(stored->GetString(20018), String("First"));
  EXPECT_EQ(stored->GetLong(20037), 0);
  EXPECT_EQ(stored->GetVector(20057), Vector(0, 0, 1));
  EXPECT_NEAR(stored->GetReal(20040), 0.05, 1e-12);
  EXPECT_EQ(stored->GetString(20071), String("Left eye"));
  EXPECT_EQ(stored->GetType(20072), DA_STRING);

  EXPECT_FALSE(open([&] {
    click(20014);
    EXPECT_EQ(stored->GetLong(20014), 1) << "kept in the gadgets until then";
    host::closeByUser(*dialog);
    EXPECT_FALSE(dialog->IsOpen());
  }));
  EXPECT_EQ(stored->GetLong(20014), 0) << "the window's control stores as well";
}

TEST_F(OptionsTest, AskCloseAloneStoresAndAllows) {
  open([&] {
    click(20014);
    EXPECT_EQ(data().GetLong(20014), 0);
    EXPECT_FALSE(dialog->AskClose());
    EXPECT_EQ(data().GetLong(20014), 1);
    ASSERT_NE(GetWorldPluginData(ID_LUMENARA), nullptr);
    EXPECT_EQ(GetWorldPluginData(ID_LUMENARA)->GetLong(20014), 1);
    EXPECT_TRUE(dialog->IsOpen()) << "it only answers";
  });
}

TEST_F(OptionsTest, ChecksEnableWhatStandsBelowThem) {
  const std::vector<std::pair<LONG, std::vector<LONG>>> rules = {{20011, {20012, 20013}},
                                                                 {20014, {20015, 20016}},
                                                                 {20045, {20046, 20047}},
                                                                 {20060, {20061, 20062}},
                                                                 {20066, {20067, 20068}},
                                                                 {20017, {20018, 20019, 20020}},
                                                                 {20041, {20042, 20043, 20044}},
                                                                 {20021, {20022, 20023, 20024, 20025}},
                                                                 {20059, {20063}}};
  open([&] {
    for (const auto& [control, dependents] : rules) {
      for (int turn = 0; turn < 2; ++turn) {
        for (const LONG id : dependents)
          EXPECT_EQ(enabled(id), gadget(control).number != 0) << control << " and " << id;
        EXPECT_TRUE(click(control));
      }
    }
  });
}

TEST_F(OptionsTest, TheDelayIsForRefreshesThatDoNotWait) {
  settings.SetValue(20004, 0);
  settings.SetValue(20065, 1);
  open([&] {
    EXPECT_FALSE(enabled(20065));
    EXPECT_FALSE(enabled(20005));
    click(20004);
    EXPECT_TRUE(enabled(20065));
    EXPECT_FALSE(enabled(20005));
    click(20065);
    EXPECT_TRUE(enabled(20005));
    click(20004);
    EXPECT_FALSE(enabled(20065));
    EXPECT_FALSE(enabled(20005));
  });
}

TEST_F(OptionsTest, WidthAndHeightAreForTheCustomSize) {
  open([&] {
    for (LONG size = 0; size <= 6; ++size) {
      host::chooseEntry(*dialog, 20027, size);
      EXPECT_EQ(enabled(20028), size == 1) << size;
      EXPECT_EQ(enabled(20029), size == 1) << size;
    }
  });
}

TEST_F(OptionsTest, AControlStandsAboveWhatItEnables) {
  const std::pair<LONG, LONG> pairs[] = {{20004, 20065}, {20065, 20005}, {20011, 20012}, {20014, 20015},
                                         {20045, 20046}, {20060, 20061}, {20066, 20067}, {20017, 20018},
                                         {20041, 20042}, {20021, 20022}, {20027, 20028}, {20059, 20063}};
  std::vector<LONG> order;
  open([&] {
    host::forEachGadget(host::dialogModel(*dialog).root,
                        [&](const host::Gadget& one) { order.push_back(one.id); });
  });
  for (const auto& [above, below] : pairs) {
    EXPECT_LT(std::find(order.begin(), order.end(), above), std::find(order.begin(), order.end(), below))
        << above << " and " << below;
  }
}

TEST_F(OptionsTest, ABoxIsDrawnAboveWhatItEnables) {
  const std::pair<LONG, LONG> pairs[] = {{20004, 20065}, {20065, 20005}, {20011, 20012}, {20014, 20015},
                                         {20045, 20046}, {20060, 20061}, {20066, 20067}, {20017, 20018},
                                         {20041, 20042}, {20021, 20022}, {20027, 20028}, {20059, 20063}};
  open([&] {
    for (const auto& [box, governed] : pairs) {
      LONG x = 0, y = 0, w = 0, h = 0, x2 = 0, y2 = 0, w2 = 0, h2 = 0;
      ASSERT_TRUE(dialog->GetItemDim(box, &x, &y, &w, &h));
      ASSERT_TRUE(dialog->GetItemDim(governed, &x2, &y2, &w2, &h2));
      EXPECT_GE(y2, y + h) << box << " and " << governed;
    }
  });
}

TEST_F(OptionsTest, AnImageIsChosenByAFileSelector) {
  const Filename picture = writePicture("logo.tif");
  settings.SetValue(20021, 1);
  settings.SetValue(20022, picture.GetString());
  const Filename text = folder.write("notes.txt", "no picture");
  open([&] {
    EXPECT_EQ(gadget(20022).text, picture.GetString());
    ui.files.push_back(Filename());
    click(20023);
    EXPECT_EQ(gadget(20022).text, picture.GetString()) << "cancelled";
    ui.files.push_back(text);
    click(20023);
    EXPECT_EQ(gadget(20022).text, picture.GetString()) << "the old path stays";
    EXPECT_EQ(messages(), std::vector<std::string>{"Error: Invalid Image"});
    const Filename other = writePicture("other.tif");
    ui.files.push_back(other);
    click(20023);
    EXPECT_EQ(gadget(20022).text, other.GetString());
  });
  ASSERT_EQ(ui.fileRequests.size(), 3u);
  EXPECT_EQ(ui.fileRequests[0].title, String("Load Image"));
  EXPECT_EQ(ui.fileRequests[0].mode, FILESELECT_LOAD);
  EXPECT_EQ(messages().size(), 1u);
}

TEST_F(OptionsTest, AnImageThatIsGoneIsForgottenAtOpening) {
  settings.SetValue(20021, 1);
  settings.SetValue(20022, (folder / "gone.tif").GetString());
  open([&] {
    EXPECT_EQ(gadget(20022).text, String(""));
    EXPECT_EQ(gadget(20021).number, 0);
    EXPECT_FALSE(enabled(20022));
  });
  EXPECT_EQ(data().GetLong(20021), 0);
  EXPECT_EQ(data().GetString(20022), String(""));
  EXPECT_TRUE(messages().empty());

  settings.SetValue(20021, 1);
  settings.SetValue(20022, writePicture("there.tif").GetString());
  open([&] {
    EXPECT_EQ(gadget(20021).number, 1);
    EXPECT_TRUE(enabled(20022));
  });
}

TEST_F(OptionsTest, AnImageIsAFileThatLoads) {
  EXPECT_TRUE(dialog->CheckImage(writePicture("a.tif").GetString()));
  EXPECT_FALSE(dialog->CheckImage(""));
  EXPECT_FALSE(dialog->CheckImage((folder / "none.tif").GetString()));
  EXPECT_FALSE(dialog->CheckImage(folder.write("text.tif", "text").GetString()));
  EXPECT_FALSE(dialog->CheckImage(folder.makeFolder("folder.tif").GetString()));
}

TEST_F(OptionsTest, EveryCommandSucceedsAndSetsTheEnabling) {
  open([&] {
    dialog->SetBool(20014, TRUE);
    EXPECT_FALSE(enabled(20015)) << "a setter calls nothing";
    EXPECT_TRUE(dialog->Command(4711, BaseContainer()));
    EXPECT_TRUE(enabled(20015));
    dialog->SetBool(20014, FALSE);
    ui.files.push_back(Filename());
    EXPECT_TRUE(dialog->Command(20023, BaseContainer()));
    EXPECT_FALSE(enabled(20015)) << "a cancelled selector too";
  });
}

TEST_F(OptionsTest, FitsTheScreen) {
  open([&] {
    LONG x = 0, y = 0, width = 0, height = 0, bottom = 0, right = 0;
    for (const lmKey& key : dialogKeys()) {
      ASSERT_TRUE(dialog->GetItemDim(key.key, &x, &y, &width, &height)) << key.name;
      bottom = std::max(bottom, y + height);
      right = std::max(right, x + width);
    }
    EXPECT_LT(bottom, 960);
    EXPECT_LT(right, 1000);
  });
}

TEST_F(OptionsTest, ALayoutThatIsMissingDoesNotOpen) {
  ui.whileDialogIsOpen = [](GeDialog&) { ADD_FAILURE() << "nothing to show"; };
  DlgOptions alone;
  alone.settings = &settings;
  EXPECT_FALSE(alone.Open()) << "no plug-in is being called";
  EXPECT_EQ(GetWorldPluginData(ID_LUMENARA), nullptr);
}

} // namespace
