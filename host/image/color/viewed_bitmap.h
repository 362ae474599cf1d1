// Bitmaps through a view.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "c4d_bitmap.h"
#include "desk_look.h"
#include "view_transform.h"

namespace host {

class Film;

/// The rows of a bitmap as views show them. Pixels that were drawn over since the render (stamps, banners)
/// and bitmaps without a film stay as they are. The bitmap outlives it.
class ViewedRows {
 public:
  /// `straight`: of a 32-bit bitmap the colours of the surfaces alone, as files with alpha hold them.
  explicit ViewedRows(const BaseBitmap& bitmap, bool straight = false);

  /// Takes the film's light as it is now, mixed and seen through the lens, for many views of it: 13 bytes a
  /// pixel. Uses the workers. Throws std::bad_alloc.
  void keepLight(const DeskLook& look = {});
  /// Red, green and blue of each pixel of a row. Any thread, several at a time.
  void read(const ViewTransform& view, LONG y, unsigned char* rgb) const;
  /// The same with 16 bits; pixels without light have those of their codes.
  void read(const ViewTransform& view, LONG y, std::uint16_t* rgb) const;

 private:
  template <class Code>
  void showLight(const ViewTransform& view, LONG y, Code* rgb) const;
  void readHeld(LONG x, LONG y, LONG count, unsigned char* rgb) const;
  void readHeld(LONG x, LONG y, LONG count, std::uint16_t* rgb) const;
  void readLight(LONG y, float* light, std::uint8_t* drawn) const;
  void straighten(LONG y, float* light) const;

  const BaseBitmap& bitmap_;
  std::shared_ptr<Film> film_;
  std::shared_ptr<const ViewTransform> shown_; // the view that the bitmap shows; null without a film
  bool straight_;
  std::vector<float> light_;        // of all pixels when it was kept, else empty
  std::vector<std::uint8_t> drawn_; // likewise: 1 for pixels that were drawn over
};

/// Makes `copy` the picture as the view shows it, with its alpha and without a film; its light is mixed and
/// seen through the lens before. Uses the workers. False when memory is short.
bool viewedCopy(const BaseBitmap& bitmap, const ViewTransform& view, bool straight, BaseBitmap& copy,
                const DeskLook& look = {});

} // namespace host
