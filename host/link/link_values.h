// Checked values of the live link's messages. Any thread.
#pragma once

#include "c4d_container.h"
#include "link_blocks.h"

namespace host {

/// A key: 1 to 256 bytes. Throws LinkError.
std::string linkKey(const Json& from, const char* name = "key");
/// The same, or empty for null or nothing.
std::string optionalLinkKey(const Json& from, const char* name);
/// A matrix of 16 finite numbers, columns one after another. Throws LinkError.
Matrix linkMatrix(const double* numbers);
Matrix linkMatrix(const Json& list);
/// The keys of a message about many objects. Throws LinkError.
std::vector<std::string> linkKeys(const Json& message, const char* name = "keys");
/// The parameters of lights and cameras.
BaseContainer linkLight(const Json& light);
BaseContainer linkCamera(const Json& camera);
BaseContainer linkSky(const Json& sky);

} // namespace host
