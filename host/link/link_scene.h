// A scene as a client of the live link has sent it: immutable values that the connection's thread makes and
// the main thread puts into the document.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "document_image.h"

namespace host {

/// An object, with the identity that its node has in the document.
struct LinkObject {
  std::string key, parentKey, meshKey;
  Identity identity = 0, parent = 0; // parent 0: at the top
  LONG type = Onull;
  String name;
  Matrix local;
  bool inEditor = true, inRender = true;
  MeshPtr mesh;
  PlacementsPtr placements;
  std::vector<Identity> materials; // of each group of the mesh; 0: none
  BaseContainer data;              // of its type's own parameters
};
using LinkObjectPtr = std::shared_ptr<const LinkObject>;

struct LinkMaterial {
  Identity identity = 0;
  ImagePtr image;
};
using LinkMaterialPtr = std::shared_ptr<const LinkMaterial>;

struct LinkSky {
  Identity identity = 0;
  bool isShown = true;
  BaseContainer data;
  PicturePtr picture;
};
struct LinkTime {
  double seconds = 0;
  std::optional<LONG> fps;
  std::optional<double> from, to; // seconds
};
struct LinkSettings {
  std::optional<LONG> width, height, samples;
  std::optional<bool> denoise;
  std::optional<double> noise;    // standard error at which a pixel ends, 0 to 1; 0: none ends early
  std::optional<Identity> camera; // 0: the view's own
};

/// All that a commit shows. Scenes of successive commits share what did not change.
struct LinkScene {
  std::uint64_t stage = 0; // of one client
  std::int64_t commit = 0;
  bool replaces = true; // the document; otherwise it joins the one that is open
  bool undo = false;    // the commit is a step of undo
  String name;
  std::shared_ptr<const std::vector<LinkObjectPtr>> objects; // parents before their children
  std::shared_ptr<const std::vector<LinkMaterialPtr>> materials;
  std::shared_ptr<const LinkSky> sky; // null: not sent
  std::shared_ptr<const LinkTime> time;
  std::shared_ptr<const LinkSettings> settings;
  std::size_t triangles = 0;
  std::vector<std::string> notes; // sentences: parts that could not be mapped
};
using LinkScenePtr = std::shared_ptr<const LinkScene>;

} // namespace host
