#include "font_search.h"

#include <fontconfig/fontconfig.h>

#include <array>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr const char* family = "DejaVu Sans";
constexpr const char* fileName = "DejaVuSans.ttf";

template <auto destroy>
struct Destroyer {
  template <class T>
  void operator()(T* object) const noexcept {
    destroy(object);
  }
};
using Config = std::unique_ptr<FcConfig, Destroyer<FcConfigDestroy>>;
using Pattern = std::unique_ptr<FcPattern, Destroyer<FcPatternDestroy>>;
using CharSet = std::unique_ptr<FcCharSet, Destroyer<FcCharSetDestroy>>;
using FontSet = std::unique_ptr<FcFontSet, Destroyer<FcFontSetDestroy>>;

struct Installed {
  FontFile file;
  CharSet characters;
};

std::string textOf(FcPattern* font, const char* property) {
  FcChar8* value = nullptr;
  if (FcPatternGetString(font, property, 0, &value) != FcResultMatch) return {};
  return reinterpret_cast<const char*>(value);
}

bool flagOf(FcPattern* font, const char* property, bool preset) {
  FcBool value = preset;
  return FcPatternGetBool(font, property, 0, &value) == FcResultMatch ? value != FcFalse : preset;
}

/// Usual folders of the default font.
FontFile searchFolders() {
  constexpr std::array folders = {"/usr/share/fonts/truetype/dejavu", "/usr/share/fonts/TTF",
                                  "/usr/share/fonts/dejavu",          "/usr/share/fonts/dejavu-sans-fonts",
                                  "/usr/local/share/fonts",           "/Library/Fonts",
                                  "/opt/local/share/fonts/dejavu"};
  for (const char* folder : folders) {
    std::error_code trouble;
    const fs::path path = fs::path(folder) / fileName;
    if (fs::is_regular_file(path, trouble)) return {path.string(), 0};
  }
  return {};
}

/// The installed fonts, nearest to the default one first.
class FontList {
 public:
  FontList() : config_(FcInitLoadConfigAndFonts()) {
    if (config_) sort();
    const bool hasDefault = !fonts_.empty() && firstIsDefault_;
    const FontFile found = hasDefault ? FontFile() : searchFolders();
    if (hasDefault || found.path.empty())
      default_ = fonts_.empty() ? FontFile() : fonts_.front().file;
    else
      default_ = found;
  }

  const FontFile& defaultFile() const noexcept { return default_; }

  FontFile with(std::uint32_t codePoint) const {
    for (const Installed& font : fonts_)
      if (FcCharSetHasChar(font.characters.get(), codePoint)) return font.file;
    return {};
  }

 private:
  void sort() {
    const Pattern wanted(FcPatternCreate());
    if (!wanted) return;
    FcPatternAddString(wanted.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>(family));
    FcPatternAddString(wanted.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>("sans-serif"));
    FcPatternAddBool(wanted.get(), FC_SCALABLE, FcTrue);
    FcConfigSubstitute(config_.get(), wanted.get(), FcMatchPattern);
    FcDefaultSubstitute(wanted.get());
    FcResult result = FcResultNoMatch;
    const FontSet set(FcFontSort(config_.get(), wanted.get(), FcFalse, nullptr, &result));
    for (int i = 0; set && i < set->nfont; ++i)
      add(set->fonts[i]);
  }

  void add(FcPattern* font) {
    FcCharSet* characters = nullptr;
    const std::string path = textOf(font, FC_FILE);
    if (path.empty() || !flagOf(font, FC_SCALABLE, false) || flagOf(font, FC_COLOR, false)) return;
    if (FcPatternGetCharSet(font, FC_CHARSET, 0, &characters) != FcResultMatch) return;
    int index = 0;
    FcPatternGetInteger(font, FC_INDEX, 0, &index);
    if (fonts_.empty()) firstIsDefault_ = textOf(font, FC_FAMILY) == family;
    fonts_.push_back({{path, index}, CharSet(FcCharSetCopy(characters))});
  }

  Config config_;
  std::vector<Installed> fonts_;
  FontFile default_;
  bool firstIsDefault_ = false;
};

struct Search {
  std::mutex guard;
  FontList fonts;
};

/// Made for the first text: reading the configuration takes some milliseconds.
Search& search() {
  static Search made;
  return made;
}

} // namespace

const FontFile& defaultFont() {
  return search().fonts.defaultFile(); // never changes
}

FontFile fontWith(std::uint32_t codePoint) {
  Search& all = search();
  const std::lock_guard lock(all.guard);
  return all.fonts.with(codePoint);
}

} // namespace host
