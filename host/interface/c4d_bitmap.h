// Pictures: bitmaps, clip maps with text, and movies.
#pragma once

#include <atomic>

#include "c4d_container.h"
#include "c4d_file.h"

enum IMAGERESULT {
  IMAGERESULT_OK = 1,
  IMAGERESULT_NOTEXISTING = -1,
  IMAGERESULT_WRONGTYPE = -2,
  IMAGERESULT_OUTOFMEMORY = -3,
  IMAGERESULT_FILEERROR = -4,
  IMAGERESULT_FILESTRUCTURE = -5,
  IMAGERESULT_MISC_ERROR = -6,
  IMAGERESULT_PARAM_ERROR = -7
};
/// ALPHA: the alpha channel is written too.
enum SAVEBIT { SAVEBIT_0 = 0, SAVEBIT_ALPHA = 1 };

// Image filters, for `BaseBitmap::Save`, and movie formats (AVI, MOVIE: QuickTime), for MovieSaver.
inline constexpr LONG FILTER_TIF = 1100;
inline constexpr LONG FILTER_BMP = 1102;
inline constexpr LONG FILTER_JPG = 1104;
inline constexpr LONG FILTER_PSD = 1106;
inline constexpr LONG FILTER_B3D = 1109;
inline constexpr LONG FILTER_AVI = 1122;
inline constexpr LONG FILTER_MOVIE = 1125;
inline constexpr LONG FILTER_EXR = 1016606;
inline constexpr LONG FILTER_PNG = 1023671;
/// In a filter's options: JPEG quality (LONG, 0 to 100, 90).
inline constexpr LONG JPGSAVER_QUALITY = 10021;

/// The bytes of one pixel in a row of pixels.
enum COLORMODE {
  COLORMODE_RGB = 4, ///< red, green, blue
  COLORMODE_ARGB = 5 ///< alpha, red, green, blue
};
enum PIXELCNT { PIXELCNT_0 = 0 };

/// A picture of 24 or 32 bits a pixel, sRGB, 8 bits a channel; depth 32 has a straight alpha channel.
/// Pixels are relaxed atomic words: any thread reads and writes them. The shape changes (`Init`, `FlushAll`,
/// `CopyTo` into it) only while no other thread uses the bitmap.
class C4D_API BaseBitmap {
 public:
  static BaseBitmap* Alloc();
  static void Free(BaseBitmap*& bitmap);

  /// Empties it and makes it black (and opaque), at most 32768 x 32768 pixels; depth 24 or 32.
  IMAGERESULT Init(LONG width, LONG height, LONG depth = 24);
  /// Loads a picture file: PNG, JPEG, TIFF, OpenEXR, HDR, BMP, GIF, TGA, WebP, PNM, PSD; 32 bits when the
  /// file has an alpha channel, floats through the display transform. On failure the bitmap is empty:
  /// NOTEXISTING, FILEERROR (no rights, no file), WRONGTYPE (no picture), FILESTRUCTURE (damaged),
  /// OUTOFMEMORY (too large).
  IMAGERESULT Init(const Filename& name);
  void FlushAll();

  LONG GetBw() const noexcept { return width_; }
  LONG GetBh() const noexcept { return height_; }
  LONG GetBt() const noexcept { return depth_; } // bits a pixel; 0 when empty

  /// Red, green, blue 0 to 255. A read outside gives black, a write outside is ignored; values are cut to
  /// their low 8 bits.
  void GetPixel(LONG x, LONG y, UWORD* r, UWORD* g, UWORD* b) const noexcept {
    const ULONG word = Inside(x, y) ? Load(x, y) : 0;
    *r = static_cast<UWORD>((word >> 16) & 255);
    *g = static_cast<UWORD>((word >> 8) & 255);
    *b = static_cast<UWORD>(word & 255);
  }
  Bool SetPixel(LONG x, LONG y, LONG r, LONG g, LONG b) noexcept {
    if (!Inside(x, y)) return 0;
    const ULONG colour = ((static_cast<ULONG>(r) & 255) << 16) | ((static_cast<ULONG>(g) & 255) << 8) |
                         (static_cast<ULONG>(b) & 255);
    Store(x, y, (Load(x, y) & 0xff000000u) | colour);
    return 1;
  }
  /// 0 to 255; 255 for a bitmap without an alpha channel, 0 outside.
  UWORD GetAlpha(LONG x, LONG y) const noexcept {
    return Inside(x, y) ? static_cast<UWORD>(depth_ == 32 ? Load(x, y) >> 24 : 255) : static_cast<UWORD>(0);
  }
  Bool SetAlpha(LONG x, LONG y, LONG alpha) noexcept {
    if (!Inside(x, y) || depth_ != 32) return 0;
    Store(x, y, (Load(x, y) & 0xffffffu) | ((static_cast<ULONG>(alpha) & 255) << 24));
    return 1;
  }

