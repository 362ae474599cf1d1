// Shows a cube in Lumenara Studio and turns it: an example of lumenara_link.
//
//   c++ -std=c++17 animate_scene.cpp lumenara_link.cpp -o animate_scene && ./animate_scene [FRAMES
//   [PICTURE.png]]
#include "lumenara_link.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

using lumenara_link::block;
using lumenara_link::Json;

std::vector<double> turned(double angle) {
  const double c = std::cos(angle), s = std::sin(angle);
  return {c, 0, -s, 0, 0, 1, 0, 0, s, 0, c, 0, 0, 0.5, 0, 1};
}

void sendScene(lumenara_link::Connection& studio) {
  std::vector<float> points;
  for (int corner = 0; corner < 8; ++corner)
    for (int axis = 0; axis < 3; ++axis)
      points.push_back(corner >> (2 - axis) & 1 ? 0.5f : -0.5f);
  const std::vector<std::uint32_t> sizes(6, 4),
      corners = {0, 1, 3, 2, 4, 6, 7, 5, 0, 4, 5, 1, 2, 3, 7, 6, 0, 2, 6, 4, 1, 5, 7, 3};

  studio.send("scene_begin", Json().text("name", "Turning cube").flag("replace", true));
  studio.send("mesh", Json().text("key", "cube").text("name", "Cube"),
              {block("positions", "f32x3", points), block("face_sizes", "u32", sizes),
               block("face_vertices", "u32", corners)});
  studio.send("material",
              Json().text("key", "paint").text("name", "Paint").raw("gltf", R"({"pbrMetallicRoughness":
    {"baseColorFactor": [0.8, 0.3, 0.1, 1], "metallicFactor": 0, "roughnessFactor": 0.4}})"));
  studio.send("object", Json()
                            .text("key", "cube-1")
                            .text("name", "Cube")
                            .text("kind", "mesh")
                            .text("mesh", "cube")
                            .texts("materials", {"paint"})
                            .numbers("matrix", turned(0)));
  studio.send("sky", Json().text("kind", "color").numbers("color", {0.6, 0.7, 0.8}));
  studio.send("scene_end");
  studio.waitForCommit(studio.commit(), 30);
}

} // namespace

int main(int count, char** arguments) try {
  const int frames = count > 1 ? std::atoi(arguments[1]) : 300;
  // Such as LUMENARA_LINK=127.0.0.1:4711 with the token of that Studio.
  const char *address = std::getenv("LUMENARA_LINK"), *token = std::getenv("LUMENARA_LINK_TOKEN");
  lumenara_link::Connection studio("animate_scene", address ? address : "", 5, token ? token : "");
  sendScene(studio);
  for (int i = 1; i <= frames; ++i) {
    const std::vector<double> matrix = turned(i * 0.02);
    studio.send("transforms", Json().texts("keys", {"cube-1"}), {block("matrices", "f64x16", matrix)});
    studio.waitForCommit(studio.commit(), 30);
  }
  if (count > 2) { // the viewer's picture of the last frame, when it is finished
    studio.watchProgress();
    lumenara_link::Answer answer;
    while (answer.type != "finished" || lumenara_link::member(answer.json, "result") == "stopped") {
      if (!studio.receive(answer, 600)) throw lumenara_link::LinkError("The viewer did not finish in time.");
      if (answer.type == "progress")
        std::printf("%s of %s samples\n", lumenara_link::member(answer.json, "samples").c_str(),
                    lumenara_link::member(answer.json, "of").c_str());
    }
    const std::string picture = studio.grab("png");
    std::FILE* file = std::fopen(arguments[2], "wb");
    const bool written = file && std::fwrite(picture.data(), 1, picture.size(), file) == picture.size();
    if (!file || std::fclose(file) != 0 || !written)
      throw lumenara_link::LinkError(std::string(arguments[2]) + " cannot be written");
  }
  std::printf("%d frames\n", frames);
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "error: %s\n", error.what());
  return 1;
}
