// JSON texts in files.
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

#include "json/json.h"

namespace tovra {

// The JSON text in the file, parsed while it is read, so that its bytes need no memory. A UTF-8
// byte-order mark before it is passed over. Nothing comes back where the file cannot be read, is no
// regular file or is longer than json::kMaxSize (EFBIG), with the reason in `error`; and where it
// holds no JSON, with no error. Throws std::bad_alloc. May be called from several threads.
[[nodiscard]] std::optional<json::Document> parseFile(const std::filesystem::path& path,
                                                      std::error_code& error);

// The text of a file without the UTF-8 byte-order mark that it may begin with.
[[nodiscard]] std::string_view withoutByteOrderMark(std::string_view text);

}  // namespace tovra
