// Numbers and descriptions of ID mattes (Friedman and Jones 2015, "Fully automatic ID mattes with support for
// motion blur and transparency"; the conventions of files: Cryptomatte 1.2). Any thread.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// MurmurHash3 for 32 bits (A. Appleby, public domain), with seed 0.
std::uint32_t murmurHash3(std::string_view bytes) noexcept;

/// The hash of a name that is a usable float: never a denormal, an infinity or NaN.
std::uint32_t matteHash(std::string_view name) noexcept;
/// Its bits as a float: the number of a name in mattes.
float matteNumber(std::string_view name) noexcept;

/// The attributes of a file with the mattes of a layer, such as "crypto_object", for these names.
std::map<std::string, std::string> matteAttributes(std::string_view layer,
                                                   const std::vector<std::string>& names);

/// A text as a JSON string, quotes included. Bytes that are not UTF-8 stay.
std::string jsonText(std::string_view text);

} // namespace host
