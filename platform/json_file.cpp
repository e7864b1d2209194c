#include "platform/json_file.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <system_error>

#include "platform/file.h"

namespace tovra {

std::optional<json::Document> parseFile(const std::filesystem::path& path) {
    std::error_code error;
    const auto file = openFile(path, json::kMaxSize, error);
    if (error == std::errc::file_too_large || error == std::errc::not_enough_memory) {
        throw std::bad_alloc();
    }
    if (!file) return std::nullopt;
    std::size_t done = 0;
    const auto read = [&](char* into, std::size_t room) -> std::ptrdiff_t {
        const std::size_t size = std::min(room, file->size() - done);
        const std::size_t count = readAt(file->descriptor, into, size, done, error);
        if (error == std::errc::not_enough_memory) throw std::bad_alloc();
        if (error) return -1;
        done += count;
        return static_cast<std::ptrdiff_t>(count);
    };
    return json::parse(json::Source{file->size(), read});
}

}  // namespace tovra
