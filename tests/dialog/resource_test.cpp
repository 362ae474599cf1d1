// Dialog resources: symbols, texts, descriptions, errors, and the resulting gadgets.
#include "c4d_plugin.h"
#include "dialog_description.h"
#include "dialog_kit.h"
#include "plugin_resources.h"

namespace {

using host::DialogResources;
using host::GadgetKind;

constexpr const char* symbols = R"(#ifndef SYMBOLS
// Names and numbers
enum {
  DLG_HELLO = 1000,
  HELLO_LOUD, /* 1001 */
  HELLO_TIMES = 0x3F2,
  HELLO_LAST = HELLO_TIMES,
  T_TITLE = 2000, T_LOUD, T_TIP, T_A, T_B,
};
enum More { NEGATIVE = -5, AFTER };
#endif
)";

constexpr const char* texts = R"(DIALOGSTRINGS DLG_HELLO {
  T_TITLE "Hello, \"world\"";
  T_LOUD "Größe \\ \n";
  T_TIP "Tip"; T_A "A"; 2004 "B";
}
)";

constexpr const char* description = R"(DIALOG DLG_HELLO {
  NAME T_TITLE; SCALE_H; SCALE_V; COLUMNS 1; SPACE 4, 6;
  USERAREA 900 { FIT_H; SIZE 240, 24; }
  GROUP 10 {
    NAME T_A; COLUMNS 2; SPACE 8, 2; BORDERSIZE 1, 2, 3, 4; BORDERSTYLE BORDER_GROUP_IN; ALIGN_LEFT; ALIGN_TOP;
    CHECKBOX HELLO_LOUD { NAME T_LOUD; TOOLTIP T_TIP; ALIGN_LEFT; SCALE_H; DISABLED; }
    STATICTEXT { NAME T_B; HIDDEN; }
    EDITNUMBERARROWS HELLO_TIMES { SIZE 70, 0; ALIGN_RIGHT; ALIGN_BOTTOM; }
    COMBOBOX 20 { FIT_H; CHILDS { 0, T_A; -1, 0; -1, T_TIP; 7, T_B; } }
  }
  SCROLLGROUP 30 { SCROLL_V; EDITTEXT 31 { } }
  SCROLLGROUP 32 { ROWS 2; EDITNUMBER 33 { } EDITSLIDER 34 { } SLIDER 35 { } BUTTON 36 { NAME T_A; } COLORFIELD 37 { CENTER_H; CENTER_V; } }
  SEPARATOR { }
  SEPARATOR { VERTICAL; }
  DLGGROUP { OK; CANCEL; }
}
)";

DialogResources readAll() {
  DialogResources resources;
  host::readSymbols(symbols, "c4d_symbols.h", resources);
  host::readTexts(texts, "hello.str", resources);
  host::readDescriptions(description, "hello.res", resources);
  return resources;
}

TEST(DialogResources, SymbolsHaveNumbers) {
  const DialogResources resources = readAll();
  EXPECT_EQ(resources.symbols.at("DLG_HELLO"), 1000);
  EXPECT_EQ(resources.symbols.at("HELLO_LOUD"), 1001);
  EXPECT_EQ(resources.symbols.at("HELLO_TIMES"), 1010);
  EXPECT_EQ(resources.symbols.at("HELLO_LAST"), 1010);
  EXPECT_EQ(resources.symbols.at("T_B"), 2004);
  EXPECT_EQ(resources.symbols.at("NEGATIVE"), -5);
  EXPECT_EQ(resources.symbols.at("AFTER"), -4);
  EXPECT_EQ(resources.symbols.size(), 11u);
}

TEST(DialogResources, TextsBelongToADialog) {
  const DialogResources resources = readAll();
  EXPECT_EQ(resources.texts.at("DLG_HELLO").at(2000), "Hello, \"world\"");
  EXPECT_EQ(resources.texts.at("DLG_HELLO").at(2001), "Größe \\ \n");
  EXPECT_EQ(resources.texts.at("DLG_HELLO").at(2004), "B");
}

