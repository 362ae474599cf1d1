#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <jpeglib.h>

#include <array>

#include <webp/encode.h>
#include <webp/mux.h>

#include <gtest/gtest.h>

#include "picture_files.h"

namespace picture_files {
namespace {

Bytes bytesOf(const void* data, std::size_t size) {
  const auto* bytes = static_cast<const std::byte*>(data);
  return {bytes, bytes + size};
}

Bytes saved(cmsHPROFILE profile) {
  cmsUInt32Number size = 0;
  EXPECT_TRUE(cmsSaveProfileToMem(profile, nullptr, &size));
  Bytes bytes(size);
  EXPECT_TRUE(cmsSaveProfileToMem(profile, bytes.data(), &size));
  cmsCloseProfile(profile);
  return bytes;
}

struct MemoryFile {
  std::vector<char> bytes;
  std::size_t at = 0;
};

MemoryFile& fileOf(thandle_t handle) {
  return *static_cast<MemoryFile*>(handle);
}

tmsize_t readFile(thandle_t handle, void* to, tmsize_t count) {
  MemoryFile& file = fileOf(handle);
  const std::size_t there =
      std::min(static_cast<std::size_t>(count), file.bytes.size() - std::min(file.at, file.bytes.size()));
  std::memcpy(to, file.bytes.data() + file.at, there);
  file.at += there;
  return static_cast<tmsize_t>(there);
}

tmsize_t writeFile(thandle_t handle, void* from, tmsize_t count) {
  MemoryFile& file = fileOf(handle);
  file.bytes.resize(std::max(file.bytes.size(), file.at + static_cast<std::size_t>(count)));
  std::memcpy(file.bytes.data() + file.at, from, static_cast<std::size_t>(count));
  file.at += static_cast<std::size_t>(count);
  return count;
}

toff_t seekFile(thandle_t handle, toff_t offset, int from) {
  MemoryFile& file = fileOf(handle);
  file.at = static_cast<std::size_t>(offset) + (from == SEEK_CUR   ? file.at
                                                : from == SEEK_END ? file.bytes.size()
                                                                   : 0);
  return file.at;
}

} // namespace

Bytes makePng(const PngParts& parts, const Values& rows) {
  spng_ctx* png = spng_ctx_new(SPNG_CTX_ENCODER);
  spng_set_option(png, SPNG_ENCODE_TO_BUFFER, 1);
  spng_ihdr header{parts.width,
                   parts.height,
                   static_cast<std::uint8_t>(parts.depth),
                   static_cast<std::uint8_t>(parts.colors),
                   0,
                   0,
                   static_cast<std::uint8_t>(parts.interlaced)};
  EXPECT_EQ(spng_set_ihdr(png, &header), 0);
  spng_plte palette{};
  spng_trns transparent{};
  for (const auto& entry : parts.palette) {
    palette.entries[palette.n_entries++] = {entry[0], entry[1], entry[2], 0};
    transparent.type3_alpha[transparent.n_type3_entries++] = entry[3];
  }
  if (!parts.palette.empty()) {
    EXPECT_EQ(spng_set_plte(png, &palette), 0);
    EXPECT_EQ(spng_set_trns(png, &transparent), 0);
  }
  Bytes profile = parts.profile, exif = parts.exif;
  spng_iccp icc{};
  std::strcpy(icc.profile_name, "profile");
  icc.profile = reinterpret_cast<char*>(profile.data());
  icc.profile_len = profile.size();
  if (!profile.empty()) {
    EXPECT_EQ(spng_set_iccp(png, &icc), 0);
  }
  spng_exif note{exif.size(), reinterpret_cast<char*>(exif.data())};
  if (!exif.empty()) {
    EXPECT_EQ(spng_set_exif(png, &note), 0);
  }
  EXPECT_EQ(spng_encode_image(png, rows.data(), rows.size(), SPNG_FMT_RAW, SPNG_ENCODE_FINALIZE), 0);
  std::size_t size = 0;
  int error = 0;
  void* file = spng_get_png_buffer(png, &size, &error);
  Bytes bytes = bytesOf(file, size);
  std::free(file);
  spng_ctx_free(png);
  return bytes;
}

Bytes makeExif(int orientation, bool lowestFirst) {
  const auto value = static_cast<unsigned char>(orientation);
  const Values little{'I', 'I', 42, 0, 8, 0,     0, 0, 1, 0, 0x12, 1, 3,
                      0,   1,   0,  0, 0, value, 0, 0, 0, 0, 0,    0, 0};
  const Values big{'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 1, 0x12, 0, 3, 0, 0, 0, 1, 0, value, 0, 0, 0, 0, 0, 0};
  const Values& block = lowestFirst ? little : big;
  return bytesOf(block.data(), block.size());
}

Bytes makeJpeg(const JpegParts& parts, const Values& pixels) {
  jpeg_compress_struct jpeg{};
  jpeg_error_mgr errors;
  jpeg.err = jpeg_std_error(&errors);
  jpeg_create_compress(&jpeg);
  unsigned char* file = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&jpeg, &file, &size);
  jpeg.image_width = parts.width;
  jpeg.image_height = parts.height;
  jpeg.input_components = parts.channels;
  jpeg.in_color_space = parts.channels == 1 ? JCS_GRAYSCALE : parts.channels == 3 ? JCS_RGB : JCS_CMYK;
  jpeg_set_defaults(&jpeg);
  if (parts.stored) jpeg_set_colorspace(&jpeg, static_cast<J_COLOR_SPACE>(parts.stored));
  jpeg_set_quality(&jpeg, 100, TRUE);
  jpeg.comp_info[0].h_samp_factor = jpeg.comp_info[0].v_samp_factor = 1;
  if (parts.progressive) jpeg_simple_progression(&jpeg);
  jpeg_start_compress(&jpeg, TRUE);
  if (parts.orientation) {
    Bytes exif = bytesOf("Exif\0\0", 6), block = makeExif(parts.orientation, false);
    exif.insert(exif.end(), block.begin(), block.end());
    jpeg_write_marker(&jpeg, JPEG_APP0 + 1, reinterpret_cast<JOCTET*>(exif.data()),
                      static_cast<unsigned>(exif.size()));
  }
  if (!parts.profile.empty())
    jpeg_write_icc_profile(&jpeg, reinterpret_cast<const JOCTET*>(parts.profile.data()),
                           static_cast<unsigned>(parts.profile.size()));
  const std::size_t row = std::size_t{parts.width} * static_cast<std::size_t>(parts.channels);
  for (std::size_t y = 0; y < parts.height; ++y) {
    auto* values = const_cast<JSAMPLE*>(pixels.data() + y * row);
    jpeg_write_scanlines(&jpeg, &values, 1);
  }
  jpeg_finish_compress(&jpeg);
  Bytes bytes = bytesOf(file, size);
  jpeg_destroy_compress(&jpeg);
  std::free(file);
  return bytes;
}

Bytes makeTiff(const char* mode, const std::function<void(TIFF*)>& fill) {
  MemoryFile file;
  TIFF* tiff = TIFFClientOpen(
      "test", mode, &file, readFile, writeFile, seekFile, [](thandle_t) { return 0; },
      [](thandle_t handle) -> toff_t { return fileOf(handle).bytes.size(); },
      [](thandle_t, void**, toff_t*) { return 0; }, [](thandle_t, void*, toff_t) {});
  fill(tiff);
  TIFFClose(tiff);
  return bytesOf(file.bytes.data(), file.bytes.size());
}

void setTags(TIFF* tiff, std::uint32_t width, std::uint32_t height, int samples, int bits, int format,
             int colors) {
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits);
  TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, format);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, colors);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 2);
}

