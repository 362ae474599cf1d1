// Imports of other formats.
#include <cmath>

#include "document.h"
#include "parameters.h"
#include "scene_builder.h"
#include "temporary_folder.h"

namespace host {
namespace {

constexpr const char* objText = R"(mtllib box.mtl
o quad
v 0 0 0
v 2 0 0
v 2 1 0
v 0 1 0
vt 0 0
vt 1 0
vt 1 1
vt 0 1
usemtl red
f 1/1 2/2 3/3 4/4
)";
constexpr const char* mtlText = "newmtl red\nKd 0.8 0.1 0.2\nNs 0\nd 0.5\nmap_Kd red.png\n";

TEST(Import, objWithItsMaterialsAndPictures) {
  const TemporaryFolder folder;
  folder.write("box.mtl", mtlText);
  folder.write("red.png", "\x89PNG");
  const LoadResult result = loadDocument(folder.write("box.obj", objText));
  ASSERT_TRUE(result.document) << result.error;
  EXPECT_TRUE(result.warnings.empty());
  const SceneCounts counts = countScene(*result.document);
  EXPECT_EQ(counts.triangles, 2U);
  EXPECT_EQ(counts.high, Vector(2, 1, 0));
  const SnapshotPtr snapshot = takeSnapshot(*result.document, {});
  const SurfaceMaterial& red =
      *snapshot->materials.at(static_cast<std::size_t>(snapshot->instances.at(0).materials.at(0)));
  EXPECT_EQ(red.name, "red");
  EXPECT_NEAR(red.baseColor[0], 0.8F, 1e-6F);
  EXPECT_NEAR(red.baseColor[3], 0.5F, 1e-6F);
  EXPECT_EQ(red.alphaMode, AlphaMode::blend);
  ASSERT_TRUE(red.baseColorShade);
  EXPECT_EQ(red.baseColorShade->texture.picture->name, "red.png");
  EXPECT_EQ(red.baseColorShade->texture.picture->mimeType, "image/png");
  // The picture's first row is at v = 0.
  const Mesh& mesh = *snapshot->instances[0].mesh;
  for (std::size_t v = 0; v < mesh.positions.size(); ++v)
    EXPECT_FLOAT_EQ(mesh.uv[0][v][1], 1 - mesh.positions[v][1]);
  EXPECT_EQ(result.document->GetActiveRenderData()->GetDataInstance()->GetLong(RDATA_XRES), 1280);
  reload(*result.document);
}

TEST(Import, aMissingPictureIsAWarning) {
  const TemporaryFolder folder;
  folder.write("box.mtl", mtlText);
  const LoadResult result = loadDocument(folder.write("box.obj", objText));
  ASSERT_TRUE(result.document) << result.error;
  EXPECT_EQ(result.missingFiles, std::vector<std::string>{"red.png"});
  EXPECT_EQ(result.warnings.size(), 1U);
}

TEST(Import, nothingOutsideTheFolderIsOpened) {
  const TemporaryFolder folder;
  folder.write("box.mtl", "newmtl red\nKd 1 0 0\nmap_Kd ../../red.png\n");
  folder.write("red.png", "\x89PNG");
  folder.makeFolder("deep");
  std::string text = objText;
  text.replace(text.find("box.mtl"), 7, "../box.mtl");
  LoadResult result = loadDocument(folder.write("deep/box.obj", text));
  ASSERT_TRUE(result.document) << result.error;
  for (BaseMaterial* material = result.document->GetFirstMaterial(); material; material = material->GetNext())
    EXPECT_NE(material->GetDataInstance()->GetVector(param::baseColor), Vector(1, 0, 0))
        << "the file above was not read";
}

TEST(Import, ply) {
  const TemporaryFolder folder;
  const LoadResult result = loadDocument(folder.write(
      "t.ply",
      "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\n"
      "property uchar red\nproperty uchar green\nproperty uchar blue\nelement face 1\nproperty list uchar "
      "int vertex_indices\n"
      "end_header\n0 0 0 255 0 0\n1 0 0 0 255 0\n0 1 0 0 0 255\n3 0 1 2\n"));
  ASSERT_TRUE(result.document) << result.error;
  const SnapshotPtr snapshot = takeSnapshot(*result.document, {});
  ASSERT_EQ(snapshot->instances.size(), 1U);
  EXPECT_EQ(snapshot->instances[0].mesh->triangles.size(), 1U);
  ASSERT_EQ(snapshot->instances[0].mesh->colors.size(), 3U);
  reload(*result.document);
}

TEST(Import, stl) {
  const TemporaryFolder folder;
  const LoadResult result =
      loadDocument(folder.write("t.STL", "solid t\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 "
                                         "0\nvertex 0 1 0\nendloop\nendfacet\nendsolid t\n"));
  ASSERT_TRUE(result.document) << result.error;
  EXPECT_EQ(countScene(*result.document).triangles, 1U);
}

constexpr const char* daeText = R"(<?xml version="1.0"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
<asset><unit name="meter" meter="1"/><up_axis>Y_UP</up_axis></asset>
<library_cameras><camera id="cam"><optics><technique_common><perspective><yfov>40</yfov><aspect_ratio>2</aspect_ratio><znear>0.5</znear><zfar>100</zfar></perspective></technique_common></optics></camera></library_cameras>
<library_lights><light id="sun"><technique_common><directional><color>2 1 0</color></directional></technique_common></light></library_lights>
<library_geometries><geometry id="g"><mesh>
<source id="p"><float_array id="pa" count="9">0 0 0 1 0 0 0 1 0</float_array><technique_common><accessor source="#pa" count="3" stride="3"><param name="X" type="float"/><param name="Y" type="float"/><param name="Z" type="float"/></accessor></technique_common></source>
<vertices id="v"><input semantic="POSITION" source="#p"/></vertices>
<triangles count="1"><input semantic="VERTEX" source="#v" offset="0"/><p>0 1 2</p></triangles>
</mesh></geometry></library_geometries>
<library_visual_scenes><visual_scene id="s">
<node id="eye" name="eye"><translate>0 0 5</translate><instance_camera url="#cam"/></node>
<node id="lamp" name="lamp"><instance_light url="#sun"/></node>
<node id="shape" name="shape"><translate>3 0 0</translate><instance_geometry url="#g"/></node>
</visual_scene></library_visual_scenes>
<scene><instance_visual_scene url="#s"/></scene></COLLADA>)";