TEST(DialogResources, ADescriptionSaysEverything) {
  const DialogResources resources = readAll();
  ASSERT_EQ(resources.find(999), nullptr);
  const host::DialogDescription* dialog = resources.find(1000);
  ASSERT_NE(dialog, nullptr);
  EXPECT_EQ(dialog->name, "DLG_HELLO");
  EXPECT_EQ(dialog->root.text, "Hello, \"world\"");
  EXPECT_EQ(dialog->root.flags, BFH_SCALEFIT | BFV_SCALEFIT);
  EXPECT_EQ(dialog->root.spaceY, 6);
  const auto& parts = dialog->root.children;
  ASSERT_EQ(parts.size(), 7u);
  EXPECT_EQ(parts[0].kind, GadgetKind::userArea);
  EXPECT_EQ(parts[0].id, 900);
  EXPECT_EQ(parts[0].flags, BFH_FIT | BFV_CENTER);
  EXPECT_EQ(parts[0].width, 240);
  EXPECT_EQ(parts[0].height, 24);
  const auto& group = parts[1];
  EXPECT_EQ(group.flags, BFH_LEFT | BFV_TOP);
  EXPECT_EQ(group.columns, 2);
  EXPECT_EQ(group.spaceX, 8);
  EXPECT_EQ(group.borderLeft * 1000 + group.borderTop * 100 + group.borderRight * 10 + group.borderBottom,
            1234);
  EXPECT_EQ(group.border, BORDER_GROUP_IN);
  const auto& check = group.children[0];
  EXPECT_EQ(check.id, 1001);
  EXPECT_EQ(check.text, "Größe \\ \n");
  EXPECT_EQ(check.tooltip, "Tip");
  EXPECT_TRUE(check.disabled);
  EXPECT_EQ(check.flags, BFH_LEFT | BFH_SCALE | BFV_CENTER);
  EXPECT_EQ(group.children[1].id, 0);
  EXPECT_TRUE(group.children[1].hidden);
  EXPECT_EQ(group.children[1].flags, BFH_LEFT | BFV_CENTER);
  EXPECT_EQ(group.children[2].flags, BFH_RIGHT | BFV_BOTTOM);
  const auto& entries = group.children[3].entries;
  ASSERT_EQ(entries.size(), 4u);
  EXPECT_EQ(entries[0].text, "A");
  EXPECT_EQ(entries[1].value, -1);
  EXPECT_FALSE(entries[1].text.Content());
  EXPECT_EQ(entries[2].text, "Tip");
  EXPECT_EQ(entries[3].value, 7);
  EXPECT_EQ(parts[2].scroll, SCROLLGROUP_VERT);
  EXPECT_EQ(parts[3].scroll, SCROLLGROUP_VERT | SCROLLGROUP_HORIZ);
  EXPECT_EQ(parts[3].rows, 2);
  EXPECT_EQ(parts[3].children[4].flags, BFH_CENTER | BFV_CENTER);
  EXPECT_EQ(parts[4].kind, GadgetKind::separatorH);
  EXPECT_EQ(parts[4].flags, BFH_FIT | BFV_FIT);
  EXPECT_EQ(parts[5].kind, GadgetKind::separatorV);
  EXPECT_EQ(parts[6].buttons, DLG_OK | DLG_CANCEL);
}

// ---- Mistakes

using Read = void (*)(std::string_view, const std::string&, DialogResources&);

std::string mistake(Read read, const std::string& text) {
  DialogResources resources;
  host::readSymbols(symbols, "s", resources);
  host::readTexts(texts, "t", resources);
  try {
    read(text, "file", resources);
  } catch (const host::ResourceError& error) {
    return error.what();
  }
  return "none";
}

std::string inDialog(const std::string& body) {
  return mistake(host::readDescriptions, "DIALOG DLG_HELLO {\n" + body + "\n}");
}

