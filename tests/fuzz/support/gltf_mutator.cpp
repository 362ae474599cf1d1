#include "gltf_mutator.h"

#include <array>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t mostBytes);

namespace fuzz {

namespace {

using Json = nlohmann::json; // new keys do not move others: pointers stay valid

// --- reading and writing the file ---

struct Gltf {
  Json root;
  std::string binary;
  bool isBinary = false;
};

std::uint32_t wordAt(const std::string& bytes, std::size_t at) {
  std::uint32_t word = 0;
  if (at + sizeof word <= bytes.size()) std::memcpy(&word, bytes.data() + at, sizeof word);
  return word;
}

bool takeApart(const std::string& bytes, Gltf& file) {
  file.isBinary = wordAt(bytes, 0) == 0x46546C67;
  std::string text = bytes;
  if (file.isBinary) {
    const std::size_t length = wordAt(bytes, 12);
    if (bytes.size() < 20 || length > bytes.size() - 20) return false;
    text = bytes.substr(20, length);
    if (bytes.size() >= 28 + length) file.binary = bytes.substr(28 + length);
  }
  file.root = Json::parse(text, nullptr, false);
  return file.root.is_object();
}

void addWord(std::string& to, std::size_t value) {
  const auto word = static_cast<std::uint32_t>(value);
  to.append(reinterpret_cast<const char*>(&word), sizeof word);
}

std::string putTogether(const Gltf& file) {
  std::string text = file.root.dump(-1, ' ', false, Json::error_handler_t::replace);
  if (!file.isBinary) return text;
  text.resize((text.size() + 3) / 4 * 4, ' ');
  std::string bytes;
  addWord(bytes, 0x46546C67), addWord(bytes, 2);
  addWord(bytes, 12 + 8 + text.size() + (file.binary.empty() ? 0 : 8 + file.binary.size()));
  addWord(bytes, text.size()), addWord(bytes, 0x4E4F534A);
  bytes += text;
  if (file.binary.empty()) return bytes;
  addWord(bytes, file.binary.size()), addWord(bytes, 0x004E4942);
  return bytes + file.binary;
}

// --- one mutation ---

constexpr std::array componentTypes{5120, 5121, 5122, 5123, 5125, 5126, 5124};
constexpr std::array shapes{"SCALAR", "VEC2", "VEC3", "VEC4", "MAT2", "MAT3", "MAT4"};
constexpr std::array attributes{"POSITION", "NORMAL",   "TANGENT",  "TEXCOORD_0", "TEXCOORD_1",
                                "COLOR_0",  "JOINTS_0", "JOINTS_1", "WEIGHTS_0",  "WEIGHTS_1"};
constexpr std::array paths{"translation", "rotation", "scale", "weights"};
constexpr std::array interpolations{"LINEAR", "STEP", "CUBICSPLINE"};
// Of objects, tags, shaders and video posts.
constexpr std::array ownTypes{5100, 5102, 5103, 5104,    5105,    5140,    1007455, 5616,
                              5637, 5676, 5833, 1011123, 1001191, 1021096, 5612,    0};
constexpr std::array ownIds{901,  902,  1001, 1002, 1003, 1006, 1101, 1104, 1105, 1107, 1109,
                            1110, 1201, 1206, 1301, 1401, 1501, 1502, 1521, 1601, 1602, 1621,
                            1628, 1641, 2000, 2100, 2108, 2118, 1140, 1141, 1142};

class Mutation {
 public:
  Mutation(Gltf& file, unsigned seed) : file_(file), root_(file.root), random_(seed) {}

  void run() {
    using Step = void (Mutation::*)();
    static constexpr std::array<Step, 17> steps{
        &Mutation::anyNumber,  &Mutation::count,     &Mutation::view,        &Mutation::anyIndex,
        &Mutation::cycle,      &Mutation::attribute, &Mutation::attribute,   &Mutation::sparse,
        &Mutation::target,     &Mutation::skin,      &Mutation::animation,   &Mutation::transform,
        &Mutation::ownEntries, &Mutation::element,   &Mutation::floatInData, &Mutation::floatInData,
        &Mutation::extensions};
    for (std::size_t left = 1 + below(3); left > 0; --left)
      (this->*steps[below(steps.size())])();
  }

 private:
  std::size_t below(std::size_t count) { return count == 0 ? 0 : random_() % count; }
  bool often() { return below(4) != 0; }

  template <class List>
  auto oneOf(const List& list) {
    return list[below(list.size())];
  }

