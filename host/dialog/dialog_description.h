// Dialogs as described by a plug-in's resource files; docs/plugins.md has their grammar. Any thread.
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
  LONG buttons = 0; // DLG_OK, DLG_CANCEL: the group of these buttons
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

/// The contents of a resource folder.
struct DialogResources {
  std::map<std::string, LONG> symbols;
  std::map<std::string, std::map<LONG, String>> texts; // by dialog, then by number
  std::map<LONG, DialogDescription> dialogs;

  /// Null for an unknown dialog.
  const DialogDescription* find(LONG id) const;
};

// Each adds the contents of a file. A ResourceError can leave a part of them added; `file` is for its
// message. Order: symbols, texts, descriptions.

void readSymbols(std::string_view text, const std::string& file, DialogResources& resources);
void readTexts(std::string_view text, const std::string& file, DialogResources& resources);
void readDescriptions(std::string_view text, const std::string& file, DialogResources& resources);

/// A number, or a symbol for one.
LONG takeValue(ResourceScanner& scanner, const DialogResources& resources);

/// Maximum size of a file.
inline constexpr std::size_t largestResourceFile = 4 << 20;

} // namespace host
