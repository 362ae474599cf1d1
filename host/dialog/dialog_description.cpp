#include "dialog_description.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace host {

namespace {

constexpr int deepest = 64;
constexpr int mostGadgets = 20000;
constexpr LONG largestSize = 32768;

template <class Value>
using Table = std::pair<std::string_view, Value>;

constexpr Table<GadgetKind> kinds[] = {
    {"GROUP", GadgetKind::group},
    {"SCROLLGROUP", GadgetKind::scrollGroup},
    {"BUTTON", GadgetKind::button},
    {"STATICTEXT", GadgetKind::staticText},
    {"EDITTEXT", GadgetKind::editText},
    {"EDITNUMBER", GadgetKind::editNumber},
    {"EDITNUMBERARROWS", GadgetKind::editNumberArrows},
    {"EDITSLIDER", GadgetKind::editSlider},
    {"SLIDER", GadgetKind::slider},
    {"CHECKBOX", GadgetKind::checkBox},
    {"COMBOBOX", GadgetKind::comboBox},
    {"COLORFIELD", GadgetKind::colorField},
    {"USERAREA", GadgetKind::userArea},
    {"SEPARATOR", GadgetKind::separatorH},
    {"DLGGROUP", GadgetKind::group},
};
constexpr Table<LONG> horizontals[] = {
    {"ALIGN_LEFT", BFH_LEFT}, {"CENTER_H", BFH_CENTER}, {"ALIGN_RIGHT", BFH_RIGHT}, {"FIT_H", BFH_FIT}};
constexpr Table<LONG> verticals[] = {
    {"ALIGN_TOP", BFV_TOP}, {"CENTER_V", BFV_CENTER}, {"ALIGN_BOTTOM", BFV_BOTTOM}, {"FIT_V", BFV_FIT}};
constexpr Table<LONG> borders[] = {{"BORDER_NONE", BORDER_NONE}, {"BORDER_GROUP_IN", BORDER_GROUP_IN}};

template <class Value, std::size_t count>
std::optional<Value> lookUp(const Table<Value> (&table)[count], std::string_view name) {
  for (const auto& [known, value] : table)
    if (known == name) return value;
  return std::nullopt;
}

bool isGroup(const GadgetDescription& gadget) {
  return gadget.buttons == 0 && (gadget.kind == GadgetKind::group || gadget.kind == GadgetKind::scrollGroup);
}

// Default alignment of a gadget.
struct Lying {
  std::optional<LONG> horizontal, vertical;
  bool scaleH = false, scaleV = false;

  LONG flags(bool fills) const {
    const LONG h = horizontal.value_or(fills || scaleH ? BFH_FIT : BFH_LEFT);
    const LONG v = vertical.value_or(fills || scaleV ? BFV_FIT : BFV_CENTER);
    return h | v | (scaleH ? BFH_SCALE : 0) | (scaleV ? BFV_SCALE : 0);
  }
};

class DescriptionReader {
 public:
  DescriptionReader(ResourceScanner& scanner, DialogResources& resources)
      : scanner_(scanner), resources_(resources) {}

  void readDialog() {
    DialogDescription dialog;
    if (scanner_.peek().text != "DIALOG")
      scanner_.fail("\"DIALOG\" should stand here, not " + scanner_.shown() + ".");
    scanner_.take();
    if (scanner_.peek().kind != WordKind::name) scanner_.fail("The dialog's name should stand here.");
    dialog.name = scanner_.peek().text;
    const int line = scanner_.peek().line;
    dialog.id = takeValue(scanner_, resources_);
    if (resources_.dialogs.count(dialog.id)) scanner_.failAt(line, dialog.name + " is described already.");
    texts_ = &resources_.texts[dialog.name];
    name_ = dialog.name;
    readBody(dialog.root, 0);
    resources_.dialogs.emplace(dialog.id, std::move(dialog));
  }

 private:
  void end() { scanner_.expect(';'); }

  LONG takeSize() {
    const int line = scanner_.peek().line;
    const LONG size = takeValue(scanner_, resources_);
    if (size < 0 || size > largestSize) scanner_.failAt(line, "A size is 0 to 32768.");
    return size;
  }

  template <std::size_t count>
  void takeSizes(LONG* const (&sizes)[count]) {
    for (std::size_t i = 0; i < count; ++i) {
      if (i > 0) scanner_.expect(',');
      *sizes[i] = takeSize();
    }
    end();
  }

  String takeTextOf() {
    const std::string shown = scanner_.shown();
    const int line = scanner_.peek().line;
    const LONG id = takeValue(scanner_, resources_);
    const auto found = texts_->find(id);
    if (found == texts_->end()) scanner_.failAt(line, shown + " has no text in the table of " + name_ + ".");
    return found->second;
  }

  // Reads a property that every gadget can have. False for another keyword.
  bool readCommon(const std::string& keyword, GadgetDescription& gadget, Lying& lying) {
    if (keyword == "NAME" || keyword == "TOOLTIP") {
      (keyword == "NAME" ? gadget.text : gadget.tooltip) = takeTextOf();
    } else if (keyword == "SIZE") {
      takeSizes({&gadget.width, &gadget.height});
      return true;
    } else if (keyword == "DISABLED") {
      gadget.disabled = true;
    } else if (keyword == "HIDDEN") {
      gadget.hidden = true;
    } else if (keyword == "SCALE_H") {
      lying.scaleH = true;
    } else if (keyword == "SCALE_V") {
      lying.scaleV = true;
    } else if (const auto h = lookUp(horizontals, keyword)) {
      lying.horizontal = h;
    } else if (const auto v = lookUp(verticals, keyword)) {
      lying.vertical = v;
    } else {
      return false;
    }
    end();
    return true;
  }