TEST(DialogResources, MistakesNameFileAndLine) {
  EXPECT_EQ(mistake(host::readSymbols, "\n\nenum {\n A = 12monkeys };"),
            "\"file\", line 4: \"12monkeys\" is not a whole number of 32 bits.");
  EXPECT_EQ(mistake(host::readSymbols, "enum { A = 2147483648 };"),
            "\"file\", line 1: \"2147483648\" is not a whole number of 32 bits.");
  EXPECT_EQ(mistake(host::readSymbols, "enum { DLG_HELLO };"),
            "\"file\", line 1: \"DLG_HELLO\" has a number already.");
  EXPECT_EQ(mistake(host::readSymbols, "enum { A = 2147483647, B };"),
            "\"file\", line 1: B would get a number of more than 32 bits.");
  EXPECT_EQ(mistake(host::readSymbols, "struct A;"),
            "\"file\", line 1: \"enum\" should stand here, not \"struct\".");
  EXPECT_EQ(mistake(host::readSymbols, "enum { A B };"),
            "\"file\", line 1: \",\" or \"}\" should stand here, not \"B\".");
  EXPECT_EQ(mistake(host::readTexts, "DIALOGSTRINGS D {\n T_A \"x\";\n T_A \"y\"; }"),
            "\"file\", line 3: \"T_A\" has a text already.");
  EXPECT_EQ(mistake(host::readTexts, "DIALOGSTRINGS D {\n T_A \"x; \n}"),
            "\"file\", line 2: The text that begins here has no closing quotation mark.");
  EXPECT_EQ(mistake(host::readTexts, "DIALOGSTRINGS D { T_A \"\\x\"; }"),
            "\"file\", line 1: After \"\\\" in a text comes \\, \" or n.");
  EXPECT_EQ(mistake(host::readTexts, "DIALOGSTRINGS D { T_NONE \"x\"; }"),
            "\"file\", line 1: The symbol T_NONE is not known.");
  EXPECT_EQ(mistake(host::readTexts, "DIALOGSTRINGS D { T_A 5; }"),
            "\"file\", line 1: A text in quotation marks should stand here, not the number 5.");
  EXPECT_EQ(mistake(host::readDescriptions, "\n/* open\n"),
            "\"file\", line 2: The comment that begins here has no end.");
  EXPECT_EQ(mistake(host::readDescriptions, "DIALOG DLG_NONE { }"),
            "\"file\", line 1: The symbol DLG_NONE is not known.");
  EXPECT_EQ(mistake(host::readDescriptions, "DIALOG 5 { }"),
            "\"file\", line 1: The dialog's name should stand here.");
  EXPECT_EQ(mistake(host::readDescriptions, "DIALOG DLG_HELLO {"),
            "\"file\", line 1: A property or a gadget should stand here, not the file's end.");
  EXPECT_EQ(inDialog("  COLUMS 2;"), "\"file\", line 2: COLUMS has no meaning here.");
  EXPECT_EQ(inDialog("\nCHECKBOX 5 { COLUMNS 2;\n }"), "\"file\", line 3: COLUMNS has no meaning here.");
  EXPECT_EQ(inDialog("CHECKBOX 5 { BUTTON 6 { } }"), "\"file\", line 2: BUTTON has no meaning here.");
  EXPECT_EQ(inDialog("COLUMNS 2\nROWS 3;"), "\"file\", line 3: \";\" should stand here, not \"ROWS\".");
  EXPECT_EQ(inDialog("SIZE 5;"), "\"file\", line 2: \",\" should stand here, not \";\".");
  EXPECT_EQ(inDialog("SIZE -5, 0;"), "\"file\", line 2: A size is 0 to 32768.");
  EXPECT_EQ(inDialog("NAME DLG_HELLO;\n\n"),
            "\"file\", line 2: \"DLG_HELLO\" has no text in the table of DLG_HELLO.");
  EXPECT_EQ(inDialog("BORDERSTYLE ROUND;"),
            "\"file\", line 2: BORDERSTYLE is BORDER_NONE or BORDER_GROUP_IN.");
  EXPECT_EQ(inDialog("\x01"), "\"file\", line 2: There is a character here that has no meaning.");
  EXPECT_EQ(mistake(host::readDescriptions, "DIALOG DLG_HELLO { }\nDIALOG DLG_HELLO { }"),
            "\"file\", line 2: DLG_HELLO is described already.");
}