  Json* list(const char* name) {
    Json& found = root_[name];
    if (!found.is_array()) found = Json::array();
    return &found;
  }
  // An object of a list of the root; null when the list is empty.
  Json* item(const char* name) {
    Json& all = *list(name);
    if (all.empty()) return nullptr;
    Json& one = all[below(all.size())];
    if (!one.is_object()) one = Json::object();
    return &one;
  }
  Json* item(const char* name, const char* inner) {
    Json* one = item(name);
    if (!one || !(*one)[inner].is_array() || (*one)[inner].empty()) return nullptr;
    Json& found = (*one)[inner][below((*one)[inner].size())];
    return found.is_object() ? &found : nullptr;
  }

  // An index into a list of the root, mostly a valid one.
  Json index(const char* name) {
    const auto count = static_cast<std::int64_t>(list(name)->size());
    if (often() && count > 0) return static_cast<std::int64_t>(below(static_cast<std::size_t>(count)));
    return static_cast<std::int64_t>(below(4)) + count - 2;
  }

  Json number() {
    static const std::vector<Json> values{
        0,          1,    -1,  2,    3,    4,    5,    255,  256,   65535,  65536, 1e6,   0.5,    2147483647,
        4294967295, -0.5, 1e9, 1e12, 1e18, 1e19, 3e38, 1e39, 1e300, -1e300, 1e-30, 1e-45, nullptr};
    return values[below(values.size())];
  }

  // Every number below `at`.
  void collect(Json& at, std::vector<Json*>& numbers, int depth = 0) {
    if (depth > 40) return;
    if (at.is_number()) numbers.push_back(&at);
    if (at.is_structured())
      for (Json& child : at)
        collect(child, numbers, depth + 1);
  }

  void anyNumber() {
    std::vector<Json*> numbers;
    collect(root_, numbers);
    if (!numbers.empty()) *numbers[below(numbers.size())] = number();
  }

  void count() {
    Json* accessor = item("accessors");
    if (!accessor) return;
    const Json* other = item("accessors");
    const std::int64_t own =
        (*accessor)["count"].is_number_integer() ? (*accessor)["count"].get<std::int64_t>() : 1;
    switch (below(6)) {
    case 0:
      (*accessor)["count"] = 0;
      break;
    case 1:
      (*accessor)["count"] = own - 1;
      break;
    case 2:
      (*accessor)["count"] = own / 2;
      break;
    case 3:
      (*accessor)["count"] = other->value("count", Json(1));
      break;
    case 4:
      (*accessor)["count"] = own + 1;
      break;
    default:
      (*accessor)["count"] = number();
    }
  }

  // The place and the type of an accessor's numbers.
  void view() {
    Json* accessor = item("accessors");
    Json* view = item("bufferViews");
    if (!accessor || !view) return;
    switch (below(7)) {
    case 0:
      (*accessor)["bufferView"] = index("bufferViews");
      break;
    case 1:
      (*accessor)["byteOffset"] = below(64);
      break;
    case 2:
      (*accessor)["componentType"] = oneOf(componentTypes);
      break;
    case 3:
      (*accessor)["type"] = oneOf(shapes);
      break;
    case 4:
      (*accessor)["normalized"] = below(2) == 1;
      break;
    case 5:
      (*view)["byteStride"] = often() ? Json(4 * below(64)) : number();
      break;
    default:
      (*view)[below(2) ? "byteOffset" : "byteLength"] = often() ? Json(below(512)) : number();
    }
  }

  void anyIndex() {
    static constexpr std::array<std::array<const char*, 3>, 14> places{
        {{"nodes", "mesh", "meshes"},
         {"nodes", "camera", "cameras"},
         {"nodes", "skin", "skins"},
         {"skins", "skeleton", "nodes"},
         {"skins", "inverseBindMatrices", "accessors"},
         {"accessors", "bufferView", "bufferViews"},
         {"bufferViews", "buffer", "buffers"},
         {"images", "bufferView", "bufferViews"},
         {"textures", "source", "images"},
         {"textures", "sampler", "samplers"},
         {"materials", "normalTexture", "textures"},
         {"materials", "occlusionTexture", "textures"},
         {"materials", "emissiveTexture", "textures"},
         {"scenes", "nodes", "nodes"}}};
    const auto& [from, key, to] = places[below(places.size())];
    Json* one = item(from);
    if (!one) return;
    const std::string name = key;
    if (name.ends_with("Texture"))
      (*one)[name] = Json{{"index", index(to)}, {"texCoord", below(3)}};
    else if (name == "nodes")
      (*one)[name].is_array() ? (*one)[name].push_back(index(to)) : void();
    else
      (*one)[name] = index(to);
  }

  void cycle() {
    Json* node = item("nodes");
    if (!node) return;
    Json& children = (*node)["children"];
    if (!children.is_array()) children = Json::array();
    if (below(3) == 0 && !children.empty())
      children.erase(below(children.size()));
    else
      children.push_back(index("nodes"));
  }

