// Layers and OpenEXR files of `lumenara render`, read by other programs.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "program_run.h"
#include "tiny_scene.h"

namespace batchtest {
namespace {

class LayerFiles : public testing::Test {
 protected:
  Outcome render(const std::string& name, const Arguments& more, int code = 0) {
    Arguments arguments{"render", writeTinyScene(folder.path()), "-o", folder / name, "--size", "64x48"};
    arguments.insert(arguments.end(), {"--samples", "4"});
    arguments.insert(arguments.end(), more.begin(), more.end());
    Outcome outcome = run(arguments, folder / "home");
    EXPECT_EQ(outcome.code, code) << outcome.err;
    return outcome;
  }

  /// The output of another program; nothing when it is not installed.
  std::string outputOf(const std::string& program, const std::string& arguments) {
    if (std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) != 0) return {};
    const std::string said = folder / "said";
    EXPECT_EQ(std::system((program + " " + arguments + " >'" + said + "' 2>&1").c_str()), 0)
        << readFile(said);
    return readFile(said);
  }

  TempFolder folder;
};

constexpr const char* names[] = {"denoised",
                                 "albedo",
                                 "normal",
                                 "depth",
                                 "position",
                                 "uv",
                                 "object_id",
                                 "material_id",
                                 "diffuse_direct",
                                 "diffuse_indirect",
                                 "specular_direct",
                                 "specular_indirect",
                                 "transmission",
                                 "emission",
                                 "sky",
                                 "samples",
                                 "noise"};

TEST_F(LayerFiles, HoldAllLayers) {
  render("all.exr", {"--layers", "all"});
  const std::string text = outputOf("oiiotool", "--info -v '" + (folder / "all.exr") + "'");
  if (text.empty()) GTEST_SKIP() << "oiiotool is not installed";
  for (const char* name : names)
    EXPECT_NE(text.find(std::string(name) + "."), std::string::npos) << name << text;
  for (const char* part : {"lightgroup_default.R", "crypto_object00.R", "crypto_material02.A",
                           "crypto_asset01.G", "/manifest", "uint32_to_float32", "lumenara:Scene: \"tiny",
                           "lumenara:Samples: \"4\"", "lumenara:Version: \"Lumenara "})
    EXPECT_NE(text.find(part), std::string::npos) << part << text;
  const std::string path = folder.path().string();
  for (std::size_t at = text.find(path); at != std::string::npos; at = text.find(path, at + 1))
    EXPECT_EQ(text.compare(at + path.size(), 8, "/all.exr"), 0) << "a folder is in the file";
}

TEST_F(LayerFiles, HoldThoseAskedFor) {
  render("some.exr", {"--layers", "depth,samples", "--half", "--compression", "dwaa"});
  const std::string text = outputOf("oiiotool", "--info -v -a '" + (folder / "some.exr") + "'");
  if (text.empty()) GTEST_SKIP() << "oiiotool is not installed";
  for (const char* part : {"depth.Z", "samples.V", "dwaa"})
    EXPECT_NE(text.find(part), std::string::npos) << part << text;
  EXPECT_EQ(text.find("albedo"), std::string::npos) << text;
}

TEST_F(LayerFiles, WrongListsAreRefusedInOneLine) {
  const auto refused = [&](const std::string& name, const Arguments& more, const std::string& part) {
    const Outcome outcome = render(name, more, 2);
    EXPECT_EQ(lineCount(outcome.err), 1) << outcome.err;
    EXPECT_NE(outcome.err.find(part), std::string::npos) << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(folder / name));
  };
  refused("a.exr", {"--layers", "depth,deep"},
          "--layers does not know \"deep\"; write all, or some of denoised, albedo");
  refused("a.exr", {"--compression", "lzw"}, "--compression does not know \"lzw\"; write one of none, rle");
  refused("a.png", {"--layers", "depth"}, "--layers has no effect on ");
  refused("a.tif", {"--half"}, "--half has no effect on ");
  refused("a.jpg", {"--compression", "zip"}, "--compression has no effect on ");
}

// The compositor of another program finds the layers, with the values that our own reader finds.
TEST_F(LayerFiles, OpenInBlender) {
  render("b.exr", {"--layers", "all"});
  writeFile(folder / "read.py", R"(
import bpy, sys
scene = bpy.context.scene
scene.use_nodes = True
image = bpy.data.images.load(sys.argv[-1])
node = scene.node_tree.nodes.new('CompositorNodeImage')
node.image = image
print('TYPE', image.type, image.size[0], image.size[1])
print('SOCKETS', ' '.join(sorted(o.name for o in node.outputs)))
matte = scene.node_tree.nodes.new('CompositorNodeCryptomatteV2')
matte.source = 'IMAGE'
matte.image = image
print('MATTES', ' '.join(sorted(i.identifier for i in matte.bl_rna.properties['layer_name'].enum_items)))
print('CHOSEN', matte.layer_name)
)");
  const std::string text =
      outputOf("blender", "-b --factory-startup --python-exit-code 1 -P '" + (folder / "read.py") + "' -- '" +
                              (folder / "b.exr") + "'");
  if (text.empty()) GTEST_SKIP() << "blender is not installed";
  EXPECT_NE(text.find("TYPE MULTILAYER"), std::string::npos) << text;
  for (const char* name : names)
    EXPECT_NE(text.find(name), std::string::npos) << name << text;
}

} // namespace
} // namespace batchtest
