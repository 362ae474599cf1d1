// Scenes of any size for the benches, made when they are needed.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

/// A binary glTF file of one hilly mesh with about this many triangles, with normals, seen from above.
class GeneratedScene {
 public:
  explicit GeneratedScene(std::size_t triangles)
      : side_(static_cast<std::uint32_t>(std::sqrt(static_cast<double>(triangles) / 2))) {}

  /// Writes the file, unless an earlier run did, and gives its name.
  std::string write() const {
    const auto file =
        std::filesystem::temp_directory_path() / ("lumenara-hills-" + std::to_string(triangles()) + ".glb");
    if (!std::filesystem::exists(file)) writeTo(file);
    return file.string();
  }
  std::size_t triangles() const { return std::size_t{2} * side_ * side_; }

 private:
  void writeTo(const std::filesystem::path& file) const {
    const std::vector<float> vertices = points();
    const std::vector<std::uint32_t> indices = corners();
    const std::size_t size = vertices.size() * 4, all = 2 * size + indices.size() * 4;
    std::string json = text(size, indices.size(), all);
    json.resize((json.size() + 3) / 4 * 4, ' ');
    const std::uint32_t head[] = {0x46546C67, 2, static_cast<std::uint32_t>(28 + json.size() + all),
                                  static_cast<std::uint32_t>(json.size()), 0x4E4F534A};
    const std::uint32_t chunk[] = {static_cast<std::uint32_t>(all), 0x004E4942};
    std::ofstream out(file.string() + ".part", std::ios::binary);
    const auto put = [&](const void* data, std::size_t bytes) {
      out.write(static_cast<const char*>(data), static_cast<std::streamsize>(bytes));
    };
    put(head, sizeof head), put(json.data(), json.size()), put(chunk, sizeof chunk);
    put(vertices.data(), size), put(normals().data(), size), put(indices.data(), indices.size() * 4);
    out.close();
    std::filesystem::rename(file.string() + ".part", file);
  }

  static float height(float x, float z) { return 0.05F * std::sin(23 * x) * std::cos(31 * z); }

  std::vector<float> points() const {
    std::vector<float> all;
    eachPoint([&](float x, float z) { all.insert(all.end(), {x, height(x, z), z}); });
    return all;
  }
  std::vector<float> normals() const {
    std::vector<float> all;
    eachPoint([&](float x, float z) {
      const float dx = 0.05F * 23 * std::cos(23 * x) * std::cos(31 * z),
                  dz = -0.05F * 31 * std::sin(23 * x) * std::sin(31 * z);
      const float length = std::sqrt(dx * dx + 1 + dz * dz);
      all.insert(all.end(), {-dx / length, 1 / length, -dz / length});
    });
    return all;
  }
  template <class Visit>
  void eachPoint(const Visit& visit) const {
    for (std::uint32_t row = 0; row <= side_; ++row)
      for (std::uint32_t column = 0; column <= side_; ++column)
        visit(static_cast<float>(column) / static_cast<float>(side_),
              static_cast<float>(row) / static_cast<float>(side_));
  }
  std::vector<std::uint32_t> corners() const {
    std::vector<std::uint32_t> all;
    for (std::uint32_t row = 0; row < side_; ++row)
      for (std::uint32_t column = 0; column < side_; ++column) {
        const std::uint32_t a = row * (side_ + 1) + column, b = a + side_ + 1;
        all.insert(all.end(), {a, b, a + 1, a + 1, b, b + 1});
      }
    return all;
  }
  std::string text(std::size_t size, std::size_t indices, std::size_t all) const {
    const auto number = [](std::size_t value) { return std::to_string(value); };
    const auto accessor = [&](int view, int component, std::size_t count, const char* type) {
      return R"({"bufferView":)" + number(static_cast<std::size_t>(view)) + R"(,"componentType":)" +
             std::to_string(component) + R"(,"count":)" + number(count) + R"(,"type":")" + type + "\"}";
    };
    const auto view = [&](std::size_t offset, std::size_t bytes) {
      return R"({"buffer":0,"byteOffset":)" + number(offset) + R"(,"byteLength":)" + number(bytes) + "}";
    };
    return R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],)"
           R"("meshes":[{"primitives":[{"attributes":{"POSITION":0,"NORMAL":1},"indices":2}]}],"accessors":[)" +
           accessor(0, 5126, size / 12, "VEC3") + "," + accessor(1, 5126, size / 12, "VEC3") + "," +
           accessor(2, 5125, indices, "SCALAR") + R"(],"bufferViews":[)" + view(0, size) + "," +
           view(size, size) + "," + view(2 * size, indices * 4) + R"(],"buffers":[{"byteLength":)" +
           number(all) + "}]}";
  }

  std::uint32_t side_; // in squares
};
