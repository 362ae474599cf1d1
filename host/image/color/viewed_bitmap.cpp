#include "viewed_bitmap.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "film.h"
#include "worker_threads.h"

namespace host {

ViewedRows::ViewedRows(const BaseBitmap& bitmap, bool straight)
    : bitmap_(bitmap), film_(filmOf(bitmap)), shown_(film_ ? film_->view() : nullptr),
      straight_(straight && bitmap.GetBt() == 32) {
}

void ViewedRows::readLight(LONG y, float* light, std::uint8_t* drawn) const {
  const auto width = static_cast<std::size_t>(bitmap_.GetBw());
  film_->getShownRow(y, light);
  std::vector<unsigned char> codes(6 * width);
  unsigned char* const shown = codes.data();
  unsigned char* const held = shown + 3 * width;
  shown_->show(light, shown, width);
  bitmap_.GetPixelCnt(0, y, bitmap_.GetBw(), held, 3, COLORMODE_RGB);
  for (std::size_t i = 0; i < width; ++i)
    drawn[i] = std::memcmp(shown + 3 * i, held + 3 * i, 3) == 0 ? 0 : 1;
}

void ViewedRows::straighten(LONG y, float* light) const {
  if (!straight_) return;
  for (LONG x = 0; x < bitmap_.GetBw(); ++x, light += 3) {
    float rgba[4];
    film_->getColor(x, y, rgba);
    std::copy_n(light, 3, rgba);
    film_->makeStraight(x, y, rgba);
    std::copy_n(rgba, 3, light);
  }
}

void ViewedRows::keepLight(const DeskLook& look) {
  if (!film_) return;
  const auto width = static_cast<std::size_t>(film_->width());
  light_.resize(3 * width * static_cast<std::size_t>(film_->height()));
  drawn_.resize(light_.size() / 3);
  eachRow(film_->height(), [&](int y) {
    const std::size_t first = width * static_cast<std::size_t>(y);
    readLight(y, light_.data() + 3 * first, drawn_.data() + first);
  });
  applyDesk(look, *film_, light_);
  eachRow(film_->height(), [&](int y) { straighten(y, light_.data() + 3 * film_->pixelAt(0, y)); });
}

void ViewedRows::readHeld(LONG x, LONG y, LONG count, unsigned char* rgb) const {
  bitmap_.GetPixelCnt(x, y, count, rgb, 3, COLORMODE_RGB);
}

void ViewedRows::readHeld(LONG x, LONG y, LONG count, std::uint16_t* rgb) const {
  std::vector<unsigned char> codes(3 * static_cast<std::size_t>(count));
  readHeld(x, y, count, codes.data());
  std::transform(codes.begin(), codes.end(), rgb,
                 [](unsigned char code) { return static_cast<std::uint16_t>(code * 257); });
}

template <class Code>
void ViewedRows::showLight(const ViewTransform& view, LONG y, Code* rgb) const {
  const auto width = static_cast<std::size_t>(bitmap_.GetBw());
  std::vector<float> light;
  std::vector<std::uint8_t> drawn;
  const std::uint8_t* isDrawn = nullptr;
  if (!light_.empty()) {
    const std::size_t first = width * static_cast<std::size_t>(y);
    isDrawn = drawn_.data() + first;
    view.show(light_.data() + 3 * first, rgb, width);
  } else {
    light.resize(3 * width);
    drawn.resize(width);
    readLight(y, light.data(), drawn.data());
    straighten(y, light.data());
    isDrawn = drawn.data();
    view.show(light.data(), rgb, width);
  }
  for (std::size_t x = 0; x < width; ++x, rgb += 3)
    if (isDrawn[x]) readHeld(static_cast<LONG>(x), y, 1, rgb);
}

void ViewedRows::read(const ViewTransform& view, LONG y, unsigned char* rgb) const {
  const bool asHeld = !film_ || (light_.empty() && !straight_ && view.settings() == shown_->settings());
  if (asHeld)
    readHeld(0, y, bitmap_.GetBw(), rgb);
  else
    showLight(view, y, rgb);
}

void ViewedRows::read(const ViewTransform& view, LONG y, std::uint16_t* rgb) const {
  if (film_)
    showLight(view, y, rgb);
  else
    readHeld(0, y, bitmap_.GetBw(), rgb);
}

bool viewedCopy(const BaseBitmap& bitmap, const ViewTransform& view, bool straight, BaseBitmap& copy,
                const DeskLook& look) {
  const LONG width = bitmap.GetBw(), height = bitmap.GetBh();
  if (copy.Init(width, height, bitmap.GetBt()) != IMAGERESULT_OK) return false;
  ViewedRows rows(bitmap, straight);
  try {
    if (!look.isPlain()) rows.keepLight(look);
  } catch (const std::bad_alloc&) {
    return false;
  }
  eachRow(height, [&](int y) {
    std::vector<unsigned char> row(static_cast<std::size_t>(width) * 3);
    rows.read(view, y, row.data());
    const unsigned char* p = row.data();
    for (LONG x = 0; x < width; ++x, p += 3) {
      copy.SetPixel(x, y, p[0], p[1], p[2]);
      if (bitmap.GetBt() == 32) copy.SetAlpha(x, y, bitmap.GetAlpha(x, y));
    }
  });
  return true;
}

} // namespace host