TEST(DialogResources, LimitsHold) {
  std::string deep;
  for (int i = 0; i < 100000; ++i)
    deep += "GROUP 0 {";
  EXPECT_EQ(inDialog(deep), "\"file\", line 2: Too many groups lie within each other.");
  std::string many;
  for (int i = 0; i < 20001; ++i)
    many += "STATICTEXT{}";
  EXPECT_EQ(inDialog(many), "\"file\", line 2: The file describes too many gadgets.");
  EXPECT_EQ(mistake(host::readTexts, "DIALOGSTRINGS D { T_A \"" + std::string(20000, 'x') + "\"; }"),
            "\"file\", line 1: This text is too long.");
  EXPECT_EQ(mistake(host::readSymbols, "enum { " + std::string(300, 'x') + " };"),
            "\"file\", line 1: This name is too long.");
}

TEST(DialogResources, EveryTruncationIsAMistakeOrShorter) {
  const std::string whole = description;
  for (std::size_t size = 0; size < whole.size() - 2; ++size) {
    const std::string said = mistake(host::readDescriptions, whole.substr(0, size));
    EXPECT_EQ(said == "none", whole.substr(0, size).find_first_not_of(" \n") == std::string::npos) << size;
  }
}

TEST(DialogResources, AByteOrderMarkAndCarriageReturnsAreFine) {
  EXPECT_EQ(mistake(host::readSymbols, "\xef\xbb\xbf#pragma once\r\nenum {\r\n A\r\n};\r\n"), "none");
  EXPECT_EQ(mistake(host::readDescriptions, "// nothing"), "none");
  EXPECT_EQ(mistake(host::readDescriptions, ""), "none");
}

// ---- Through the interface

class ResourceTest : public DialogFixture {
 protected:
  void writeAll() {
    folder.write("res/c4d_symbols.h", symbols);
    folder.write("res/strings_us/dialogs/hello.str", texts);
    folder.write("res/dialogs/hello.res", description);
  }
  GeResource resource;
  KitDialog dialog;
};

TEST_F(ResourceTest, BuildsTheGadgets) {
  writeAll();
  ASSERT_TRUE(resource.Init(folder / "res"));
  KitArea area;
  dialog.layout = [&] {
    EXPECT_TRUE(dialog.LoadDialogResource(1000, nullptr, BFH_SCALEFIT | BFV_SCALEFIT));
    EXPECT_TRUE(dialog.AttachUserArea(area, 900));
    EXPECT_TRUE(dialog.SetLong(1010, 50, 0, 30));
  };
  dialog.Open(DLG_TYPE_ASYNC, 1);
  EXPECT_EQ(host::dialogModel(dialog).title, "Hello, \"world\"");
  const auto& root = host::dialogModel(dialog).root;
  ASSERT_EQ(root.children.size(), 1u);
  EXPECT_EQ(root.children[0]->flags, BFH_SCALEFIT | BFV_SCALEFIT);
  EXPECT_EQ(root.children[0]->children.size(), 7u);
  const host::Gadget* check = host::findGadget(dialog, 1001);
  ASSERT_NE(check, nullptr);
  EXPECT_EQ(check->kind, GadgetKind::checkBox);
  EXPECT_EQ(check->tooltip, "Tip");
  EXPECT_FALSE(check->enabled);
  EXPECT_EQ(check->parent, host::findGadget(dialog, 10));
  EXPECT_EQ(host::findGadget(dialog, 10)->text, "A");
  EXPECT_EQ(host::findGadget(dialog, 10)->border, BORDER_GROUP_IN);
  EXPECT_EQ(host::findGadget(dialog, 10)->spaceX, 8);
  EXPECT_EQ(host::findGadget(dialog, 20)->entries.size(), 4u);
  EXPECT_EQ(host::findGadget(dialog, 30)->scroll, SCROLLGROUP_VERT);
  EXPECT_EQ(host::findGadget(dialog, 32)->rows, 2);
  EXPECT_EQ(host::findGadget(dialog, 37)->kind, GadgetKind::colorField);
  EXPECT_NE(host::findGadget(dialog, IDC_OK), nullptr);
  EXPECT_NE(host::findGadget(dialog, IDC_CANCEL), nullptr);
  EXPECT_EQ(area.GetId(), 900);
  LONG value = 0;
  dialog.GetLong(1010, value);
  EXPECT_EQ(value, 30);
  EXPECT_FALSE(dialog.LoadDialogResource(1000)) << "in CreateLayout only";
}

