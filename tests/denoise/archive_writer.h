// Writes small tensor archives, right ones and damaged ones.
#pragma once

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace host::denoise {

/// A network of 8 channels everywhere and 3 in and out. Every number is zero but those that are given.
struct ArchiveWriter {
  std::uint16_t magic = 0x41D7;
  std::uint8_t version = 2;
  char type = 'h';
  std::string layout = "oihw";
  std::uint32_t count = 0;                                 // 0: as many as there are
  std::uint64_t tableOffset = 0, dataOffset = 0;           // 0: the right ones
  std::map<std::string, std::vector<std::uint32_t>> sizes; // by tensor
  std::map<std::string, std::vector<std::uint16_t>> halves;
  std::map<std::string, std::vector<float>> floats;

  ArchiveWriter() {
    const auto add = [this](const std::string& name, std::uint32_t inputs, std::uint32_t outputs = 8) {
      sizes[name + ".weight"] = {outputs, inputs, 3, 3};
      sizes[name + ".bias"] = {outputs};
    };
    add("enc_conv0", 3);
    for (const char* name : {"enc_conv1", "enc_conv2", "enc_conv3", "enc_conv4", "enc_conv5a", "enc_conv5b",
                             "dec_conv4b", "dec_conv3b", "dec_conv2b", "dec_conv1b"})
      add(name, 8);
    for (const char* name : {"dec_conv4a", "dec_conv3a", "dec_conv2a"})
      add(name, 16);
    add("dec_conv1a", 11);
    add("dec_conv0", 8, 3);
  }

  std::string write() const {
    std::string data, table;
    put(table, count ? count : static_cast<std::uint32_t>(sizes.size()));
    for (const auto& [name, shape] : sizes) {
      put(table, static_cast<std::uint16_t>(name.size()));
      table += name;
      put(table, static_cast<std::uint8_t>(shape.size()));
      for (const std::uint32_t size : shape)
        put(table, size);
      table += shape.size() == 4 ? layout : "x";
      table += type;
      put(table, dataOffset ? dataOffset : 12 + data.size());
      putValues(data, name, shape);
    }
    std::string archive;
    put(archive, magic);
    put(archive, version);
    put(archive, std::uint8_t{0});
    put(archive, tableOffset ? tableOffset : 12 + data.size());
    return archive + data + table;
  }

 private:
  template <class Number>
  static void put(std::string& to, Number number) {
    for (std::size_t i = 0; i < sizeof(Number); ++i)
      to += static_cast<char>(static_cast<std::uint64_t>(number) >> (8 * i) & 255);
  }
  void putValues(std::string& data, const std::string& name, const std::vector<std::uint32_t>& shape) const {
    std::uint64_t values = 1;
    for (const std::uint32_t size : shape)
      values *= size;
    if (values > 100'000) return; // a lie
    if (const auto given = halves.find(name); given != halves.end()) {
      for (const std::uint16_t half : given->second)
        put(data, half);
    } else if (const auto given32 = floats.find(name); given32 != floats.end()) {
      for (const float value : given32->second) {
        std::uint32_t bits;
        std::memcpy(&bits, &value, 4);
        put(data, bits);
      }
    } else {
      data.append(values * (type == 'f' ? 4 : 2), '\0');
    }
  }
};

} // namespace host::denoise
