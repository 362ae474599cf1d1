// Changes of a document, each as one function: what the managers of a desktop do inside `Edits::apply` or
// `Edits::update`. Nodes are named by identity; one that is not there, or is of another kind, is passed over.
// True when something was done. Main thread, with the document's lock held.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "attributes.h"
#include "node_state.h"

namespace host {

using Identities = std::vector<Identity>;

// --- any node ---

/// An empty name is refused.
bool renameNode(BaseDocument& document, Identity node, const String& name);
/// Sets one attribute of all these nodes, clipped to its range; a file is read. Nodes without it, and files
/// that cannot be read, are passed over. `component` 0 to 2 sets only that part (x, y, z) of a vector, from
/// the value as a real; -1 all of it.
bool setAttribute(BaseDocument& document, std::span<const Identity> nodes, AttributeId attribute,
                  const GeData& value, int component = -1);

// --- objects ---

/// Exactly these are selected then; objects and materials are selected apart. With `add` the ones given are
/// added, `toggle` turns each around.
enum class SelectMode { replace, add, toggle };
bool selectObjects(BaseDocument& document, std::span<const Identity> objects,
                   SelectMode mode = SelectMode::replace);
bool selectMaterial(BaseDocument& document, Identity material); // 0: none

/// Sets the matrix, exactly.
bool setLocalMatrix(BaseDocument& document, Identity object, const Matrix& local);
bool setWorldMatrix(BaseDocument& document, Identity object, const Matrix& world);

/// What a user can make. It stands at the top, after all others, is the only one selected and is given back.
/// Cameras look as `view` does (null: from the origin along -Z). A floor lies below all meshes and reaches
/// far beyond them; a sky is a gradient.
Identity newObject(BaseDocument& document, LONG type, const BaseDraw* view = nullptr);
/// Makes a white light of a kind (param::lightKind) outside all meshes, above and to the right, aimed at
/// their middle. Its intensity grows with the square of its distance, so it lights a scene of any size alike.
Identity newLight(BaseDocument& document, LONG kind);

/// These skies, or without any the document's first one, or else a new one, show this picture around the
/// scene. A sky that was of another kind gives up its colour.
bool setSkyPicture(BaseDocument& document, std::span<const Identity> skies, const PicturePtr& picture);

/// With all below them.
bool deleteObjects(BaseDocument& document, std::span<const Identity> objects);
/// Copies of these with all below them, each after its original; they are selected then.
Identities duplicateObjects(BaseDocument& document, std::span<const Identity> objects);
/// Puts them under a new null in the place of the first of them; what is seen does not move. It is selected.
Identity groupObjects(BaseDocument& document, std::span<const Identity> objects);
/// Moves them, in their document order, under `parent` (0: to the top) behind `pred` (0: to the front). What
/// is seen does not move. One that would come below itself stays.
bool moveObjects(BaseDocument& document, std::span<const Identity> objects, Identity parent, Identity pred);
/// Of what was given, without those that hang below another one given; in document order.
Identities topmost(const BaseDocument& document, std::span<const Identity> objects);

// --- materials ---

/// A new one after the last, of this name (made unique by a number); selected.
Identity newMaterial(BaseDocument& document, const String& name = "Material");
Identity duplicateMaterial(BaseDocument& document, Identity material);
/// Texture tags that used it go too.
bool deleteMaterial(BaseDocument& document, Identity material);
/// The objects show this material all over: a texture tag for the whole object takes the place of those
/// there. 0 takes all texture tags away.
bool assignMaterial(BaseDocument& document, std::span<const Identity> objects, Identity material);
bool moveMaterial(BaseDocument& document, Identity material, Identity pred); // 0: to the front

// --- render settings ---

/// A value of the active render data, by RDATA_... .
bool setRenderValue(BaseDocument& document, LONG id, const GeData& value);
/// A video post of a type, last; the host's own have their names. 0 when the type is there already.
Identity addVideoPost(BaseDocument& document, LONG type);
bool removeVideoPost(BaseDocument& document, Identity post);
bool switchVideoPost(BaseDocument& document, Identity post, bool on);

// --- the document ---

/// Frame rate 1 to 1000; the range in frames, the last not before the first. The preview range follows.
bool setTimeRange(BaseDocument& document, LONG fps, LONG firstFrame, LONG lastFrame);

} // namespace host
