// The textures of materials and the pictures that a document lacks, as values for a desktop's lists, and the
// edits that put other pictures into them. Main thread, with the document's lock held by edits.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "attributes.h"
#include "snapshot.h"

namespace host {

/// A bitmap that a material shows.
struct TextureEntry {
  Identity material = 0, shader = 0;
  std::string use;    // "Color", "Normal", ...
  std::string name;   // of the picture, without folders
  Filename file;      // empty: packed into the scene
  PicturePtr picture; // null: none yet
  bool missing = false;
  bool on = true;
  Identity strengthNode = 0; // the node that has its strength, and the attribute there
  AttributeId strength = AttributeId::textureStrength;
};

/// All bitmaps of a material, those within layers too, in the order of the slots.
std::vector<TextureEntry> texturesOf(const BaseDocument& document, Identity material);

/// The materials that these objects show, each once, in the order of the tags.
std::vector<Identity> materialsShown(const BaseDocument& document, std::span<const Identity> objects);

/// A picture that the scene names and that could not be read.
struct MissingPicture {
  Identity picture = 0;
  std::string name;               // without folders
  std::string reference;          // where the scene looks for it
  std::vector<std::string> users; // names of materials and skies, each once
  friend bool operator==(const MissingPicture&, const MissingPicture&) = default;
};

/// In the order of the materials, then the skies; each picture once.
std::vector<MissingPicture> missingPictures(const BaseDocument& document);

/// Shows a picture in one texture. False for a shader that the document does not have.
bool setTexturePicture(BaseDocument& document, Identity shader, const PicturePtr& picture);

/// By the identity of the picture that is replaced.
using PictureExchange = std::map<Identity, PicturePtr>;
/// Replaces pictures in all textures and skies of the document. True when it uses one of them.
bool exchangePictures(BaseDocument& document, const PictureExchange& exchange);

} // namespace host
