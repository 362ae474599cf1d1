// Dialogs as a plug-in's resource files describe them. The files' grammar is told in docs/plugins.md. Any
// thread.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "gadget.h"
#include "resource_scanner.h"

namespace host {

struct GadgetDescription {
  GadgetKind kind = GadgetKind::group;
  LONG buttons = 0; // DLG_OK, DLG_CANCEL: a group of these
  LONG id = 0, flags = 0, width = 0, height = 0;
  String text, tooltip;
  bool disabled = false, hidden = false;
  std::vector<ComboEntry> entries;
  LONG columns = 0, rows = 0, scroll = 0, border = BORDER_NONE;
  LONG spaceX = 4, spaceY = 4;
  LONG borderLeft = 0, borderTop = 0, borderRight = 0, borderBottom = 0;
  std::vector<GadgetDescription> children;
};

struct DialogDescription {
  LONG id = 0;
  std::string name;
  GadgetDescription root; // its text is the window's title
};

/// What a resource folder holds.
struct DialogResources {
  std::map<std::string, LONG> symbols;
  std::map<std::string, std::map<LONG, String>> texts; // by dialog, then by number
  std::map<LONG, DialogDescription> dialogs;

  /// Null when there is none.
  const DialogDescription* find(LONG id) const;
};

// Each adds what a file says, or throws ResourceError, with some of it added. `file` is for the message.
// First the symbols, then the texts, then the descriptions.

void readSymbols(std::string_view text, const std::string& file, DialogResources& resources);
void readTexts(std::string_view text, const std::string& file, DialogResources& resources);
void readDescriptions(std::string_view text, const std::string& file, DialogResources& resources);

/// A number, or a symbol that stands for one.
LONG takeValue(ResourceScanner& scanner, const DialogResources& resources);

/// Largest file that is read.
inline constexpr std::size_t largestResourceFile = 4 << 20;

} // namespace host
