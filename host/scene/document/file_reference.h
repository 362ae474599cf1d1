// Files beside a scene, named by relative URIs (RFC 3986) as glTF does. Any thread.
#pragma once

#include <optional>
#include <string>

#include "c4d_document.h"
#include "snapshot.h"

namespace host {

/// The files that a reference may name: at or below the scene's folder, or through ".." as well.
enum class Reach { below, anywhere };

/// The file that a relative URI names, seen from the scene's folder. Nothing for absolute URIs, URIs with a
/// scheme, and files out of reach.
std::optional<Filename> resolveReference(const std::string& uri, const Filename& folder, Reach reach);

/// The escaped URI that `resolveReference` resolves to this file. Nothing when no relative URI can name it.
std::optional<std::string> referenceTo(const Filename& file, const Filename& folder);

/// A file's absolute name, without "." and "..".
Filename absoluteFile(const Filename& file);

/// The URI of an outside picture for a scene in this folder. Nothing when the picture must be packed: it was
/// packed before, its file is gone, or no URI can name it.
std::optional<std::string> outsideReference(const Picture& picture, const Filename& folder);

} // namespace host
