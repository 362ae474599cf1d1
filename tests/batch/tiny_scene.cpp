#include "tiny_scene.h"

#include <cmath>
#include <cstring>

#include <OpenImageIO/imageio.h>
#include <nlohmann/json.hpp>

#include "program_run.h"

namespace batchtest {

namespace {

using Json = nlohmann::json;

template <class T>
std::size_t append(std::string& bytes, const std::vector<T>& values) {
  const std::size_t offset = bytes.size();
  bytes.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T));
  return offset;
}

Json view(std::size_t offset, std::size_t length) {
  return Json{{"buffer", 0}, {"byteOffset", offset}, {"byteLength", length}};
}

Json material(const std::string& name, const std::vector<double>& color) {
  Json surface{{"name", name}};
  surface["pbrMetallicRoughness"]["baseColorFactor"] = color;
  surface["extensions"]["KHR_materials_unlit"] = Json::object();
  return surface;
}

void addAnimation(Json& gltf, std::string& bytes) {
  const std::size_t times = append(bytes, std::vector<float>{0, 1});
  const std::size_t values = append(bytes, std::vector<float>{-1, 1, 0, 1, 1, 0});
  gltf["bufferViews"].push_back(view(times, 8));
  gltf["bufferViews"].push_back(view(values, 24));
  const Json low = Json::array({0}), high = Json::array({1});
  gltf["accessors"].push_back(Json{{"bufferView", 3},
                                   {"componentType", 5126},
                                   {"count", 2},
                                   {"type", "SCALAR"},
                                   {"min", low},
                                   {"max", high}});
  gltf["accessors"].push_back(
      Json{{"bufferView", 4}, {"componentType", 5126}, {"count", 2}, {"type", "VEC3"}});
  const Json target{{"node", 0}, {"path", "translation"}};
  const Json channel{{"sampler", 0}, {"target", target}};
  const Json sampler{{"input", 3}, {"output", 4}, {"interpolation", "LINEAR"}};
  gltf["animations"].push_back(
      Json{{"name", "Slide"}, {"channels", Json::array({channel})}, {"samplers", Json::array({sampler})}});
}

void addPicture(Json& gltf) {
  gltf["images"].push_back(Json{{"uri", "nowhere.png"}});
  gltf["textures"].push_back(Json{{"source", 0}});
  gltf["materials"][0]["pbrMetallicRoughness"]["baseColorTexture"] = Json{{"index", 0}};
}

void addGlow(Json& gltf, float strength) {
  gltf["materials"][1] = Json{{"name", "Glow"}};
  gltf["materials"][1]["pbrMetallicRoughness"]["baseColorFactor"] = Json::array({0, 0, 0, 1});
  gltf["materials"][1]["emissiveFactor"] = Json::array({0.25, 0.25, 1});
  gltf["materials"][1]["extensions"]["KHR_materials_emissive_strength"]["emissiveStrength"] = strength;
  gltf["extensionsUsed"].push_back("KHR_materials_emissive_strength");
}

} // namespace

