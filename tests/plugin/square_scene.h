// A green square, and the measurement of its edges in a picture.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>

#include "document.h"
#include "parameters.h"
#include "scene_edits.h"
#include "viewer_fixture.h"

struct Rectangle {
  Real left = 1e9, top = 1e9, right = -1e9, bottom = -1e9;
  Real width() const { return right - left; }
  Real height() const { return bottom - top; }
  void add(Real x, Real y) {
    left = std::min(left, x), right = std::max(right, x);
    top = std::min(top, y), bottom = std::max(bottom, y);
  }
};

/// Two triangles from four corners in cyclic order.
inline host::MeshPtr squareMesh(const Vector (&corners)[4]) {
  auto mesh = std::make_shared<host::Mesh>();
  for (const Vector& corner : corners)
    mesh->positions.push_back(
        {static_cast<float>(corner.x), static_cast<float>(corner.y), static_cast<float>(corner.z)});
  mesh->triangles = {{0, 1, 2}, {0, 2, 3}};
  mesh->groups = {{0, 2}};
  mesh->low = mesh->high = mesh->positions[0];
  for (const host::Float3& p : mesh->positions)
    for (std::size_t i = 0; i < 3; ++i) {
      mesh->low[i] = std::min(mesh->low[i], p[i]);
      mesh->high[i] = std::max(mesh->high[i], p[i]);
    }
  return mesh;
}

/// Gives the object a material that is green in every light.
inline void makeGreen(BaseDocument& document, BaseObject& object) {
  const host::Identity material = host::newMaterial(document);
  for (BaseMaterial* one = document.GetFirstMaterial(); one; one = one->GetNext()) {
    if (one->GetIdentity() != material) continue;
    one->SetParameter(host::param::unlit, GeData::FromBool(TRUE));
    one->SetParameter(host::param::baseColor, GeData(Vector(0, 1, 0)));
  }
  EXPECT_TRUE(host::assignMaterial(document, std::array{object.GetIdentity()}, material));
}

/// The edges of the green part, which shows in the middle of the rectangle (ends included), by how much of
/// the pixels it covers: linear light adds up, whatever it is mixed with.
inline Rectangle greenPart(const BaseBitmap& picture, LONG x0, LONG y0, LONG x1, LONG y1) {
  const auto linear = [](LONG byte) {
    const Real v = static_cast<Real>(byte) / 255;
    return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
  };
  const auto green = [&](LONG x, LONG y) {
    const Rgb color = pixelOf(picture, x, y);
    return linear(color.g) - linear(std::max(color.r, color.b));
  };
  const LONG x = (x0 + x1) / 2, y = (y0 + y1) / 2;
  const Real whole = green(x, y);
  EXPECT_GT(whole, 0.2) << "the square shows in the middle";
  const auto covered = [&](LONG px, LONG py) {
    const Real part = green(px, py) / whole;
    return part < 0.05 ? 0 : std::min(part, 1.0); // the ground is not quite black
  };
  Rectangle found{static_cast<Real>(x), static_cast<Real>(y), static_cast<Real>(x), static_cast<Real>(y)};
  for (LONG i = x0; i <= x1; ++i)
    (i < x ? found.left : found.right) += covered(i, y) * (i < x ? -1 : 1);
  for (LONG i = y0; i <= y1; ++i)
    (i < y ? found.top : found.bottom) += covered(x, i) * (i < y ? -1 : 1);
  return found;
}
