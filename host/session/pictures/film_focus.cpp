#include "film_focus.h"

#include <cstdio>

#include "document_hub.h"
#include "render_camera.h"
#include "render_origin.h"
#include "scene_queries.h"
#include "view_tracer.h"
#include "worker_threads.h"

namespace host {

namespace {

// The scene of the copy as its camera sees it.
ViewScenePtr sceneOf(BaseDocument& copy, BaseObject& camera) {
  if (!copy.ExecutePasses(nullptr, TRUE, TRUE, TRUE, BUILDFLAGS_0)) return nullptr;
  SnapshotOptions options;
  options.camera = &camera;
  const SnapshotPtr snapshot = takeSnapshot(copy, options);
  return snapshot ? viewTracer().prepare(snapshot, workerCount(), [] { return false; }) : nullptr;
}

ViewRay rayThrough(const SnapshotCamera& camera, const Film& film, int x, int y) {
  const render::RenderCamera eye(camera, film.width(), film.height(), 1);
  const render::Ray ray = eye.ray({static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f});
  return {{ray.origin.x, ray.origin.y, ray.origin.z},
          {ray.direction.x, ray.direction.y, ray.direction.z},
          ray.near,
          ray.far};
}

} // namespace

FilmFocus focusAt(const Film& film, int x, int y, const BaseDocument* document) {
  const std::vector<Identity> nodes = film.nodes(render::cameraNode);
  if (nodes.empty())
    return {0, {}, "This picture comes from a file: it has no camera to focus. Render it again."};
  const DocumentPtr copy(document ? document->GetClone(COPYFLAGS_0) : nullptr);
  BaseObject* camera = copy ? findObject(*copy, nodes.front()) : nullptr;
  if (!camera || !camera->IsInstanceOf(Ocamera))
    return {0, {}, "The camera of this picture is not an object of the scene. Render through a camera."};
  const ViewScenePtr scene = sceneOf(*copy, *camera);
  if (!scene) return {0, {}, "There is not enough memory to look at the scene. Close other programs."};
  const ViewRay ray = rayThrough(scene->snapshot().camera, film, x, y);
  ViewHit hit;
  scene->trace({&ray, 1}, {&hit, 1});
  if (hit.object == 0) return {0, {}, "There is no surface at this pixel to focus on."};
  const auto far = static_cast<Real>(hit.distance);
  FilmFocus found{nodes.front(), {}, {}};
  found.point = Vector(static_cast<Real>(ray.origin[0]), static_cast<Real>(ray.origin[1]),
                       static_cast<Real>(ray.origin[2])) +
                Vector(static_cast<Real>(ray.direction[0]), static_cast<Real>(ray.direction[1]),
                       static_cast<Real>(ray.direction[2])) *
                    far;
  char text[64];
  std::snprintf(text, sizeof text, "Focused on a point %.3g m away.", far);
  found.sentence = text;
  return found;
}

} // namespace host