  void attribute() {
    Json* primitive = item("meshes", "primitives");
    if (!primitive) return;
    Json& all = (*primitive)["attributes"];
    switch (below(6)) {
    case 0:
      (*primitive)["indices"] = index("accessors");
      break;
    case 1:
      (*primitive)["mode"] = below(8);
      break;
    case 2:
      (*primitive)["material"] = index("materials");
      break;
    case 3:
      if (all.is_object()) all.erase(oneOf(attributes));
      break;
    default:
      if (all.is_object()) all[oneOf(attributes)] = index("accessors");
    }
  }

  void sparse() {
    Json* accessor = item("accessors");
    if (!accessor) return;
    (*accessor)["sparse"] =
        Json{{"count", often() ? Json(below(4)) : number()},
             {"indices",
              {{"bufferView", index("bufferViews")},
               {"byteOffset", below(8)},
               {"componentType", oneOf(componentTypes)}}},
             {"values", {{"bufferView", index("bufferViews")}, {"byteOffset", below(8)}}}};
    if (below(2)) accessor->erase("bufferView");
  }

  void target() {
    Json* primitive = item("meshes", "primitives");
    Json* mesh = item("meshes");
    Json* node = item("nodes");
    if (!primitive || !node) return;
    if (!(*primitive)["targets"].is_array()) (*primitive)["targets"] = Json::array();
    static constexpr std::array names{"POSITION", "NORMAL", "TANGENT"};
    (*primitive)["targets"].push_back(Json{{oneOf(names), index("accessors")}});
    (*(below(2) ? mesh : node))["weights"] = Json::array({number(), 0.5, number()});
  }

  void skin() {
    Json* node = item("nodes");
    if (!node) return;
    if (list("skins")->empty()) list("skins")->push_back(Json{{"joints", Json::array({index("nodes")})}});
    Json* one = item("skins");
    if (!(*one)["joints"].is_array()) (*one)["joints"] = Json::array();
    Json& joints = (*one)["joints"];
    if (below(3) == 0 && !joints.empty())
      joints.erase(below(joints.size()));
    else
      joints.push_back(index("nodes"));
    if (below(3) == 0) (*one)["inverseBindMatrices"] = index("accessors");
    (*node)["skin"] = index("skins");
    Json* primitive = item("meshes", "primitives");
    if (!primitive || !(*primitive)["attributes"].is_object()) return;
    (*primitive)["attributes"]["JOINTS_0"] = index("accessors");
    (*primitive)["attributes"]["WEIGHTS_0"] = index("accessors");
  }

  void animation() {
    if (list("animations")->empty())
      list("animations")
          ->push_back(
              Json{{"samplers", {{{"input", index("accessors")}, {"output", index("accessors")}}}},
                   {"channels", {{{"sampler", 0}, {"target", {{"node", 0}, {"path", oneOf(paths)}}}}}}});
    if (Json* sampler = item("animations", "samplers")) {
      (*sampler)[below(2) ? "input" : "output"] = index("accessors");
      if (below(2)) (*sampler)["interpolation"] = oneOf(interpolations);
    }
    if (Json* channel = item("animations", "channels")) {
      if (below(2)) (*channel)["target"] = Json{{"node", index("nodes")}, {"path", oneOf(paths)}};
      if (!often()) (*channel)["sampler"] = number();
    }
  }

  void transform() {
    Json* node = item("nodes");
    if (!node) return;
    const auto many = [&](std::size_t count) {
      Json numbers = Json::array();
      for (std::size_t i = 0; i < count; ++i)
        numbers.push_back(often() ? Json(i % 5 == 0) : number());
      return numbers;
    };
    static constexpr std::array<std::pair<const char*, std::size_t>, 4> kinds{
        {{"matrix", 16}, {"translation", 3}, {"rotation", 4}, {"scale", 3}}};
    const auto [name, size] = kinds[below(kinds.size())];
    (*node)[name] = many(often() ? size : below(18));
    if (std::string_view(name) != "matrix") node->erase("matrix");
  }

  Json ownValue(int depth) {
    switch (below(9)) {
    case 0:
      return Json::array({oneOf(ownIds), "long", often() ? Json(below(8)) : number()});
    case 1:
      return Json::array({oneOf(ownIds), "real", below(4) ? number() : Json("nan")});
    case 2:
      return Json::array({oneOf(ownIds), "bool", below(2) == 1});
    case 3:
      return Json::array({oneOf(ownIds), "vector", Json::array({number(), number(), number()})});
    case 4:
      return Json::array({oneOf(ownIds), "link", Json{{"node", index("nodes")}}});
    case 5:
      return Json::array({oneOf(ownIds), "link", Json{{"material", index("materials")}}});
    case 6:
      return Json::array({oneOf(ownIds), "time", Json::array({number(), number()})});
    case 7:
      return Json::array({oneOf(ownIds), "string", "a"});
    default:
      return Json::array(
          {oneOf(ownIds), "container",
           depth > 3 ? Json::array() : Json::array({ownValue(depth + 1), ownValue(depth + 1)})});
    }
  }