  /// Reads `count` pixels of a row into `buffer`; a pixel begins `inc` bytes after the one before. Pixels
  /// outside are black, with alpha 0.
  void GetPixelCnt(LONG x, LONG y, LONG count, UCHAR* buffer, LONG inc, COLORMODE mode,
                   PIXELCNT flags = PIXELCNT_0) const noexcept;
  /// Writes such a row. Pixels outside are left out; the alpha channel stays with COLORMODE_RGB and at
  /// depth 24. 0 when no pixel of the row is inside.
  Bool SetPixelCnt(LONG x, LONG y, LONG count, const UCHAR* buffer, LONG inc, COLORMODE mode,
                   PIXELCNT flags = PIXELCNT_0) noexcept;

  /// Fills all or a rectangle of inclusive bounds, which is cut to the bitmap. The alpha channel stays.
  void Clear(LONG r, LONG g, LONG b) noexcept;
  void Clear(LONG x1, LONG y1, LONG x2, LONG y2, LONG r, LONG g, LONG b) noexcept;

  BaseBitmap* GetClone() const;
  /// A part of it as a new bitmap; null when the part has no area or leaves the bitmap.
  BaseBitmap* GetClonePart(LONG x, LONG y, LONG width, LONG height) const;
  /// Copies shape and pixels to `target`.
  Bool CopyTo(BaseBitmap* target) const;
  /// Resamples into all of `target`. `intensity` (0 to 256) weighs the result against the target's pixels;
  /// `sample` averages over a pixel's area (interpolates when enlarging), else the nearest pixel is taken;
  /// `proportional` keeps the aspect, centres the picture and leaves the rest of the target. Channels are
  /// averaged as codes, each on its own.
  void ScaleIt(BaseBitmap* target, LONG intensity, Bool sample, Bool proportional) const;

  /// Saves through the image filter `format` (FILTER_...), written beside the target and renamed. A failure
  /// also enters the host's record of failed writes. EXR holds the float film when a renderer left one, and
  /// the linear light of the codes where pixels were drawn over since. B3D is an OpenRaster document. TIFF,
  /// PNG, EXR, PSD and B3D write the alpha channel with SAVEBIT_ALPHA when the depth is 32; BMP and JPEG
  /// never do. WRONGTYPE: the filter is unknown or a movie format. FILEERROR: the file could not be written.
  IMAGERESULT Save(const Filename& name, LONG format, const BaseContainer* options = nullptr,
                   SAVEBIT bits = SAVEBIT_0) const;

 private:
  friend struct host::Access;
  BaseBitmap();
  ~BaseBitmap();
  BaseBitmap(const BaseBitmap&) = delete;
  BaseBitmap& operator=(const BaseBitmap&) = delete;

  bool Inside(LONG x, LONG y) const noexcept {
    return static_cast<ULONG>(x) < static_cast<ULONG>(width_) &&
           static_cast<ULONG>(y) < static_cast<ULONG>(height_);
  }
  std::atomic<ULONG>& Word(LONG x, LONG y) const noexcept {
    return pixels_[static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
                   static_cast<std::size_t>(x)];
  }
  ULONG Load(LONG x, LONG y) const noexcept { return Word(x, y).load(std::memory_order_relaxed); }
  void Store(LONG x, LONG y, ULONG word) noexcept { Word(x, y).store(word, std::memory_order_relaxed); }

  LONG width_ = 0, height_ = 0, depth_ = 0;
  std::atomic<ULONG>* pixels_ = nullptr; // 0xAARRGGBB, rows from the top
  host::BitmapData* data_ = nullptr;     // the host's
};

enum GE_CM_DRAWMODE { GE_CM_DRAWMODE_COPY = 0, GE_CM_DRAWMODE_BLEND = 1 };

/// A drawing surface of 32 bits with text. One thread at a time. Between `BeginDraw` and `EndDraw` it draws;
/// outside that, calls that draw do nothing.
class C4D_API GeClipMap {
 public:
  static GeClipMap* Alloc();
  static void Free(GeClipMap*& map);

  /// Transparent black, or the picture of a file (then 32 bits).
  IMAGERESULT Init(LONG width, LONG height, LONG bits = 32);
  IMAGERESULT Init(const Filename& name);
  void Destroy();
  LONG GetBw() const noexcept { return width_; }
  LONG GetBh() const noexcept { return height_; }

