// JSON texts in files.
#pragma once

#include <filesystem>
#include <optional>

#include "json/json.h"

namespace tovra {

// The JSON text in the file, parsed while it is read, so that its bytes need no memory. Nothing
// comes back where the file cannot be read, is no regular file or holds no JSON. Throws
// std::bad_alloc where there is too little memory for it, as there is for all that is longer than
// json::kMaxSize. May be called from several threads.
[[nodiscard]] std::optional<json::Document> parseFile(const std::filesystem::path& path);

}  // namespace tovra
