// A small scene of plain squares with a known picture, and pictures read by another library.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace batchtest {

struct TinyScene {
  bool missingPicture = false; // the red square names a picture that is not there
  bool animated = false;       // the red square moves by two metres to the right from frame 0 to 30
  float glow = 0;              // above 0: the blue square is a light of this strength instead
};

/// Writes `tiny.gltf` and `tiny.bin` into the folder and gives the scene's path. The camera "Front" sees 4 x
/// 4 metres: a red square in the upper left quarter, a blue one in the lower right quarter. The camera "Back"
/// looks away from both. Nothing lies in the other quarters.
std::string writeTinyScene(const std::filesystem::path& folder, const TinyScene& scene = {});

struct Picture {
  int width = 0, height = 0;
  std::string format; // as the reading library calls it
  std::vector<float> pixels;
  /// 0 to 1 for 8-bit pictures. Channel 0 is red.
  float at(int x, int y, int channel) const;
  bool isBlack(int x, int y) const { return at(x, y, 0) == 0 && at(x, y, 1) == 0 && at(x, y, 2) == 0; }
  double mean() const;
  /// Standard deviation of all values.
  double spread() const;
};

/// Reads a picture; width 0 when the file cannot be read.
Picture readPicture(const std::string& file);
/// Whether this pixel is the red, the blue square.
bool isRed(const Picture& picture, int x, int y);
bool isBlue(const Picture& picture, int x, int y);

} // namespace batchtest
