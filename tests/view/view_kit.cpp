#include "view_kit.h"

#include "c4d_render.h"

host::MeshPtr makeBoxMesh(float half) {
  auto mesh = std::make_shared<host::Mesh>();
  for (int corner = 0; corner < 8; ++corner)
    mesh->positions.push_back(
        {corner & 1 ? half : -half, corner & 2 ? half : -half, corner & 4 ? half : -half});
  mesh->triangles = {{0, 2, 3}, {0, 3, 1}, {4, 5, 7}, {4, 7, 6}, {0, 1, 5}, {0, 5, 4},
                     {2, 6, 7}, {2, 7, 3}, {0, 4, 6}, {0, 6, 2}, {1, 3, 7}, {1, 7, 5}};
  mesh->groups = {{0, 12}};
  mesh->low = {-half, -half, -half};
  mesh->high = {half, half, half};
  return mesh;
}

ViewTest::ViewTest() {
  startHost();
  newDocument();
  services.tracer = &host::viewTracer();
  services.present = [this] { ++presented; };
  services.viewChanged = [this] { ++changes; };
}

ViewTest::~ViewTest() {
  view.reset();
  host::setActiveDocument(nullptr);
}

void ViewTest::newDocument() {
  document = BaseDocument::Alloc();
  host::setActiveDocument(document);
}

host::EditorView& ViewTest::open(int width, int height, double ratio) {
  view = std::make_unique<host::EditorView>(services);
  view->resize(width, height, ratio);
  return *view;
}

BaseObject* ViewTest::addObject(LONG type, const char* name, const Matrix& world) {
  BaseObject* object = BaseObject::Alloc(type);
  object->SetName(name);
  document->InsertObject(object, nullptr, nullptr);
  object->SetMg(world);
  return object;
}

BaseObject* ViewTest::addBox(const char* name, const Vector& center, float half) {
  BaseObject* object = addObject(Opolygon, name, MatrixMove(center));
  host::stateOf(object)->mesh = makeBoxMesh(half);
  return object;
}

void ViewTest::setFormat(LONG width, LONG height) {
  BaseContainer* data = document->GetActiveRenderData()->GetDataInstance();
  data->SetLong(RDATA_XRES, width);
  data->SetLong(RDATA_YRES, height);
}

void ViewTest::placeCamera(const Vector& at) {
  draw().GetEditorCamera()->SetMg(MatrixMove(at));
}

host::ViewMouse ViewTest::mouse(double x, double y, host::MouseButton button) const {
  host::ViewMouse event;
  event.x = x, event.y = y, event.button = button;
  return event;
}

host::ViewMouse ViewTest::altMouse(double x, double y, host::MouseButton button) const {
  host::ViewMouse event = mouse(x, y, button);
  event.keys.alt = true;
  return event;
}