TEST(Import, daeWithCameraAndLight) {
  const TemporaryFolder folder;
  const LoadResult result = loadDocument(folder.write("t.dae", daeText));
  ASSERT_TRUE(result.document) << result.error;
  const SceneCounts counts = countScene(*result.document);
  EXPECT_EQ(counts.triangles, 1U);
  EXPECT_EQ(counts.low.x, 3);
  ASSERT_EQ(counts.cameraNames, std::vector<std::string>{"eye"});
  const SnapshotPtr snapshot = takeSnapshot(*result.document, {});
  EXPECT_NEAR(snapshot->camera.toWorld.off.z, 5, 1e-6);
  EXPECT_NEAR(snapshot->camera.toWorld.v3.z, 1, 1e-6) << "looks along -Z";
  EXPECT_NEAR(snapshot->camera.yfov, 40 * M_PI / 180, 0.01);
  ASSERT_EQ(snapshot->lights.size(), 1U);
  EXPECT_EQ(snapshot->lights[0].kind, LightKind::distant);
  EXPECT_NEAR(snapshot->lights[0].intensity[0], 2, 1e-6);
  EXPECT_NEAR(snapshot->lights[0].intensity[1], 1, 1e-6);
  reload(*result.document);
}

TEST(Import, damagedFilesGiveASentence) {
  const TemporaryFolder folder;
  for (const char* name : {"a.obj", "a.fbx", "a.ply", "a.stl", "a.dae"}) {
    const LoadResult result = loadDocument(folder.write(name, "this is not a scene"));
    EXPECT_TRUE(result.document || result.error.find(name) != std::string::npos) << name;
    EXPECT_TRUE(result.document || result.error.back() == '.');
  }
  const std::string text = daeText;
  for (std::size_t length = 0; length < text.size(); length += 97)
    loadDocument(folder.write("cut.dae", text.substr(0, length)));
}

} // namespace
} // namespace host
