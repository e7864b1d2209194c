#include "platform/json_tokens.h"

#include <simdjson.h>

#include "platform/memory.h"

namespace tovra::json {
namespace {

static_assert(Tokens::kPadding >= simdjson::SIMDJSON_PADDING);

// Small enough for the cache, together with its tokens.
constexpr std::size_t kWindow = std::size_t{64} << 10;

}  // namespace

Tokens::Tokens(std::string_view text) : next_(text.data()), end_(text.data() + text.size()) {}

Tokens::~Tokens() = default;

bool Tokens::nextWindow() {
    while (next_ != end_ && !failed_) {
        const std::size_t size = windowSize();
        window_ = next_;
        next_ += size;
        if (!scan(size)) failed_ = true;
        if (token_ != endOfTokens_) return !failed_;
    }
    return false;
}

// As far as the last line feed within the usual size, or else the first one behind it.
std::size_t Tokens::windowSize() const {
    const std::string_view rest(next_, static_cast<std::size_t>(end_ - next_));
    if (rest.size() <= kWindow) return rest.size();
    std::size_t feed = rest.rfind('\n', kWindow - 1);
    if (feed == std::string_view::npos) feed = rest.find('\n', kWindow);
    return feed == std::string_view::npos ? rest.size() : feed + 1;
}

bool Tokens::scan(std::size_t size) {
    if (!makeRoom(size)) return false;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(window_);
    const auto error = scanner_->stage1(bytes, size, simdjson::stage1_mode::regular);
    // On any error the number still is that of the window before.
    const std::size_t count = error == simdjson::SUCCESS ? scanner_->n_structural_indexes : 0;
    scanner_->structural_indexes[count] = static_cast<std::uint32_t>(size);
    token_ = scanner_->structural_indexes.get();
    endOfTokens_ = token_ + count;
    return error == simdjson::SUCCESS || error == simdjson::EMPTY;
}

bool Tokens::makeRoom(std::size_t size) {
    if (scanner_ && scanner_->capacity() >= size) return true;
    scanner_.reset();
    const auto* implementation = &*simdjson::get_active_implementation();
    if (implementation->create_dom_parser_implementation(size, 1, scanner_) != simdjson::SUCCESS) {
        return false;
    }
    preferLargePages(scanner_->structural_indexes.get(), size * sizeof(std::uint32_t));
    return true;
}

}  // namespace tovra::json
