// A view on a small document, for tests of the editor view.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "active_document.h"
#include "c4d.h"
#include "document.h"
#include "editor_view.h"
#include "host_fixture.h"
#include "view_camera.h"
#include "view_tracer.h"

/// A box of twelve triangles around the origin.
host::MeshPtr makeBoxMesh(float half);

class ViewTest : public HostFixture {
 public:
  ViewTest();
  ~ViewTest() override;

  /// Creates the view with the current `services`.
  host::EditorView& open(int width, int height, double ratio = 1);
  BaseObject* addBox(const char* name, const Vector& center, float half = 0.5f);
  BaseObject* addObject(LONG type, const char* name, const Matrix& world);
  void setFormat(LONG width, LONG height);
  /// Puts the view's own camera there, looking along -Z without a turn.
  void placeCamera(const Vector& at);
  void newDocument();

  BaseDraw& draw() { return *document->GetActiveBaseDraw(); }
  Matrix cameraMatrix() { return view->camera()->GetMg(); }
  host::ViewMouse mouse(double x, double y, host::MouseButton button = host::MouseButton::left) const;
  host::ViewMouse altMouse(double x, double y, host::MouseButton button = host::MouseButton::left) const;

  BaseDocument* document = nullptr; // the active one
  host::EditorViewServices services;
  std::unique_ptr<host::EditorView> view;
  int presented = 0, changes = 0;
};
