// Numbers of a glTF file. Every offset and count is checked against the buffer before a byte is read.
#include <cmath>
#include <cstring>
#include <limits>

#include "gltf_file.h"

namespace host {

namespace {

std::size_t componentSize(int type) {
  switch (type) {
  case TINYGLTF_COMPONENT_TYPE_BYTE:
  case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
    return 1;
  case TINYGLTF_COMPONENT_TYPE_SHORT:
  case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
    return 2;
  case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
  case TINYGLTF_COMPONENT_TYPE_FLOAT:
    return 4;
  default:
    return 0;
  }
}

std::string named(int accessor) {
  return "accessor " + std::to_string(accessor);
}

// Elements `stride` bytes apart, all inside the buffer.
struct Run {
  const std::byte* data = nullptr;
  std::size_t stride = 0;
};

Run runIn(const GltfFile& file, int view, std::size_t offset, std::size_t count, std::size_t size,
          std::size_t stride, int accessor) {
  const auto bytes = viewBytes(file, view);
  if (stride == 0) stride = size;
  if (stride < size) throw SceneError(named(accessor) + " has pieces that overlap");
  const std::size_t room = bytes.size() < offset ? 0 : bytes.size() - offset;
  if (count > 0 && (room < size || (count - 1) > (room - size) / stride))
    throw SceneError(named(accessor) + " reaches behind the end of its data");
  return {bytes.data() + (count > 0 ? offset : 0), stride};
}

template <class T>
T load(const std::byte* at) {
  T value;
  std::memcpy(&value, at, sizeof(T));
  return value;
}

// The value of an integer: a fraction when it is normalised.
template <class T>
float asFloat(const std::byte* at, bool normalised) {
  const T value = load<T>(at);
  if constexpr (std::is_floating_point_v<T>) {
    return value;
  } else {
    const auto number = static_cast<float>(value);
    if (!normalised) return number;
    return std::max(number / static_cast<float>(std::numeric_limits<T>::max()), -1.0F);
  }
}

template <class T>
std::uint32_t asInteger(const std::byte* at) {
  const T value = load<T>(at);
  if constexpr (std::is_signed_v<T>)
    return value < 0 ? 0xFFFFFFFFU : static_cast<std::uint32_t>(value);
  else
    return value;
}

template <class Out, class T>
Out convert(const std::byte* at, [[maybe_unused]] bool normalised) {
  if constexpr (std::is_same_v<Out, float>)
    return asFloat<T>(at, normalised);
  else
    return asInteger<T>(at);
}

template <class Out, class T>
void copyRun(const Run& run, std::size_t count, std::size_t width, bool normalised, Out* out) {
  if (run.stride == width * sizeof(T)) { // one flat loop, which compilers make quick
    if constexpr (std::is_same_v<Out, T>) {
      if (count > 0) std::memcpy(out, run.data, count * run.stride);
    } else {
      for (std::size_t i = 0; i < count * width; ++i)
        out[i] = convert<Out, T>(run.data + i * sizeof(T), normalised);
    }
    return;
  }
  for (std::size_t i = 0; i < count; ++i)
    for (std::size_t k = 0; k < width; ++k)
      *out++ = convert<Out, T>(run.data + i * run.stride + k * sizeof(T), normalised);
}

template <class Out>
void copyRun(int type, const Run& run, std::size_t count, std::size_t width, bool normalised, Out* out) {
  switch (type) {
  case TINYGLTF_COMPONENT_TYPE_BYTE:
    return copyRun<Out, std::int8_t>(run, count, width, normalised, out);
  case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
    return copyRun<Out, std::uint8_t>(run, count, width, normalised, out);
  case TINYGLTF_COMPONENT_TYPE_SHORT:
    return copyRun<Out, std::int16_t>(run, count, width, normalised, out);
  case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
    return copyRun<Out, std::uint16_t>(run, count, width, normalised, out);
  case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
    return copyRun<Out, std::uint32_t>(run, count, width, normalised, out);
  default:
    break;
  }
  if constexpr (std::is_same_v<Out, float>) copyRun<Out, float>(run, count, width, normalised, out);
}

// The places and the new elements of a sparse accessor.
struct Replacement {
  std::vector<std::uint32_t> places; // all below the accessor's count
  Run pieces;
};

Replacement replacementOf(const GltfFile& file, const tinygltf::Accessor& accessor, int index,
                          std::size_t width) {
  Replacement replaced;
  const auto& sparse = accessor.sparse;
  if (sparse.count < 0 || sparse.indices.byteOffset < 0 || sparse.values.byteOffset < 0 ||
      static_cast<std::size_t>(sparse.count) > accessor.count)
    throw SceneError(named(index) + " replaces more than it has");
  const auto count = static_cast<std::size_t>(sparse.count);
  const std::size_t placeSize = componentSize(sparse.indices.componentType);
  if (placeSize == 0 || sparse.indices.componentType == TINYGLTF_COMPONENT_TYPE_FLOAT)
    throw SceneError(named(index) + " has indices that are not integers");
  const Run places = runIn(file, sparse.indices.bufferView,
                           static_cast<std::size_t>(sparse.indices.byteOffset), count, placeSize, 0, index);
  replaced.pieces = runIn(file, sparse.values.bufferView, static_cast<std::size_t>(sparse.values.byteOffset),
                          count, componentSize(accessor.componentType) * width, 0, index);
  replaced.places.resize(count);
  copyRun(sparse.indices.componentType, places, count, 1, false, replaced.places.data());
  for (const std::uint32_t place : replaced.places)
    if (place >= accessor.count) throw SceneError(named(index) + " replaces what it does not have");
  return replaced;
}

// The elements that the accessor stores; without a buffer view there are none, and all are 0.
Run storedRun(const GltfFile& file, const tinygltf::Accessor& accessor, int index, std::size_t size) {
  if (accessor.bufferView < 0) return {};
  const auto view = static_cast<std::size_t>(accessor.bufferView);
  const std::size_t stride =
      view < file.model.bufferViews.size() ? file.model.bufferViews[view].byteStride : 0;
  return runIn(file, accessor.bufferView, accessor.byteOffset, accessor.count, size, stride, index);
}

// `out` holds zeros.
template <class Out>
void fillFrom(const GltfFile& file, int index, std::size_t width, Out* out) {
  const tinygltf::Accessor& accessor = accessorAt(file, index);
  const int type = accessor.componentType;
  const Run run = storedRun(file, accessor, index, componentSize(type) * width);
  if (run.data) copyRun(type, run, accessor.count, width, accessor.normalized, out);
  if (!accessor.sparse.isSparse) return;
  const Replacement replaced = replacementOf(file, accessor, index, width);
  for (std::size_t i = 0; i < replaced.places.size(); ++i)
    copyRun(type, Run{replaced.pieces.data + i * replaced.pieces.stride, replaced.pieces.stride}, 1, width,
            accessor.normalized, out + replaced.places[i] * width);
}

bool isFiniteNumber(float value) {
  std::uint32_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return (bits & 0x7F800000U) != 0x7F800000U;
}

void dropNotFinite(std::span<float> values, LoadContext& context) {
  std::size_t wrong = 0;
  for (const float value : values)
    wrong += isFiniteNumber(value) ? 0 : 1;
  if (wrong == 0) return;
  context.notFinite += wrong;
  for (float& value : values)
    if (!isFiniteNumber(value)) value = 0;
}

} // namespace

const tinygltf::Accessor& accessorAt(const GltfFile& file, int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= file.model.accessors.size())
    throw SceneError("it refers to " + named(index) + ", which is not in it");
  return file.model.accessors[static_cast<std::size_t>(index)];
}

