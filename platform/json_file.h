// JSON texts in files.
#pragma once

#include <filesystem>
#include <optional>

#include "json/json.h"

namespace tovra {

// The JSON text in the file, parsed while it is read, so that its bytes need no memory. Nothing
// comes back where the file cannot be read, is no regular file, is longer than json::kMaxSize, or
// holds no JSON. May be called from several threads.
[[nodiscard]] std::optional<json::Document> parseFile(const std::filesystem::path& path);

}  // namespace tovra