TEST_F(ResourceTest, AMissingDialogIsReported) {
  writeAll();
  ASSERT_TRUE(resource.Init(folder / "res"));
  dialog.layout = [&] {
    EXPECT_FALSE(dialog.LoadDialogResource(77));
    EXPECT_FALSE(host::findGadget(dialog, 1001));
    EXPECT_TRUE(dialog.LoadDialogResource(1000, &resource));
    GeResource other;
    EXPECT_FALSE(dialog.LoadDialogResource(1000, &other)) << "not initialised";
  };
  dialog.Open(DLG_TYPE_ASYNC, 1);
  ASSERT_EQ(console.size(), 2u);
  EXPECT_NE(console[0].find("77"), std::string::npos);
}

TEST_F(ResourceTest, EachPluginHasItsOwn) {
  writeAll();
  host::PluginUnit one, two;
  GeResource other;
  {
    const host::PluginScope scope(&one);
    EXPECT_TRUE(resource.Init(folder / "res"));
  }
  folder.write("other/c4d_symbols.h", "enum { DLG_OTHER = 5 };");
  folder.write("other/dialogs/a.res", "DIALOG DLG_OTHER { BUTTON 6 { } }");
  {
    const host::PluginScope scope(&two);
    EXPECT_TRUE(other.Init(folder / "other"));
  }
  EXPECT_NE(host::dialogResources(nullptr, &one)->find(1000), nullptr);
  EXPECT_EQ(host::dialogResources(nullptr, &two)->find(1000), nullptr);
  EXPECT_NE(host::dialogResources(nullptr, &two)->find(5), nullptr);
  EXPECT_EQ(host::dialogResources(nullptr, nullptr), nullptr);
  { GeResource gone; }
  EXPECT_TRUE(other.Init(folder / "res"));
  EXPECT_EQ(host::dialogResources(&other, nullptr)->find(5), nullptr) << "the last Init counts";
}

TEST_F(ResourceTest, AMistakeIsOneLineOnTheConsole) {
  writeAll();
  folder.write("res/dialogs/a.res", "DIALOG DLG_HELLO {\n  CHEKBOX 5 { }\n}");
  EXPECT_FALSE(resource.Init(folder / "res"));
  ASSERT_EQ(console.size(), 1u);
  EXPECT_EQ(console[0], "\"" + (folder / "res/dialogs/a.res").GetString().GetUTF8() +
                            "\", line 2: CHEKBOX has no meaning here.");
  EXPECT_EQ(host::dialogResources(&resource, nullptr), nullptr);
}

TEST_F(ResourceTest, AFolderWithoutDialogsIsEmpty) {
  folder.write("res/icon.tif", "x");
  EXPECT_TRUE(resource.Init(folder / "res"));
  EXPECT_TRUE(console.empty());
  EXPECT_FALSE(resource.Init(folder / "none"));
  folder.write("large/c4d_symbols.h", std::string((4 << 20) + 1, ' '));
  EXPECT_FALSE(resource.Init(folder / "large"));
  EXPECT_EQ(console.size(), 1u);
  folder.makeFolder("odd/c4d_symbols.h");
  EXPECT_FALSE(resource.Init(folder / "odd")) << "a folder is no file";
}

} // namespace
