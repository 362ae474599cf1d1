// The pictures of several scenes from one name.
#pragma once

#include <string>
#include <vector>

namespace batch {

/// The picture of each scene. "{name}" in `image` becomes the scene's file name without its suffix; a folder
/// (it exists, or ends in "/") gets NAME.png. One scene and any other name: that name. Throws `Stop` (wrong
/// use) when several scenes would be written to one picture.
std::vector<std::string> scenePictures(const std::vector<std::string>& scenes, const std::string& image);

/// `text` with each "{name}" replaced.
std::string withName(std::string text, const std::string& name);
/// "shot" for "scenes/shot.glb".
std::string sceneName(const std::string& scene);

} // namespace batch