  Json ownEntry(const char* nested, int depth = 0) {
    Json entry{{"type", oneOf(ownTypes)}, {"container", Json::array({ownValue(0), ownValue(0)})}};
    if (below(3) == 0) entry["ref"] = std::string(1, static_cast<char>('a' + below(3)));
    if (below(3) == 0) entry["image"] = index("images");
    if (nested && depth < 3 && below(2)) entry[nested] = Json::array({ownEntry(nested, depth + 1)});
    return entry;
  }

  void ownEntries() {
    static constexpr std::array places{"nodes", "nodes", "materials", "materials", ""};
    const char* place = oneOf(places);
    Json* one = *place ? item(place) : &root_;
    if (!one) return;
    Json& extras = (*one)["extras"];
    if (!extras.is_object()) extras = Json::object();
    Json& own = extras["lumenara"];
    if (!own.is_object()) own = Json::object();
    if (std::string_view(place) == "nodes") {
      own["type"] = oneOf(ownTypes);
      own["tags"] = Json::array({ownEntry(nullptr), ownEntry(nullptr)});
      own["image"] = index("images");
    } else if (*place) {
      own["shaders"] = Json::array({ownEntry("children"), ownEntry("children")});
      own["slots"] = Json{{std::to_string(below(18)), below(3)}, {"0", below(3)}};
    } else {
      own["views"] =
          Json::array({Json{{"camera", {{"node", index("nodes")}}}, {"frame", {number(), 0, 9, number()}}}});
      own["renderData"] = Json::array({Json{{"videoPosts", Json::array({ownEntry(nullptr)})}}});
      own[below(2) ? "time" : "maxTime"] = Json::array({number(), number()});
      own[below(2) ? "fps" : "lod"] = number();
    }
    own["container"] = Json::array({ownValue(0), ownValue(0)});
  }

  // Doubles, drops or moves an element of a list.
  void element() {
    static constexpr std::array names{"nodes",    "meshes",  "accessors", "materials", "images",
                                      "textures", "cameras", "skins",     "scenes",    "animations"};
    Json& all = *list(oneOf(names));
    if (all.empty()) return;
    const std::size_t at = below(all.size());
    if (below(3) == 0)
      all.erase(at);
    else if (below(2) && all.size() < 40)
      all.push_back(Json(all[at]));
    else
      std::swap(all[at], all[below(all.size())]);
  }

  void floatInData() {
    static constexpr std::array values{0.0F,
                                       -1.0F,
                                       1e-40F,
                                       1e9F,
                                       1e19F,
                                       3.4e38F,
                                       -3.4e38F,
                                       std::numeric_limits<float>::infinity(),
                                       std::numeric_limits<float>::quiet_NaN()};
    if (file_.binary.size() < 4) return;
    const float value = oneOf(values);
    std::memcpy(file_.binary.data() + 4 * below(file_.binary.size() / 4), &value, sizeof value);
  }

  void extensions() {
    if (Json* primitive = item("meshes", "primitives"); primitive && below(2)) {
      (*primitive)["extensions"]["KHR_draco_mesh_compression"] =
          Json{{"bufferView", index("bufferViews")}, {"attributes", {{oneOf(attributes), below(4)}}}};
      return;
    }
    static constexpr std::array kinds{"point", "spot", "directional", "other"};
    root_["extensions"]["KHR_lights_punctual"]["lights"] =
        Json::array({Json{{"type", oneOf(kinds)},
                          {"range", number()},
                          {"intensity", number()},
                          {"color", {number(), 1, 1}},
                          {"spot", {{"innerConeAngle", number()}, {"outerConeAngle", number()}}}}});
    if (Json* node = item("nodes")) (*node)["extensions"]["KHR_lights_punctual"]["light"] = below(2);
    if (list("cameras")->empty()) return;
    if (Json* camera = item("cameras"))
      (*camera)["perspective"] = Json{{"yfov", number()}, {"znear", number()}, {"zfar", number()}};
  }

  Gltf& file_;
  Json& root_;
  std::minstd_rand random_;
};

} // namespace

std::size_t mutateGltf(std::uint8_t* data, std::size_t size, std::size_t mostBytes, unsigned seed) {
  Gltf file;
  if (seed % 4 == 0 || !takeApart(std::string(reinterpret_cast<const char*>(data), size), file))
    return LLVMFuzzerMutate(data, size, mostBytes);
  try {
    Mutation(file, seed).run();
  } catch (const Json::exception&) { // a part of another type than the step expects
  }
  const std::string bytes = putTogether(file);
  if (bytes.size() > mostBytes) return LLVMFuzzerMutate(data, size, mostBytes);
  std::memcpy(data, bytes.data(), bytes.size());
  return bytes.size();
}

} // namespace fuzz
