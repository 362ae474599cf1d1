// Containers in a scene file's extras (docs/scene-format.md).
#pragma once

#include <functional>

#include "c4d_container.h"
#include "gltf_json.h"
#include "identity.h"

namespace host {

/// The identity that a link's JSON names; 0 when it names nothing.
using LinkReader = std::function<Identity(const Json& link)>;
/// The JSON that names the node of this identity; null when it cannot be named.
using LinkWriter = std::function<Json(Identity identity)>;

Json containerToJson(const BaseContainer& container, const LinkWriter& links);
/// Invalid entries are left out.
BaseContainer containerFromJson(const Json& entries, const LinkReader& links, int depth = 0);

/// Writes into `to` the changes ("container", "remove", "order") that turn `derived` into `actual`; nothing
/// when they are equal.
void writeDifference(const BaseContainer& derived, const BaseContainer& actual, const LinkWriter& links,
                     Json& to);
/// Applies the changes that `writeDifference` wrote.
void applyDifference(const Json& from, const LinkReader& links, BaseContainer& container);

Json timeJson(const BaseTime& time);
/// A pair, or a number of seconds.
BaseTime timeFrom(const Json& value, const BaseTime& preset);
Json matrixJson(const Matrix& matrix);
Matrix matrixFrom(const Json& value);

} // namespace host
