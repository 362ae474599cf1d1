// The copies of the inner loops agree.
#include <gtest/gtest.h>

#include "path_kernel.h"
#include "portable_results.h"
#include "render_code.h"
#include "scene_kit.h"

using namespace kit;
using host::render::PathResult;
using host::render::RayScene;

namespace {

Scene room() {
  Scene scene;
  int gold, glass;
  SurfaceMaterial& m = scene.addMaterial(&gold);
  m.metallic = 1, m.roughness = 0.3f;
  SurfaceMaterial& g = scene.addMaterial(&glass);
  g.transmission = 1, g.roughness = 0.2f, g.thickness = 1;
  scene.sky(0.5f);
  scene.addLight(LightKind::point, {1, 2, 1}, {0, 0, 0}, 5).radius = 0.2f;
  scene.add(quad({-3, -1, 3}, {6, 0, 0}, {0, 0, -6}));
  scene.add(ball(0.6f, 24), gold).toWorld.off = {-0.7, -0.4, 0};
  scene.add(ball(0.6f, 24), glass).toWorld.off = {0.7, -0.4, 0};
  scene.lookAt({0, 1.2f, 2.8f}, {0, 0, 0}, false, 0.8f);
  return scene;
}

TEST(PathKernel, copiesFindTheSameLight) {
  Scene scene = room();
  draw(scene, 1, 1); // sets the bounds
  const auto how = settings(48, 48, 4);
  const auto rays = RayScene::build(scene.snapshot, how, 1, {}).scene;
  const render::RenderCamera camera(scene.snapshot->camera, 48, 48, 4);
  double sum[2] = {0, 0};
  int same = 0, all = 0;
  for (std::uint32_t y = 0; y < 48; ++y)
    for (std::uint32_t x = 0; x < 48; ++x) {
      Vec3 color[2];
      for (std::size_t i = 0; i < 2; ++i) {
        const render::PathKernel& kernel = i ? render::pathKernel() : render::portableKernel();
        const render::Ray ray = camera.ray({static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f});
        color[i] =
            kernel.trace(*rays, how, ray, camera.cone(), render::Sampler(x, y, 1, 0), nullptr, {}).color;
        sum[i] += static_cast<double>(render::luminance(color[i]));
      }
      const float apart = render::maxComponent(render::abs(color[0] - color[1]));
      same += apart <= 1e-3f * (1 + render::maxComponent(color[0]));
      ++all;
    }
  EXPECT_GT(same, all * 0.97) << "a path may turn where a choice falls on the last bit";
  EXPECT_NEAR(sum[0], sum[1], 0.01 * sum[0]);
}

TEST(PathKernel, isChosenByProcessorAndEnvironment) {
  if (wantsPortableResults()) {
    EXPECT_STREQ(renderCode(), "portable");
    EXPECT_EQ(render::pathKernel().trace, render::portableKernel().trace);
    return;
  }
  if (std::string_view(renderCode()) != "avx2")
    GTEST_SKIP() << "no AVX2, or a build without the copy (sanitizers, debug)";
  EXPECT_NE(render::pathKernel().trace, render::portableKernel().trace);
}

} // namespace
