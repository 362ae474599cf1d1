#include "placed_mesh.h"

#include <new>

#include "mesh_tools.h"

namespace host::render {
namespace {

bool sameShape(const Mesh& a, const Mesh& b) {
  return a.positions.size() == b.positions.size() && a.normals.size() == b.normals.size() &&
         a.triangles == b.triangles;
}

bool usable(const Matrix& m, Real determinant) {
  const Real d = Dot(m.v1, Cross(m.v2, m.v3));
  return std::isfinite(d) && std::abs(d) > 1e-30 && (d < 0) == (determinant < 0);
}

} // namespace

Vec3 PlacedMesh::vertexAt(std::uint32_t index, float time) const {
  if (!motion || motion->shapes.empty()) return vertex(index);
  const StepPair s = stepsAround(time, motion->shapes.size());
  const auto at = [&](std::size_t step) { return Vec3(motion->shapes[step]->positions[index]) - center; };
  return lerp(at(s.first), at(s.second), s.part);
}

Vec3 PlacedMesh::normalAt(std::uint32_t index, float time) const {
  if (!motion || motion->shapes.empty()) return Vec3(mesh->normals[index]);
  const StepPair s = stepsAround(time, motion->shapes.size());
  return lerp(Vec3(motion->shapes[s.first]->normals[index]), Vec3(motion->shapes[s.second]->normals[index]),
              s.part);
}

Transform PlacedMesh::toWorldAt(float time) const {
  if (!motion || motion->steps.empty()) return toWorld;
  const StepPair s = stepsAround(time, motion->steps.size());
  const Transform &a = motion->steps[s.first], &b = motion->steps[s.second];
  Transform t;
  t.v1 = lerp(a.v1, b.v1, s.part), t.v2 = lerp(a.v2, b.v2, s.part), t.v3 = lerp(a.v3, b.v3, s.part);
  t.off = lerp(a.off, b.off, s.part);
  t.n1 = cross(t.v2, t.v3) * side, t.n2 = cross(t.v3, t.v1) * side, t.n3 = cross(t.v1, t.v2) * side;
  return t;
}

std::shared_ptr<PlacedMotion> motionOf(const Instance& instance, Vec3 center) {
  auto motion = std::make_shared<PlacedMotion>();
  const Real determinant = Dot(instance.toWorld.v1, Cross(instance.toWorld.v2, instance.toWorld.v3));
  if (instance.motion.size() > 1)
    for (Matrix step : instance.motion) {
      if (!usable(step, determinant)) return nullptr;
      step.off = step * Vector(center.x, center.y, center.z);
      motion->steps.emplace_back(step);
    }
  const auto same = [&](const MeshPtr& shape) { return shape && sameShape(*shape, *instance.mesh); };
  if (instance.shapes.size() > 1 && std::all_of(instance.shapes.begin(), instance.shapes.end(), same))
    motion->shapes = instance.shapes;
  return motion->steps.empty() && motion->shapes.empty() ? nullptr : motion;
}

MeshAccelPtr buildShapes(const MeshPtr& mesh, const std::vector<MeshPtr>& shapes, int workers,
                         const Stopped& stopped) {
  auto accel = std::make_shared<MeshAccel>();
  accel->mesh = mesh;
  accel->scene = EmbreeScene(RTC_SCENE_FLAG_ROBUST, RTC_BUILD_QUALITY_MEDIUM);
  const RTCGeometry geometry = rtcNewGeometry(embreeDevice(), RTC_GEOMETRY_TYPE_TRIANGLE);
  if (!geometry) throw std::bad_alloc();
  rtcSetGeometryTimeStepCount(geometry, static_cast<unsigned>(shapes.size()));
  const Float3 center = farCenter(*mesh);
  const std::size_t vertices = mesh->positions.size();
  bool complete = true;
  for (unsigned step = 0; step < shapes.size(); ++step) {
    auto* points = static_cast<Float3*>(rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, step,
                                                                RTC_FORMAT_FLOAT3, sizeof(Float3), vertices));
    complete = complete && (points || vertices == 0);
    if (points)
      std::transform(shapes[step]->positions.begin(), shapes[step]->positions.end(), points,
                     [&](const Float3& p) { return minus(p, center); });
  }
  rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, mesh->triangles.data(), 0,
                             sizeof(mesh->triangles[0]), mesh->triangles.size());
  rtcCommitGeometry(geometry);
  rtcAttachGeometryByID(accel->scene.get(), geometry, 0);
  rtcReleaseGeometry(geometry);
  if (!complete) throw std::bad_alloc();
  return accel->scene.build(workers, stopped) ? accel : nullptr;
}

} // namespace host::render
