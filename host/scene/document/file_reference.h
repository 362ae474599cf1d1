// Files beside a scene, named by relative URIs (RFC 3986) as glTF does. Any thread.
#pragma once

#include <optional>
#include <string>

#include "c4d_document.h"
#include "snapshot.h"

namespace host {

/// Where a reference may lead.
enum class Reach { below, anywhere }; // at or below the scene's folder; along ".." too

/// The file that a relative URI names, seen from the scene's folder. Nothing for an absolute one, one with a
/// scheme, and one that leads out of reach.
std::optional<Filename> resolveReference(const std::string& uri, const Filename& folder, Reach reach);

/// The URI that `resolveReference` reads back as this file, escaped. Nothing when no relative one can name
/// it.
std::optional<std::string> referenceTo(const Filename& file, const Filename& folder);

/// A file's absolute name, without "." and "..".
Filename absoluteFile(const Filename& file);

/// How a picture outside the scene's file is to be written into a scene in this folder: as this URI. Nothing
/// when it must be packed: it was packed before, its file is gone, or no URI can name it.
std::optional<std::string> outsideReference(const Picture& picture, const Filename& folder);

} // namespace host