void writeRows(TIFF* tiff, std::uint32_t height, const void* rows, std::size_t rowBytes) {
  std::vector<unsigned char> row(rowBytes);
  for (std::uint32_t y = 0; y < height; ++y) {
    std::memcpy(row.data(), static_cast<const unsigned char*>(rows) + y * rowBytes, rowBytes);
    EXPECT_EQ(TIFFWriteScanline(tiff, row.data(), y, 0), 1);
  }
}

Bytes makeWebp(unsigned width, unsigned height, const Values& rgba, float quality, const Bytes& profile) {
  std::uint8_t* file = nullptr;
  const int w = static_cast<int>(width), h = static_cast<int>(height);
  const std::size_t size = quality > 0 ? WebPEncodeRGBA(rgba.data(), w, h, w * 4, quality, &file)
                                       : WebPEncodeLosslessRGBA(rgba.data(), w, h, w * 4, &file);
  WebPMux* mux = WebPMuxNew();
  const WebPData image{file, size},
      icc{reinterpret_cast<const std::uint8_t*>(profile.data()), profile.size()};
  WebPMuxSetImage(mux, &image, 1);
  if (!profile.empty()) WebPMuxSetChunk(mux, "ICCP", &icc, 1);
  WebPData whole{};
  EXPECT_EQ(WebPMuxAssemble(mux, &whole), WEBP_MUX_OK);
  Bytes bytes = bytesOf(whole.bytes, whole.size);
  WebPDataClear(&whole);
  WebPMuxDelete(mux);
  WebPFree(file);
  return bytes;
}