std::string writeTinyScene(const std::filesystem::path& folder, const TinyScene& scene) {
  // A square of 1.6 metres in the plane z = 0, facing +z.
  std::string bytes;
  append(bytes, std::vector<float>{-0.8f, -0.8f, 0, 0.8f, -0.8f, 0, 0.8f, 0.8f, 0, -0.8f, 0.8f, 0});
  const std::size_t uvs = append(bytes, std::vector<float>{0, 1, 1, 1, 1, 0, 0, 0});
  const std::size_t indices = append(bytes, std::vector<std::uint16_t>{0, 1, 2, 0, 2, 3});
  Json gltf;
  gltf["asset"]["version"] = "2.0";
  gltf["extensionsUsed"].push_back("KHR_materials_unlit");
  gltf["scene"] = 0;
  gltf["scenes"].push_back(Json{{"nodes", Json::array({0, 1, 2, 3})}});
  gltf["bufferViews"] = Json::array({view(0, 48), view(uvs, 32), view(indices, 12)});

  const auto at = [](double x, double y, double z) { return Json::array({x, y, z}); };
  gltf["nodes"].push_back(Json{{"name", "Red"}, {"mesh", 0}, {"translation", at(-1, 1, 0)}});
  gltf["nodes"].push_back(Json{{"name", "Blue"}, {"mesh", 1}, {"translation", at(1, -1, 0)}});
  gltf["nodes"].push_back(Json{{"name", "Front"}, {"camera", 0}, {"translation", at(0, 0, 5)}});
  gltf["nodes"].push_back(Json{{"name", "Back"},
                               {"camera", 1},
                               {"translation", at(0, 0, 5)},
                               {"rotation", Json::array({0, 1, 0, 0})}});
  const Json view4{{"xmag", 2}, {"ymag", 2}, {"znear", 0.1}, {"zfar", 100}};
  for (int index = 0; index < 2; ++index) {
    gltf["cameras"].push_back(Json{{"type", "orthographic"}, {"orthographic", view4}});
    const Json attributes{{"POSITION", 0}, {"TEXCOORD_0", 1}};
    const Json primitive{{"attributes", attributes}, {"indices", 2}, {"material", index}};
    gltf["meshes"].push_back(Json{{"primitives", Json::array({primitive})}});
  }
  Json positions{{"bufferView", 0}, {"componentType", 5126}, {"count", 4}, {"type", "VEC3"}};
  positions["min"] = at(-0.8, -0.8, 0);
  positions["max"] = at(0.8, 0.8, 0);
  gltf["accessors"].push_back(positions);
  gltf["accessors"].push_back(
      Json{{"bufferView", 1}, {"componentType", 5126}, {"count", 4}, {"type", "VEC2"}});
  gltf["accessors"].push_back(
      Json{{"bufferView", 2}, {"componentType", 5123}, {"count", 6}, {"type", "SCALAR"}});
  gltf["materials"].push_back(material("Red", {0.8, 0.05, 0.05, 1}));
  gltf["materials"].push_back(material("Blue", {0.05, 0.05, 0.8, 1}));
  if (scene.missingPicture) addPicture(gltf);
  if (scene.glow > 0) addGlow(gltf, scene.glow);
  if (scene.animated) addAnimation(gltf, bytes);
  gltf["buffers"].push_back(Json{{"uri", "tiny.bin"}, {"byteLength", bytes.size()}});

  writeFile(folder / "tiny.bin", bytes);
  writeFile(folder / "tiny.gltf", gltf.dump());
  return (folder / "tiny.gltf").string();
}

float Picture::at(int x, int y, int channel) const {
  return pixels.at(
      (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) * 3 +
      static_cast<std::size_t>(channel));
}

double Picture::mean() const {
  double sum = 0;
  for (const float value : pixels)
    sum += value;
  return pixels.empty() ? 0 : sum / static_cast<double>(pixels.size());
}

double Picture::spread() const {
  const double middle = mean();
  double sum = 0;
  for (const float value : pixels)
    sum += (value - middle) * (value - middle);
  return pixels.empty() ? 0 : std::sqrt(sum / static_cast<double>(pixels.size()));
}

Picture readPicture(const std::string& file) {
  Picture picture;
  const auto in = OIIO::ImageInput::open(file);
  if (!in || in->spec().nchannels < 3) return picture;
  const int channels = in->spec().nchannels;
  std::vector<float> all(static_cast<std::size_t>(in->spec().width) *
                         static_cast<std::size_t>(in->spec().height) * static_cast<std::size_t>(channels));
  if (!in->read_image(0, 0, 0, channels, OIIO::TypeDesc::FLOAT, all.data())) return picture;
  picture.width = in->spec().width;
  picture.height = in->spec().height;
  picture.format = in->format_name();
  for (std::size_t i = 0; i < all.size(); i += static_cast<std::size_t>(channels)) {
    picture.pixels.insert(picture.pixels.end(), {all[i], all[i + 1], all[i + 2]});
  }
  return picture;
}

bool isRed(const Picture& picture, int x, int y) {
  return picture.at(x, y, 0) > 0.6f && picture.at(x, y, 1) < 0.4f && picture.at(x, y, 2) < 0.4f;
}

bool isBlue(const Picture& picture, int x, int y) {
  return picture.at(x, y, 2) > 0.6f && picture.at(x, y, 0) < 0.4f && picture.at(x, y, 1) < 0.4f;
}

} // namespace batchtest
