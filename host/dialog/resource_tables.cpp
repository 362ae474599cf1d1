// The tables of a resource folder: symbols and texts.
#include <limits>

#include "dialog_description.h"

namespace host {

LONG takeValue(ResourceScanner& scanner, const DialogResources& resources) {
  if (scanner.peek().kind == WordKind::number) return scanner.take().number;
  const std::string name = scanner.peek().text;
  if (scanner.peek().kind != WordKind::name)
    scanner.fail("A number should stand here, not " + scanner.shown() + ".");
  const auto known = resources.symbols.find(name);
  if (known == resources.symbols.end()) scanner.fail("The symbol " + name + " is not known.");
  scanner.take();
  return known->second;
}

namespace {

void readEnumeration(ResourceScanner& scanner, DialogResources& resources) {
  if (scanner.peek().kind == WordKind::name) scanner.take();
  scanner.expect('{');
  LLONG next = 0;
  while (!scanner.takeIf('}')) {
    if (resources.symbols.count(scanner.peek().text))
      scanner.fail(scanner.shown() + " has a number already.");
    const std::string name = scanner.takeName("A symbol");
    if (scanner.takeIf('=')) next = takeValue(scanner, resources);
    if (next > std::numeric_limits<LONG>::max())
      scanner.fail(name + " would get a number of more than 32 bits.");
    resources.symbols.emplace(name, static_cast<LONG>(next++));
    if (!scanner.takeIf(',') && !scanner.peek().is('}'))
      scanner.fail("\",\" or \"}\" should stand here, not " + scanner.shown() + ".");
  }
  scanner.expect(';');
}

} // namespace

void readSymbols(std::string_view text, const std::string& file, DialogResources& resources) {
  ResourceScanner scanner(text, file, true);
  while (!scanner.atEnd()) {
    if (scanner.peek().text != "enum")
      scanner.fail("\"enum\" should stand here, not " + scanner.shown() + ".");
    scanner.take();
    readEnumeration(scanner, resources);
  }
}

void readTexts(std::string_view text, const std::string& file, DialogResources& resources) {
  ResourceScanner scanner(text, file);
  while (!scanner.atEnd()) {
    if (scanner.peek().text != "DIALOGSTRINGS")
      scanner.fail("\"DIALOGSTRINGS\" should stand here, not " + scanner.shown() + ".");
    scanner.take();
    auto& texts = resources.texts[scanner.takeName("The dialog's name")];
    scanner.expect('{');
    while (!scanner.takeIf('}')) {
      const std::string shown = scanner.shown();
      const int line = scanner.peek().line;
      const LONG id = takeValue(scanner, resources);
      if (texts.count(id)) scanner.failAt(line, shown + " has a text already.");
      texts[id] = scanner.takeText("A text in quotation marks");
      scanner.expect(';');
    }
  }
}

const DialogDescription* DialogResources::find(LONG id) const {
  const auto found = dialogs.find(id);
  return found == dialogs.end() ? nullptr : &found->second;
}

} // namespace host
