// Shared by the fuzz targets.
#pragma once

#include <filesystem>

namespace fuzz {

/// Ends the program with this line when the promise is broken.
void require(bool holds, const char* what);

/// A fresh folder, in memory where the system has such a place. It is removed when the program ends.
const std::filesystem::path& temporaryFolder();

} // namespace fuzz
