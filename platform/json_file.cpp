#include "platform/json_file.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "platform/file.h"

namespace tovra {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

std::string_view withoutByteOrderMark(std::string_view text) {
    if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    return text;
}

std::optional<json::Document> parseFile(const std::filesystem::path& path, std::error_code& error,
                                        const json::Names& names) {
    const auto file = openFile(path, json::kMaxSize, error);
    if (!file) return std::nullopt;
    std::array<char, kByteOrderMark.size()> head{};
    const std::size_t length = readAt(file->descriptor, head.data(), head.size(), 0, error);
    if (error) return std::nullopt;

    // Where the text begins, and how far it has been read.
    const std::size_t begin = length - withoutByteOrderMark({head.data(), length}).size();
    std::size_t done = std::min(begin, file->size());
    const auto read = [&](char* into, std::size_t room) -> std::ptrdiff_t {
        const std::size_t size = std::min(room, file->size() - done);
        const std::size_t count = readAt(file->descriptor, into, size, done, error);
        if (error) return -1;
        done += count;
        return static_cast<std::ptrdiff_t>(count);
    };
    return json::parse(json::Source{file->size() - done, read}, names);
}

}  // namespace tovra
