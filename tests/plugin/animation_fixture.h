// The Render Animation dialog on a document of 91 frames, operated by a scripted user.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "active_document.h"
#include "dlg_animation.h"
#include "gadget_actions.h"
#include "lm_keys.h"
#include "plugin_fixture.h"

constexpr LONG FRAMES = DLG_ANIMATION_FRAMES, CONFIGURE = DLG_ANIMATION_CONFIGURE,
               BROWSE = DLG_ANIMATION_BROWSE;

class AnimationDialogTest : public PluginFixture {
 protected:
  void SetUp() override {
    PluginFixture::SetUp();
    settings.Init(ID_LUMENARA);
    WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_VIEWER);
    document = BaseDocument::Alloc();
    document->SetFps(30);
    document->SetMinTime(BaseTime(0));
    document->SetMaxTime(BaseTime(3));
    document->SetLoopMinTime(BaseTime(1));
    document->SetLoopMaxTime(BaseTime(2));
    host::setActiveDocument(document);
    prepare();
  }
  void TearDown() override { host::setActiveDocument(nullptr); }

  /// Fills the dialog as the viewer does before it opens it.
  void prepare() {
    dialog.settings = &settings;
    dialog.fileName = Filename();
    dialog.from = dialog.to = dialog.step = 0;
    dialog.format = 8;
    dialog.launch = 1;
    dialog.jpegQuality = 95;
    dialog.photoshop7 = 1;
    dialog.stamp = 0;
  }
  /// Opens the dialog, runs the user's actions, and closes it with OK unless they closed it.
  bool open(const std::function<void()>& act) {
    bool opened = false;
    ui.whileDialogIsOpen = [&](GeDialog& shown) {
      if (&shown == &dialog) {
        opened = true;
        act();
      } else if (nested) {
        nested(shown);
      }
    };
    const Bool ok = dialog.Open();
    EXPECT_TRUE(opened);
    EXPECT_EQ(ok, dialog.GetResult());
    return ok != FALSE;
  }
  bool click(LONG id) { return host::clickGadget(dialog, id); }
  void ok() { click(IDC_OK); }
  const host::Gadget& gadget(LONG id) {
    const host::Gadget* found = host::findGadget(dialog, id);
    if (!found) ADD_FAILURE() << "no gadget " << id;
    static const host::Gadget none;
    return found ? *found : none;
  }
  LONG number(LONG id) { return static_cast<LONG>(gadget(id).number); }
  std::string text(LONG id) { return gadget(id).text.GetUTF8(); }
  LONG stored(LONG key) {
    const BaseContainer* data = GetWorldPluginData(ID_LUMENARA);
    return data ? data->GetLong(key, -1) : -1;
  }

  /// Shown and stored values, by number.
  using Numbers = std::vector<std::pair<LONG, LONG>>;
  void expectShown(const Numbers& numbers) {
    for (const auto& [id, value] : numbers)
      EXPECT_EQ(number(id), value) << "gadget " << id;
  }
  void expectStored(const Numbers& numbers) {
    for (const auto& [key, value] : numbers)
      EXPECT_EQ(stored(key), value) << "setting " << key;
  }
  /// Fills the fields and switches the stamps on.
  void fillIn(LONG format) {
    host::enterText(dialog, 14001, "/out/shot");
    host::enterNumber(dialog, 14004, 5);
    host::enterNumber(dialog, 14005, 25);
    host::enterNumber(dialog, 14006, 2);
    host::chooseEntry(dialog, 14007, format);
    click(14013);
  }

  lmSettings settings;
  DlgAnimation dialog;
  BaseDocument* document = nullptr;
  std::function<void(GeDialog&)> nested;
};

/// All descendants of a gadget, in order.
inline std::vector<const host::Gadget*> flat(const host::Gadget& root) {
  std::vector<const host::Gadget*> all;
  for (const auto& child : root.children) {
    all.push_back(child.get());
    const auto below = flat(*child);
    all.insert(all.end(), below.begin(), below.end());
  }
  return all;
}