  void BeginDraw();
  void EndDraw();
  /// COPY writes colour and alpha (text: alpha times coverage); BLEND mixes the colour by alpha * value / 255
  /// onto what is there.
  void SetDrawMode(GE_CM_DRAWMODE mode, LONG value = 255);
  void SetColor(LONG r, LONG g, LONG b, LONG a = 255);
  /// Writes whatever the draw mode, also outside `BeginDraw`; values are cut to 0 to 255, outside is ignored.
  void SetPixelRGBA(LONG x, LONG y, LONG r, LONG g, LONG b, LONG a = 255) noexcept {
    if (!Inside(x, y)) return;
    pixels_[Index(x, y)] = (Byte(a) << 24) | (Byte(r) << 16) | (Byte(g) << 8) | Byte(b);
  }
  /// Outside is 0; a null pointer is passed over.
  void GetPixelRGBA(LONG x, LONG y, LONG* r, LONG* g, LONG* b, LONG* a) const noexcept {
    const ULONG word = Inside(x, y) ? pixels_[Index(x, y)] : 0;
    if (r) *r = static_cast<LONG>((word >> 16) & 255);
    if (g) *g = static_cast<LONG>((word >> 8) & 255);
    if (b) *b = static_cast<LONG>(word & 255);
    if (a) *a = static_cast<LONG>(word >> 24);
  }
  void FillRect(LONG x1, LONG y1, LONG x2, LONG y2); // inclusive
  void Line(LONG x1, LONG y1, LONG x2, LONG y2);
  /// Draws the part of another map from (sx1, sy1) to (sx2, sy2), inclusive and cut to it, at (x, y), by the
  /// draw mode and its alpha.
  void Blit(LONG x, LONG y, const GeClipMap& source, LONG sx1, LONG sy1, LONG sx2, LONG sy2);

  /// The default font, set so that its ascender and descender are `pixels` (default 16, 1 to 4096) apart. Any
  /// script: another installed font stands in for missing glyphs.
  void SetFontSize(LONG pixels);
  LONG GetTextWidth(const String& text) const;
  /// One value for every text of this size: the size.
  LONG GetTextHeight() const;
  LONG GetTextAscent() const;
  /// The text's upper left corner is at (x, y). One line: control characters draw nothing.
  void TextAt(LONG x, LONG y, const String& text);

 private:
  GeClipMap();
  ~GeClipMap();
  GeClipMap(const GeClipMap&) = delete;
  GeClipMap& operator=(const GeClipMap&) = delete;

  static constexpr ULONG Byte(LONG value) noexcept {
    return value < 0 ? 0u : value > 255 ? 255u : static_cast<ULONG>(value);
  }
  bool Inside(LONG x, LONG y) const noexcept {
    return static_cast<ULONG>(x) < static_cast<ULONG>(width_) &&
           static_cast<ULONG>(y) < static_cast<ULONG>(height_);
  }
  std::size_t Index(LONG x, LONG y) const noexcept {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x);
  }

  LONG width_ = 0, height_ = 0;
  ULONG* pixels_ = nullptr; // 0xAARRGGBB, rows from the top; kept in `data_`
  struct Data;
  Data* data_;
};

/// Writes a movie. One thread at a time. `Close` puts the whole file under its name: until then, and when
/// nothing was written, the file that was there stays.
class C4D_API MovieSaver {
 public:
  static MovieSaver* Alloc();
  static void Free(MovieSaver*& saver); // closes

  /// Begins a movie of the bitmap's size at `fps` (1 to 1000) frames a second in the format FILTER_AVI or
  /// FILTER_MOVIE. `options` holds the choices of `Choose`; null or empty: a default that plays everywhere.
  /// With SAVEBIT_ALPHA the alpha of a 32-bit bitmap is written where the codec has one. A movie that is open
  /// is closed first. A failure also enters the host's record of failed writes.
  IMAGERESULT Open(const Filename& name, BaseBitmap* bitmap, LONG fps, LONG format,
                   const BaseContainer* options, SAVEBIT bits);
  /// Adds a frame of the size given at `Open`. Another thread encodes it; a failure shows in a later call.
  IMAGERESULT Write(BaseBitmap* bitmap);
  /// Ends the movie; false (and an entry in the record of failed writes) when it could not be written whole.
  Bool Close();
  /// Lets the user edit the format's choices (LONG values under 10000 to 10004 and 10010 to 10020). False
  /// when cancelled or there is nothing to choose. Main thread.
  Bool Choose(LONG format, BaseContainer& options);

 private:
  MovieSaver();
  ~MovieSaver();
  MovieSaver(const MovieSaver&) = delete;
  MovieSaver& operator=(const MovieSaver&) = delete;
  struct Data;
  Data* data_;
};

/// Shows a copy of the bitmap in the host's Picture Viewer. Main thread.
C4D_API Bool ShowBitmap(BaseBitmap* bitmap);
/// A bitmap from the calling plug-in's `res/`, else `res/gui/`, by file name; null when neither has it. The
/// caller frees it. Any thread.
C4D_API BaseBitmap* AutoBitmap(const String& name);
