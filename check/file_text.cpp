#include "check/file_text.h"

#include <algorithm>
#include <system_error>

#include "files/json_file.h"

namespace tovra::check {

FileText::FileText(const OpenFile& file) : file_(file) {
    const std::string_view first = at(0, 4);
    begin_ = first.size() - withoutByteOrderMark(first).size();
}

std::string_view FileText::at(std::size_t offset, std::size_t room) {
    std::error_code error;
    piece_.resize(room);
    piece_.resize(readAt(file_.descriptor, piece_.data(), room, begin_ + offset, error));
    return piece_;
}

std::size_t FileText::begin() {
    constexpr std::size_t kPiece = 4096;
    for (std::size_t done = 0;;) {
        const std::string_view piece = at(done, kPiece);
        const std::size_t blanks = std::min(piece.find_first_not_of(" \t\r\n"), piece.size());
        done += blanks;
        if (blanks < piece.size() || piece.empty()) return done;
    }
}

json::Source FileText::source() {
    const auto read = [this, done = std::size_t{0}, hasEnded = false](
                          char* into, std::size_t room) mutable -> std::ptrdiff_t {
        if (hasEnded) return 0;
        std::error_code error;
        const std::size_t count = readAt(file_.descriptor, into, room, begin_ + done, error);
        if (error) return -1;
        const std::size_t nul = std::string_view(into, count).find('\0');
        hasEnded = nul != std::string_view::npos;
        const std::size_t given = hasEnded ? nul + 1 : count;
        done += given;
        return static_cast<std::ptrdiff_t>(given);
    };
    return {file_.size() - std::min(begin_, file_.size()), read};
}

}  // namespace tovra::check
