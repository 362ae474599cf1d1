// The library's decoders check the bytes that they read; sizes, modes and filters are checked here before a
// call, and so is the least length of the packed data, so that a few bytes cannot ask for gigabytes.
#include "gltf_meshopt.h"

#include <meshoptimizer.h>

namespace host {

namespace {

constexpr const char* extensionName = "EXT_meshopt_compression";

struct PackedView {
  std::span<const std::byte> bytes;
  std::size_t count = 0, stride = 0;
  std::string mode, filter;

  const unsigned char* data() const { return reinterpret_cast<const unsigned char*>(bytes.data()); }
};

[[noreturn]] void fail(std::size_t view, const char* what) {
  throw SceneError("the compressed buffer view " + std::to_string(view) + " " + what);
}

PackedView packedView(const GltfFile& file, const Json& from, std::size_t view) {
  PackedView packed;
  const int buffer = indexIn(from, "buffer", file.buffers.size(), "buffer");
  if (buffer < 0) fail(view, "names no buffer");
  const std::span<const std::byte> all = file.buffers[static_cast<std::size_t>(buffer)].bytes;
  const std::size_t offset = sizeIn(from, "byteOffset"), length = sizeIn(from, "byteLength");
  if (offset > all.size() || length > all.size() - offset) fail(view, "reaches behind the end of its buffer");
  packed.bytes = all.subspan(offset, length);
  packed.count = sizeIn(from, "count");
  packed.stride = sizeIn(from, "byteStride");
  packed.mode = textIn(from, "mode");
  packed.filter = textIn(from, "filter");
  return packed;
}

// Elements of the sizes that the mode and the filter allow.
void checkForm(const PackedView& packed, std::size_t view) {
  const std::size_t stride = packed.stride;
  const bool plain = packed.filter.empty() || packed.filter == "NONE";
  bool good = false;
  if (packed.mode == "ATTRIBUTES")
    good = stride > 0 && stride <= 256 && stride % 4 == 0 &&
           (plain || packed.filter == "EXPONENTIAL" ||
            (packed.filter == "OCTAHEDRAL" && (stride == 4 || stride == 8)) ||
            (packed.filter == "QUATERNION" && stride == 8));
  else if (packed.mode == "TRIANGLES")
    good = plain && (stride == 2 || stride == 4) && packed.count % 3 == 0;
  else if (packed.mode == "INDICES")
    good = plain && (stride == 2 || stride == 4);
  if (!good) fail(view, "has a mode, filter or size of elements that do not go together");
}

// A triangle and an index take a byte at least; sixteen vertices take two bits for each of their bytes.
void checkLength(const PackedView& packed, std::size_t view, LoadContext& context) {
  const std::size_t least = packed.mode == "TRIANGLES" ? packed.count / 3
                            : packed.mode == "INDICES" ? packed.count
                                                       : packed.count / 64 * packed.stride;
  if (packed.count > 0 && packed.bytes.size() <= least) fail(view, "is cut off");
  context.spend(packed.count, (packed.stride + 3) / 4);
}

int decode(const PackedView& packed, void* out) {
  if (packed.mode == "TRIANGLES")
    return meshopt_decodeIndexBuffer(out, packed.count, packed.stride, packed.data(), packed.bytes.size());
  if (packed.mode == "INDICES")
    return meshopt_decodeIndexSequence(out, packed.count, packed.stride, packed.data(), packed.bytes.size());
  return meshopt_decodeVertexBuffer(out, packed.count, packed.stride, packed.data(), packed.bytes.size());
}

void applyFilter(const PackedView& packed, void* data) {
  if (packed.filter == "OCTAHEDRAL") meshopt_decodeFilterOct(data, packed.count, packed.stride);
  if (packed.filter == "QUATERNION") meshopt_decodeFilterQuat(data, packed.count, packed.stride);
  if (packed.filter == "EXPONENTIAL") meshopt_decodeFilterExp(data, packed.count, packed.stride);
}

BytesPtr unpack(const GltfFile& file, const Json& from, std::size_t view, LoadContext& context) {
  const PackedView packed = packedView(file, from, view);
  checkForm(packed, view);
  checkLength(packed, view, context);
  auto bytes = std::make_shared<Bytes>(packed.count * packed.stride);
  if (packed.count == 0) return bytes;
  if (decode(packed, bytes->data()) != 0) fail(view, "cannot be unpacked");
  applyFilter(packed, bytes->data());
  return bytes;
}

} // namespace

bool isFallbackBuffer(const Json& buffer) {
  return flagIn(extension(buffer, extensionName), "fallback");
}

void unpackViews(GltfFile& file, LoadContext& context) {
  const Json& views = member(file.root, "bufferViews");
  for (std::size_t i = 0; i < countOf(views); ++i) {
    const Json& from = extension(views[i], extensionName);
    if (!from.is_object()) continue;
    file.unpackedViews.resize(countOf(views));
    file.unpackedViews[i] = unpack(file, from, i, context);
    context.progress(0.3);
  }
}

} // namespace host
