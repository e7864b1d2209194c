#include "json/tokens.h"

#include <simdjson.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

namespace tovra::json {

static_assert(Tokens::kPadding >= simdjson::SIMDJSON_PADDING);

Tokens::Tokens(const Source& source) : source_(source) {
    // With room for one byte more than the text, the first fill() also sees the end of the text.
    makeRoom(std::min(source.size + 1, kUsualSize));
}

Tokens::~Tokens() = default;

Tokens::Window Tokens::next() {
    // Puts back the byte that the window's end took.
    text_[size_] = behind_;
    drop();
    while (fill()) {
        size_ = usableSize();
        const Scan result = size_ == 0 ? Scan::endsInString : scan();
        if (result == Scan::endsInString && !isLast_) {
            size_ = 0;
            makeRoom(2 * room_);
            continue;
        }
        if (result != Scan::done) {
            failed_ = true;
            cutAtWrongString();
            scan();
        }
        if (scanner_->n_structural_indexes > 0) {
            behind_ = std::exchange(text_[size_], '\0');
            return {text_.get(), scanner_->structural_indexes.get(),
                    scanner_->n_structural_indexes};
        }
        drop();
    }
    return {};
}

// Drops the window. What has been read behind it moves to the front.
void Tokens::drop() {
    dropped_ += size_;
    filled_ -= size_;
    std::memmove(text_.get(), text_.get() + size_, filled_);
    size_ = 0;
}

// Reads until the room is full or the text ends. False where nothing is left or reading fails.
bool Tokens::fill() {
    while (filled_ < room_ && !isLast_ && !failed_) {
        const auto count = source_.read(text_.get() + filled_, room_ - filled_);
        const auto size = static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0));
        failed_ = count < 0;
        isLast_ = size == 0;
        filled_ += size;
    }
    return filled_ > 0 && !failed_;
}

void Tokens::makeRoom(std::size_t room) {
    auto window = std::make_unique_for_overwrite<char[]>(room + kPadding);
    if (filled_ > 0) std::memcpy(window.get(), text_.get(), filled_);
    text_ = std::move(window);
    room_ = room;
}

// A window has to end where a token does. No string contains a line feed, so a window ends behind
// one. Without any it ends behind a comma, and the scan finds out whether that is inside a string.
// Either is mostly near the end of what has been read. If not, all of it is searched.
std::size_t Tokens::usableSize() const {
    if (isLast_) return filled_;
    constexpr std::size_t kNear = 4096;
    const std::string_view text(text_.get(), filled_);
    for (const std::size_t from : {filled_ - std::min(filled_, kNear), std::size_t{0}}) {
        for (const char end : {'\n', ','}) {
            const std::size_t last = text.substr(from).rfind(end);
            if (last != std::string_view::npos) return from + last + 1;
        }
    }
    return 0;
}

// This first stage is no public interface of the library. What is used of it was the same in
// versions 3.0.1, 3.12.3 and 4.6.11. fuzz_json compares the outcome.
Tokens::Scan Tokens::scan() {
    if (!scanner_ || scanner_->capacity() < size_) {
        scanner_.reset();
        const auto* implementation = &*simdjson::get_active_implementation();
        if (implementation->create_dom_parser_implementation(room_, 1, scanner_) !=
            simdjson::SUCCESS) {
            throw std::bad_alloc();
        }
    }
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text_.get());
    const auto error = scanner_->stage1(bytes, size_, simdjson::stage1_mode::regular);
    if (error != simdjson::SUCCESS) scanner_->n_structural_indexes = 0;
    scanner_->structural_indexes[scanner_->n_structural_indexes] =
        static_cast<std::uint32_t>(size_);
    findBackslash(text_.get());
    if (error == simdjson::UNCLOSED_STRING) return Scan::endsInString;
    return error == simdjson::SUCCESS || error == simdjson::EMPTY ? Scan::done : Scan::failed;
}

// Ends the window in the first string that holds a control character or does not end, or behind a
// backslash that stands in no string. The tokens up to there can then be scanned.
void Tokens::cutAtWrongString() {
    const char* end = text_.get() + size_;
    const auto cut = [&](char* last, const char* wrong, char instead) {
        wrongAt_ = dropped_ + static_cast<std::size_t>(wrong - text_.get());
        *last = instead;
        size_ = filled_ = static_cast<std::size_t>(last + 1 - text_.get());
    };
    bool inString = false;
    for (char* p = text_.get(); p < end || inString; ++p) {
        if (!inString && *p == '\\') return cut(p, p, *p);
        const bool isEscape = *p == '\\' && p < end;
        const char* last = isEscape ? p + 1 : p;
        if (inString && (last >= end || static_cast<unsigned char>(*last) < 0x20)) {
            return cut(p, last, '"');
        }
        if (*p == '"') inString = !inString;
        if (isEscape) ++p;
    }
}

void Tokens::findBackslash(const char* from) {
    const char* end = text_.get() + size_;
    const void* found = std::memchr(from, '\\', static_cast<std::size_t>(end - from));
    searchedFrom_ = from;
    foundBackslash_ = found == nullptr ? end : static_cast<const char*>(found);
}

}  // namespace tovra::json
