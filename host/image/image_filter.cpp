#include "image_filter.h"

namespace host {

const ImageFilter* findImageFilter(LONG id) noexcept {
  static constexpr ImageFilter filters[] = {
      {FILTER_TIF, "TIFF", encodeTiff},
      {FILTER_BMP, "BMP", encodeBmp},
      {FILTER_JPG, "JPEG", encodeJpeg},
      {FILTER_PNG, "PNG", encodePng},
      {FILTER_EXR, "OpenEXR", encodeExr},
      {FILTER_PSD, "PSD", encodePsd},
      {FILTER_B3D, "OpenRaster", encodeOpenRaster},
  };
  for (const ImageFilter& filter : filters)
    if (filter.id == id) return &filter;
  return nullptr;
}

} // namespace host
