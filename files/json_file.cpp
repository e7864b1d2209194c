#include "files/json_file.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <utility>

namespace tovra {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// Whether it is the process or the system that ran out, and nothing is wrong with the file.
bool isShortage(const std::error_code& error) {
    return error == std::errc::not_enough_memory || error == std::errc::too_many_files_open ||
           error == std::errc::too_many_files_open_in_system;
}

// Parses what `read` gives, at most `size` bytes. It gives none at the end, and sets `error` where
// reading fails.
template <typename Read>
std::optional<json::Document> parseRead(std::size_t size, const Read& read,
                                        const std::error_code& error, const json::Names& names) {
    bool isFirst = true;
    const auto next = [&](char* into, std::size_t room) -> std::ptrdiff_t {
        std::string_view text(into, read(into, room));
        if (error) return -1;
        if (std::exchange(isFirst, false)) {
            text = withoutByteOrderMark(text);
            std::memmove(into, text.data(), text.size());
        }
        return static_cast<std::ptrdiff_t>(text.size());
    };
    return json::parse(json::Source{size, next}, names);
}

}  // namespace

std::string_view withoutByteOrderMark(std::string_view text) {
    if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    return text;
}

std::optional<json::Document> parseFile(const std::filesystem::path& path, std::error_code& error,
                                        const json::Names& names) {
    const auto file = openFile(path, json::kMaxSize, error);
    if (isShortage(error)) throw std::bad_alloc();
    if (!file) return std::nullopt;
    std::size_t done = 0;
    const auto read = [&](char* into, std::size_t room) {
        const std::size_t size = std::min(room, file->size() - done);
        const std::size_t count = readAt(file->descriptor, into, size, done, error);
        done += count;
        return count;
    };
    return parseRead(file->size(), read, error, names);
}

std::optional<json::Document> parseFile(FileVersion& version, std::error_code& error,
                                        const json::Names& names) {
    const auto read = [&](char* into, std::size_t room) { return version.read(into, room, error); };
    return parseRead(version.file().size(), read, error, names);
}

}  // namespace tovra