Bytes makeAnimation(unsigned width, unsigned height, const Values& first, const Values& second) {
  const int w = static_cast<int>(width), h = static_cast<int>(height);
  WebPAnimEncoder* encoder = WebPAnimEncoderNew(w, h, nullptr);
  int time = 0;
  for (const Values* pixels : {&first, &second}) {
    WebPConfig config;
    WebPConfigInit(&config);
    config.lossless = config.exact = 1;
    WebPPicture picture;
    WebPPictureInit(&picture);
    picture.width = w;
    picture.height = h;
    picture.use_argb = 1;
    WebPPictureImportRGBA(&picture, pixels->data(), w * 4);
    EXPECT_TRUE(WebPAnimEncoderAdd(encoder, &picture, time, &config));
    WebPPictureFree(&picture);
    time += 100;
  }
  WebPAnimEncoderAdd(encoder, nullptr, time, nullptr);
  WebPData whole{};
  EXPECT_TRUE(WebPAnimEncoderAssemble(encoder, &whole));
  Bytes bytes = bytesOf(whole.bytes, whole.size);
  WebPDataClear(&whole);
  WebPAnimEncoderDelete(encoder);
  return bytes;
}

Bytes rgbProfile(double exponent) {
  const cmsCIExyY white{0.3127, 0.3290, 1};
  const cmsCIExyYTRIPLE primaries{{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}};
  cmsToneCurve* curve = cmsBuildGamma(nullptr, exponent);
  cmsToneCurve* curves[] = {curve, curve, curve};
  Bytes bytes = saved(cmsCreateRGBProfile(&white, &primaries, curves));
  cmsFreeToneCurve(curve);
  return bytes;
}

Bytes greyProfile(double exponent) {
  cmsToneCurve* curve = cmsBuildGamma(nullptr, exponent);
  Bytes bytes = saved(cmsCreateGrayProfile(cmsD50_xyY(), curve));
  cmsFreeToneCurve(curve);
  return bytes;
}

Bytes inkProfile() {
  cmsHPROFILE profile = cmsCreateProfilePlaceholder(nullptr);
  cmsSetDeviceClass(profile, cmsSigOutputClass);
  cmsSetColorSpace(profile, cmsSigCmykData);
  cmsSetPCS(profile, cmsSigLabData);
  cmsSetProfileVersion(profile, 2.1);
  cmsPipeline* steps = cmsPipelineAlloc(nullptr, 4, 3);
  cmsStage* table = cmsStageAllocCLut16bit(nullptr, 2, 4, 3, nullptr);
  cmsStageSampleCLut16bit(
      table,
      [](const cmsUInt16Number* in, cmsUInt16Number* out, void*) -> cmsInt32Number {
        out[0] = static_cast<cmsUInt16Number>((65535U - in[3]) * 0xff00U / 65535U); // from black alone
        out[1] = out[2] = 0x8000;                                                   // no colour
        return TRUE;
      },
      nullptr, 0);
  cmsPipelineInsertStage(steps, cmsAT_END, table);
  cmsWriteTag(profile, cmsSigAToB0Tag, steps);
  cmsPipelineFree(steps);
  return saved(profile);
}

Bytes linkProfile() {
  return saved(cmsCreateInkLimitingDeviceLink(cmsSigCmykData, 300));
}

} // namespace picture_files
