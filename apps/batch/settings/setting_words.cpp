#include "setting_words.h"

#include <algorithm>

#include "dlg_animation.h"
#include "exit_code.h"
#include "gadget.h"
#include "lm_keys.h"
#include "number_text.h"
#include "plugin_resources.h"
#include "setting_values.h"
#include "thread_context.h"
#include "user_interface.h"

namespace batch {
namespace {

using Words = std::map<LONG, SettingWords>;

SettingRange rangeOf(const lmRange& shown) {
  const bool percent = shown.shown == LM_SHOWN_PERCENT;
  const Real part = percent ? 0.01 : 1; // stored value per shown value
  return {host::shortestText(shown.min) + ".." + host::shortestText(shown.max) + (percent ? " %" : ""),
          std::pair(shown.min * part, shown.max * part),
          {}};
}

SettingRange choiceOf(const std::vector<host::ComboEntry>& entries) {
  SettingRange range;
  for (const host::ComboEntry& entry : entries) {
    if (entry.value == -1) continue; // cannot be chosen
    range.text += (range.text.empty() ? "" : ", ") + std::to_string(entry.value) + " " + entry.text.GetUTF8();
    range.choices.push_back(entry.value);
  }
  return range;
}

SettingRange onOrOff() {
  return {"0..1", {}, {0, 1}};
}

SettingRange rangeOf(LONG key, host::GadgetKind kind, const std::vector<host::ComboEntry>& entries) {
  if (const lmRange* range = GetRange(key)) return rangeOf(*range);
  return kind == host::GadgetKind::checkBox ? onOrOff() : choiceOf(entries);
}

/// The text without surrounding spaces and without the mark before its Alt letter.
std::string trimmed(const String& text) {
  std::string all = text.GetUTF8();
  if (const auto sign = all.find('&');
      sign != std::string::npos && sign + 1 < all.size() && all[sign + 1] != ' ')
    all.erase(sign, 1);
  const auto first = all.find_first_not_of(' ');
  return first == std::string::npos ? "" : all.substr(first, all.find_last_not_of(' ') - first + 1);
}

/// In dialog descriptions, the text with a key's number is the label of its gadget.
void addDescribed(const host::GadgetDescription& gadget, const std::map<LONG, String>& texts, Words& words) {
  const auto text = texts.find(gadget.id);
  if (gadget.id && text != texts.end())
    words[gadget.id] = {trimmed(text->second), rangeOf(gadget.id, gadget.kind, gadget.entries)};
  for (const host::GadgetDescription& child : gadget.children)
    addDescribed(child, texts, words);
}

/// In a dialog laid out by code, a gadget has its label as text or follows it.
void addLaidOut(const host::Gadget& gadget, std::string& label, Words& words) {
  using Kind = host::GadgetKind;
  if (gadget.kind == Kind::staticText && !trimmed(gadget.text).empty()) label = trimmed(gadget.text);
  if (gadget.id > IDC_CANCEL && gadget.kind != Kind::staticText) {
    const bool named = gadget.kind == Kind::checkBox || gadget.kind == Kind::button;
    words.emplace(gadget.id, SettingWords{named ? trimmed(gadget.text) : label,
                                          rangeOf(gadget.id, gadget.kind, gadget.entries)});
  }
  for (const auto& child : gadget.children)
    addLaidOut(*child, label, words);
}

/// Takes the place of the program's interface: reads the layout of a dialog instead of showing it.
class LayoutReader final : public host::UserInterface {
 public:
  explicit LayoutReader(Words& words) : words_(words), outer_(host::userInterface()) {
    host::setUserInterface(this);
  }
  ~LayoutReader() { host::setUserInterface(&outer_); }
  LayoutReader(const LayoutReader&) = delete;
  LayoutReader& operator=(const LayoutReader&) = delete;

  bool openDialog(GeDialog& dialog, const host::DialogPlacement& /*placement*/) override {
    std::string label;
    addLaidOut(host::dialogModel(dialog).root, label, words_);
    return false;
  }

 private:
  Words& words_;
  host::UserInterface& outer_;
};

void addAnimation(Words& words) {
  LayoutReader reader(words);
  lmSettings none;
  DlgAnimation animation;
  animation.settings = &none;
  animation.Open();
  for (const Bool jpeg : {TRUE, FALSE}) {
    lmDlgJPGPSD_Options still;
    still.jpeg = jpeg;
    still.Open();
  }
}

/// Settings in the viewer's menus, or kept by the viewer itself.
void addViewer(Words& words) {
  const SettingRange mode = choiceOf({{LM_MODE_NORMAL, GetWord(LM_MODE_NORMAL)},
                                      {LM_MODE_REGION, GetWord(LM_MODE_REGION)},
                                      {LM_MODE_COMPARE, GetWord(LM_MODE_COMPARE)}});
  words[LM_ENABLED] = {GetWord(LM_ENABLED), onOrOff()};
  words[LM_MODE] = {GetWord(LM_MODE), mode};
  words[LM_ASPECT] = {GetWord(LM_ASPECT), {}};
  words[LM_REGION_SHOWN] = {GetWord(LM_REGION_SHOWN), onOrOff()};
}

} // namespace

Words settingWords(const host::PluginUnit& plugin) {
  std::string error;
  const auto resources = host::readDialogResources(plugin.folder + "res", error);
  if (!resources) throw Stop(ExitCode::renderFailed, error);
  Words words;
  for (const auto& [id, dialog] : resources->dialogs) {
    const auto texts = resources->texts.find(dialog.name);
    if (texts != resources->texts.end()) addDescribed(dialog.root, texts->second, words);
  }
  addViewer(words);
  const host::PluginScope scope(&plugin);
  addAnimation(words);
  return words;
}

void checkRange(const lmKey& key, const GeData& value, const SettingRange& range) {
  if (value == key.value) return; // the default is valid even where no choice offers it
  const Real number = value.GetReal();
  const bool isChoice = range.choices.empty() || std::find(range.choices.begin(), range.choices.end(),
                                                           value.GetLong()) != range.choices.end();
  if (isChoice && (!range.bounds || (number >= range.bounds->first && number <= range.bounds->second)))
    return;
  std::string wanted = range.text;
  if (range.bounds)
    wanted = host::shortestText(range.bounds->first) + ".." + host::shortestText(range.bounds->second);
  if (range.bounds && wanted != range.text) wanted += " (" + range.text + ")";
  throw Stop(ExitCode::wrongUse, "\"" + settingText(value) + "\" is no value for " + settingTitle(key) +
                                     ", which takes " + wanted);
}

} // namespace batch
