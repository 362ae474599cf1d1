// The suffixes of the picture formats, for help and error texts.
#pragma once

#include <string>

namespace batch {

enum class FormatUse { read, write };

/// "png, tif, jpg": the usual suffix of every format that is read or written.
std::string suffixList(FormatUse use);

} // namespace batch
