#include "weights.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace host::denoise {
namespace {

constexpr std::uint16_t magic = 0x41D7;
constexpr std::uint8_t majorVersion = 2;
constexpr std::uint32_t mostTensors = 1000, mostChannels = 4096;

constexpr std::array names = {"enc_conv0",  "enc_conv1",  "enc_conv2",  "enc_conv3",
                              "enc_conv4",  "enc_conv5a", "enc_conv5b", "dec_conv4a",
                              "dec_conv4b", "dec_conv3a", "dec_conv3b", "dec_conv2a",
                              "dec_conv2b", "dec_conv1a", "dec_conv1b", "dec_conv0"};

/// The archive's numbers, little endian. Every read is checked.
class Reader {
 public:
  Reader(std::span<const std::byte> bytes, std::uint64_t at) : bytes_(bytes), at_(at) {}

  std::span<const std::byte> take(std::uint64_t count) {
    if (at_ > bytes_.size() || count > bytes_.size() - at_) throw WeightsError("is cut short");
    const auto part = bytes_.subspan(static_cast<std::size_t>(at_), static_cast<std::size_t>(count));
    at_ += count;
    return part;
  }
  template <class Number>
  Number number() {
    std::uint64_t value = 0;
    int shift = 0;
    for (const std::byte byte : take(sizeof(Number))) {
      value |= std::to_integer<std::uint64_t>(byte) << shift;
      shift += 8;
    }
    return static_cast<Number>(value);
  }
  std::string text(std::uint64_t length) {
    const auto part = take(length);
    return {reinterpret_cast<const char*>(part.data()), part.size()};
  }

 private:
  std::span<const std::byte> bytes_;
  std::uint64_t at_;
};

/// IEEE 754 binary16 to binary32.
float fromHalf(std::uint16_t half) noexcept {
  const std::uint32_t sign = static_cast<std::uint32_t>(half & 0x8000u) << 16;
  const std::uint32_t exponent = (half >> 10) & 31u, fraction = half & 1023u;
  if (exponent == 0) { // zero and subnormal numbers
    const float magnitude = static_cast<float>(fraction) * 0x1p-24f;
    return sign ? -magnitude : magnitude;
  }
  const std::uint32_t widened = exponent == 31 ? 255 : exponent + 112;
  return std::bit_cast<float>(sign | (widened << 23) | (fraction << 13));
}

struct Tensor {
  std::vector<std::uint32_t> sizes;
  std::vector<float> values;
};

std::vector<float> readValues(Reader reader, char type, std::uint64_t count) {
  if (type != 'h' && type != 'f') throw WeightsError("holds numbers of an unknown type");
  reader =
      Reader(reader.take(count * (type == 'h' ? 2 : 4)), 0); // the size is checked before memory is taken
  std::vector<float> values(static_cast<std::size_t>(count));
  for (float& value : values)
    value = type == 'h' ? fromHalf(reader.number<std::uint16_t>())
                        : std::bit_cast<float>(reader.number<std::uint32_t>());
  return values;
}

Tensor readTensor(std::span<const std::byte> archive, Reader& table) {
  Tensor tensor;
  const auto rank = table.number<std::uint8_t>();
  if (rank != 1 && rank != 4) throw WeightsError("holds a tensor of rank " + std::to_string(rank));
  std::uint64_t count = 1;
  for (int i = 0; i < rank; ++i) {
    tensor.sizes.push_back(table.number<std::uint32_t>());
    if (tensor.sizes.back() < 1 || tensor.sizes.back() > mostChannels)
      throw WeightsError("holds a tensor of an impossible size");
    count *= tensor.sizes.back();
  }
  if (table.text(rank) != (rank == 4 ? "oihw" : "x"))
    throw WeightsError("holds a tensor of an unknown layout");
  const auto type = static_cast<char>(table.number<std::uint8_t>());
  tensor.values = readValues(Reader(archive, table.number<std::uint64_t>()), type, count);
  return tensor;
}

std::map<std::string, Tensor> readTensors(std::span<const std::byte> archive) {
  Reader header(archive, 0);
  if (header.number<std::uint16_t>() != magic) throw WeightsError("is not a tensor archive");
  if (header.number<std::uint8_t>() != majorVersion) throw WeightsError("has another version");
  header.number<std::uint8_t>(); // minor version
  Reader table(archive, header.number<std::uint64_t>());
  const auto count = table.number<std::uint32_t>();
  if (count > mostTensors) throw WeightsError("lists too many tensors");
  std::map<std::string, Tensor> tensors;
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::string name = table.text(table.number<std::uint16_t>());
    tensors[name] = readTensor(archive, table);
  }
  return tensors;
}

Convolution joined(std::map<std::string, Tensor>& tensors, const std::string& name) {
  const auto kernel = tensors.find(name + ".weight"), bias = tensors.find(name + ".bias");
  if (kernel == tensors.end() || bias == tensors.end()) throw WeightsError("lacks the tensors of " + name);
  const auto& sizes = kernel->second.sizes;
  if (sizes.size() != 4 || sizes[2] != 3 || sizes[3] != 3 || bias->second.sizes.size() != 1 ||
      bias->second.sizes[0] != sizes[0])
    throw WeightsError("has tensors of the wrong size for " + name);
  return {static_cast<int>(sizes[1]), static_cast<int>(sizes[0]), std::move(kernel->second.values),
          std::move(bias->second.values)};
}

} // namespace

Weights::Weights(std::span<const std::byte> archive) {
  auto tensors = readTensors(archive);
  for (const char* name : names)
    convolutions_[name] = joined(tensors, name);
  checkChannels();
}

void Weights::checkChannels() const {
  const Weights& w = *this;
  bool fit = inputs() == 3 || inputs() == 9;
  for (std::size_t i = 1; i < names.size(); ++i) {
    int expected = w[names[i - 1]].outputs;
    const std::string name = names[i];
    if (name == "dec_conv4a") expected += w["enc_conv3"].outputs;
    if (name == "dec_conv3a") expected += w["enc_conv2"].outputs;
    if (name == "dec_conv2a") expected += w["enc_conv1"].outputs;
    if (name == "dec_conv1a") expected += inputs();
    fit = fit && w[name].inputs == expected;
  }
  if (!fit || w["dec_conv0"].outputs != 3) throw WeightsError("holds another network");
}

} // namespace host::denoise