std::span<const std::byte> viewBytes(const GltfFile& file, int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= file.model.bufferViews.size())
    throw SceneError("it refers to buffer view " + std::to_string(index) + ", which is not in it");
  const tinygltf::BufferView& view = file.model.bufferViews[static_cast<std::size_t>(index)];
  if (view.buffer < 0 || static_cast<std::size_t>(view.buffer) >= file.buffers.size())
    throw SceneError("buffer view " + std::to_string(index) + " refers to a buffer that is not there");
  if (const auto place = static_cast<std::size_t>(index);
      place < file.unpackedViews.size() && file.unpackedViews[place])
    return *file.unpackedViews[place];
  const std::span<const std::byte> buffer = file.buffers[static_cast<std::size_t>(view.buffer)].bytes;
  if (view.byteOffset > buffer.size() || view.byteLength > buffer.size() - view.byteOffset)
    throw SceneError("buffer view " + std::to_string(index) + " reaches behind the end of its buffer");
  return buffer.subspan(view.byteOffset, view.byteLength);
}

std::size_t accessorWidth(const GltfFile& file, int index) {
  switch (accessorAt(file, index).type) {
  case TINYGLTF_TYPE_SCALAR:
    return 1;
  case TINYGLTF_TYPE_VEC2:
    return 2;
  case TINYGLTF_TYPE_VEC3:
    return 3;
  case TINYGLTF_TYPE_VEC4:
  case TINYGLTF_TYPE_MAT2:
    return 4;
  case TINYGLTF_TYPE_MAT3:
    return 9;
  default:
    return 16;
  }
}