  bool readGroup(const std::string& keyword, GadgetDescription& gadget) {
    if (keyword == "COLUMNS" || keyword == "ROWS") {
      (keyword == "COLUMNS" ? gadget.columns : gadget.rows) = takeSize();
      end();
    } else if (keyword == "SPACE") {
      takeSizes({&gadget.spaceX, &gadget.spaceY});
    } else if (keyword == "BORDERSIZE") {
      takeSizes({&gadget.borderLeft, &gadget.borderTop, &gadget.borderRight, &gadget.borderBottom});
    } else if (keyword == "BORDERSTYLE") {
      const auto border = lookUp(borders, scanner_.peek().text);
      if (!border) scanner_.fail("BORDERSTYLE is BORDER_NONE or BORDER_GROUP_IN.");
      gadget.border = *border;
      scanner_.take();
      end();
    } else if (gadget.kind == GadgetKind::scrollGroup && (keyword == "SCROLL_H" || keyword == "SCROLL_V")) {
      gadget.scroll |= keyword == "SCROLL_H" ? SCROLLGROUP_HORIZ : SCROLLGROUP_VERT;
      end();
    } else {
      return false;
    }
    return true;
  }

  // Reads a property of this kind.
  bool readSpecial(const std::string& keyword, GadgetDescription& gadget) {
    if (gadget.kind == GadgetKind::comboBox && keyword == "CHILDS") {
      readEntries(gadget);
    } else if (gadget.kind == GadgetKind::separatorH && keyword == "VERTICAL") {
      gadget.kind = GadgetKind::separatorV;
      end();
    } else if (gadget.buttons != 0 && (keyword == "OK" || keyword == "CANCEL")) {
      gadget.buttons |= keyword == "OK" ? DLG_OK : DLG_CANCEL;
      end();
    } else {
      return false;
    }
    return true;
  }

  void readEntries(GadgetDescription& gadget) {
    scanner_.expect('{');
    while (!scanner_.takeIf('}')) {
      count();
      ComboEntry entry;
      entry.value = takeValue(scanner_, resources_);
      scanner_.expect(',');
      const bool separator =
          entry.value == -1 && scanner_.peek().kind == WordKind::number && scanner_.peek().number == 0;
      if (separator)
        scanner_.take();
      else
        entry.text = takeTextOf();
      end();
      gadget.entries.push_back(std::move(entry));
    }
    scanner_.takeIf(';');
  }

  void count() {
    if (++gadgets_ > mostGadgets) scanner_.fail("The file describes too many gadgets.");
  }

  void readGadget(const std::string& keyword, GadgetKind kind, GadgetDescription& parent, int depth) {
    count();
    GadgetDescription gadget;
    gadget.kind = kind;
    constexpr LONG noButton = 4; // marks the group of the dialog's buttons until one is named
    if (keyword == "DLGGROUP") gadget.buttons = noButton;
    if (gadget.buttons == 0 && !scanner_.peek().is('{')) gadget.id = takeValue(scanner_, resources_);
    readBody(gadget, depth);
    gadget.buttons &= DLG_OK | DLG_CANCEL;
    if (gadget.kind == GadgetKind::scrollGroup && gadget.scroll == 0)
      gadget.scroll = SCROLLGROUP_HORIZ | SCROLLGROUP_VERT;
    parent.children.push_back(std::move(gadget));
  }

  void readBody(GadgetDescription& gadget, int depth) {
    if (depth > deepest) scanner_.fail("Too many groups lie within each other.");
    Lying lying;
    scanner_.expect('{');
    while (!scanner_.peek().is('}')) {
      if (scanner_.peek().kind != WordKind::name)
        scanner_.fail("A property or a gadget should stand here, not " + scanner_.shown() + ".");
      const Word keyword = scanner_.take();
      const auto kind = isGroup(gadget) ? lookUp(kinds, keyword.text) : std::nullopt;
      if (kind)
        readGadget(keyword.text, *kind, gadget, depth + 1);
      else
        readProperty(keyword, gadget, lying);
    }
    scanner_.take();
    const bool fills =
        isGroup(gadget) || gadget.kind == GadgetKind::separatorH || gadget.kind == GadgetKind::separatorV;
    gadget.flags = lying.flags(fills);
    if (gadget.buttons != 0 && !lying.horizontal) gadget.flags = BFH_CENTER | BFV_CENTER;
  }

  void readProperty(const Word& keyword, GadgetDescription& gadget, Lying& lying) {
    if (readCommon(keyword.text, gadget, lying)) return;
    if (isGroup(gadget) && readGroup(keyword.text, gadget)) return;
    if (!readSpecial(keyword.text, gadget))
      scanner_.failAt(keyword.line, keyword.text + " has no meaning here.");
  }

  ResourceScanner& scanner_;
  DialogResources& resources_;
  const std::map<LONG, String>* texts_ = nullptr;
  std::string name_;
  int gadgets_ = 0;
};

} // namespace

void readDescriptions(std::string_view text, const std::string& file, DialogResources& resources) {
  ResourceScanner scanner(text, file);
  DescriptionReader reader(scanner, resources);
  while (!scanner.atEnd())
    reader.readDialog();
}

} // namespace host
