// Lines and points that scene hooks draw over a picture, exact to the pixel. Main thread.
#pragma once

#include "c4d_document.h"
#include "view_image.h"

namespace host {

/// A line or point in logical pixels of the frame, both ends included.
struct OverlayMark {
  LONG x0 = 0, y0 = 0, x1 = 0, y1 = 0;
  std::uint32_t color = 0xff000000;
  LONG depth = 0; // greater lies behind
  friend bool operator==(const OverlayMark&, const OverlayMark&) = default;
};
using Overlay = std::vector<OverlayMark>;

/// Collects the drawing calls of one view. Calls for other views, or without a scope, do nothing. In nested
/// scopes the inner one collects.
class OverlayScope {
 public:
  OverlayScope(const BaseDraw& view, Overlay& overlay) noexcept;
  ~OverlayScope();
  OverlayScope(const OverlayScope&) = delete;
  OverlayScope& operator=(const OverlayScope&) = delete;

  static OverlayScope* of(const BaseDraw* view) noexcept; // null: not collected
  // Implement the calls of BaseDraw.
  void toScreenSpace(LONG depth) noexcept;
  void setPen(const Vector& color) noexcept;
  void add(const Vector& from, const Vector& to);

 private:
  const BaseDraw& view_;
  Overlay& overlay_;
  OverlayScope* outer_;
  OverlayMark pen_; // colour and depth of the next marks
  bool screen_ = false;
};

/// An overpainted pixel and its colour before.
struct PaintedPixel {
  std::size_t index;
  std::uint32_t before;
};

/// A view's frame in its picture.
struct OverlayFrame {
  double ratio = 1;                      // device pixels per logical pixel
  LONG x = 0, y = 0;                     // its corner, logical
  int left = 0, top = 0;                 // and in device pixels
  int right = 1 << 30, bottom = 1 << 30; // one past its last pixel
};

/// Draws marks into a frame of a picture: its logical pixel (x, y) is the block from floor((frame.x + x) *
/// ratio) to floor((frame.x + x + 1) * ratio) - 1. Marks outside of the frame or the picture are left out.
/// The pixels painted over are added to `painted`, in order.
void drawOverlay(const Overlay& overlay, const OverlayFrame& frame, ViewImage& image,
                 std::vector<PaintedPixel>& painted);
/// Restores the pixels, and empties the list.
void eraseOverlay(ViewImage& image, std::vector<PaintedPixel>& painted) noexcept;

} // namespace host
