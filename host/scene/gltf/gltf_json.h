// JSON of scene files, read without trust: a getter gives its preset when the value is missing or of another
// type.
#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "c4d_math.h"

namespace host {

using Json = nlohmann::ordered_json;
using Bytes = std::vector<std::byte>;
using BytesPtr = std::shared_ptr<const Bytes>;

/// The reason why a file is not loaded, and advice. Stays inside host/scene.
struct SceneError : std::runtime_error {
  explicit SceneError(
      const std::string& what,
      std::string whatToDo = "The file is damaged or not written to the standard; export it again.")
      : std::runtime_error(what), advice(std::move(whatToDo)) {}
  std::string advice;
};
/// Thrown when the caller cancels the load.
struct SceneCancelled {};

/// Parses a text; throws SceneError for invalid JSON or more than 256 levels.
Json parseJson(std::string_view text);

const Json& member(const Json& object, const char* key);                 // a null value when absent
const Json& element(const Json& array, std::size_t index);               // a null value when absent
double numberIn(const Json& object, const char* key, double preset = 0); // finite
std::optional<double> maybeNumber(const Json& object, const char* key);
/// An index; -1 when absent. Throws SceneError, naming `what`, when it is not below `count`.
int indexIn(const Json& object, const char* key, std::size_t count, const char* what);
std::size_t sizeIn(const Json& object, const char* key, std::size_t preset = 0);
bool flagIn(const Json& object, const char* key, bool preset = false);
std::string textIn(const Json& object, const char* key);
std::optional<Vector> maybeVector(const Json& object, const char* key);
/// The number of elements of an array; 0 for other types.
std::size_t countOf(const Json& array) noexcept;
/// `object.extensions.<name>`; a null value when absent.
const Json& extension(const Json& object, const char* name);
/// `object.extras.lumenara`; a null value when absent.
const Json& ours(const Json& object);

std::string toBase64(std::span<const std::byte> bytes);
/// Skips blanks; nothing for invalid base64.
std::optional<Bytes> fromBase64(std::string_view text);
/// Decodes "%20" and the like.
std::string percentDecoded(std::string_view text);

struct DataUri {
  std::string mimeType;
  Bytes bytes;
};
bool isDataUri(const std::string& uri) noexcept;
/// Nothing for a damaged one. `uri` must be a data URI.
std::optional<DataUri> readDataUri(const std::string& uri);

/// A text as JSON: a string, or its bytes when it is not UTF-8.
Json textJson(const std::string& text);
std::string textOf(const Json& value);
bool isUtf8(std::string_view text) noexcept;

} // namespace host
