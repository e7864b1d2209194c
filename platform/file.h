// Reading a whole file. May be called from several threads.
#pragma once

#include <filesystem>
#include <optional>

#include "platform/json.h"

namespace tovra {

// The bytes of the regular file at `path`, as they are at this moment. Nothing comes back when it
// does not exist, cannot be read, is something else than a regular file, or is longer than
// json::Text::kMaxSize.
[[nodiscard]] std::optional<json::Text> readFile(const std::filesystem::path& path);

}  // namespace tovra
