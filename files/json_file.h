// JSON texts in files.
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

#include "files/file.h"
#include "json/json.h"

namespace tovra {

// The JSON text in the file, parsed while it is read, so that its bytes need no memory. A UTF-8
// byte-order mark before it is passed over. Nothing comes back where openFile() fails for the size
// json::kMaxSize, or reading does; `error` then has the reason. Nothing and no error come back
// where the file holds no JSON. Throws std::bad_alloc where memory or descriptors are short. May be
// called from several threads.
[[nodiscard]] std::optional<json::Document> parseFile(const std::filesystem::path& path,
                                                      std::error_code& error,
                                                      const json::Names& names = {});

// The same for a file that has not been read yet.
[[nodiscard]] std::optional<json::Document> parseFile(FileVersion& file, std::error_code& error,
                                                      const json::Names& names = {});

// The text of a file without the UTF-8 byte-order mark that it may begin with.
[[nodiscard]] std::string_view withoutByteOrderMark(std::string_view text);

}  // namespace tovra
