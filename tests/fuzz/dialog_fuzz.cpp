// Dialog resources from any bytes: symbols, texts and descriptions, with a zero byte between them. A
// resource that reads keeps the reader's promises.
#include <cstdint>
#include <string_view>

#include "dialog_description.h"
#include "fuzz_support.h"

namespace {

using fuzz::require;

// Takes the bytes before the next zero byte.
std::string_view takePart(std::string_view& text) {
  const std::size_t end = text.find('\0');
  const std::string_view part = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return part;
}

int check(const host::GadgetDescription& gadget, int depth) {
  require(depth <= 65, "groups lie within each other as deep as is allowed");
  require(gadget.width >= 0 && gadget.width <= 32768, "sizes are sizes");
  require(gadget.columns >= 0 && gadget.rows >= 0 && gadget.spaceX >= 0 && gadget.borderTop >= 0,
          "so are spaces");
  int count = 1;
  for (const host::GadgetDescription& child : gadget.children)
    count += check(child, depth + 1);
  return count;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  host::DialogResources resources;
  try {
    host::readSymbols(takePart(text), "symbols", resources);
    host::readTexts(takePart(text), "texts", resources);
    host::readDescriptions(text, "descriptions", resources);
  } catch (const host::ResourceError& error) {
    require(std::string_view(error.what()).find("\", line ") != std::string_view::npos,
            "a mistake has a place");
  }
  int gadgets = 0;
  for (const auto& [id, dialog] : resources.dialogs) {
    require(dialog.id == id && resources.symbols.at(dialog.name) == id, "a dialog is known by its symbol");
    gadgets += check(dialog.root, 0);
  }
  require(gadgets <= 20001 + static_cast<int>(resources.dialogs.size()), "gadgets are counted");
  return 0;
}