std::size_t countElements(const GltfFile& file, int index, std::size_t width, LoadContext& context) {
  const tinygltf::Accessor& accessor = accessorAt(file, index);
  if (componentSize(accessor.componentType) == 0)
    throw SceneError(named(index) + " has an unknown component type");
  if (accessorWidth(file, index) != width)
    throw SceneError(named(index) + " has " + std::to_string(accessorWidth(file, index)) +
                     " numbers a piece where " + std::to_string(width) + " are needed");
  context.spend(accessor.count, width);
  storedRun(file, accessor, index, componentSize(accessor.componentType) * width); // its bytes are there
  return accessor.count;
}

void fillFloats(const GltfFile& file, int accessor, std::size_t width, LoadContext& context,
                std::span<float> out) {
  fillFrom(file, accessor, width, out.data());
  dropNotFinite(out, context);
}

std::vector<float> readFloats(const GltfFile& file, int accessor, std::size_t width, LoadContext& context) {
  std::vector<float> values(countElements(file, accessor, width, context) * width);
  fillFloats(file, accessor, width, context, values);
  return values;
}

std::size_t countIntegers(const GltfFile& file, int accessor, std::size_t width, LoadContext& context) {
  if (accessorAt(file, accessor).componentType == TINYGLTF_COMPONENT_TYPE_FLOAT)
    throw SceneError(named(accessor) + " must hold whole numbers");
  return countElements(file, accessor, width, context);
}

void fillIntegers(const GltfFile& file, int accessor, std::size_t width, std::span<std::uint32_t> out) {
  fillFrom(file, accessor, width, out.data());
}

std::vector<std::uint32_t> readIntegers(const GltfFile& file, int accessor, std::size_t width,
                                        LoadContext& context) {
  std::vector<std::uint32_t> values(countIntegers(file, accessor, width, context) * width);
  fillIntegers(file, accessor, width, values);
  return values;
}

Bytes readRaw(const GltfFile& file, int index, LoadContext& context) {
  const tinygltf::Accessor& accessor = accessorAt(file, index);
  const std::size_t width = accessorWidth(file, index), count = countElements(file, index, width, context),
                    size = componentSize(accessor.componentType) * width;
  Bytes bytes(count * size);
  const auto put = [&](std::size_t place, const std::byte* from) {
    std::memcpy(bytes.data() + place * size, from, size);
  };
  const Run run = storedRun(file, accessor, index, size);
  for (std::size_t i = 0; run.data && i < count; ++i)
    put(i, run.data + i * run.stride);
  if (!accessor.sparse.isSparse) return bytes;
  const Replacement replaced = replacementOf(file, accessor, index, width);
  for (std::size_t i = 0; i < replaced.places.size(); ++i)
    put(replaced.places[i], replaced.pieces.data + i * replaced.pieces.stride);
  return bytes;
}

} // namespace host
