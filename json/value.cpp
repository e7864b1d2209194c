#include <algorithm>
#include <array>
#include <cassert>
#include <cstdlib>
#include <string>
#include <utility>

#include "json/json.h"
#include "json/spare.h"

namespace tovra::json {
namespace {

// The value of a number of at most fifteen digits without an exponent. Its digits and the power of
// ten are exact doubles, and their quotient is rounded once (W. D. Clinger, "How to Read Floating
// Point Numbers Accurately", 1990).
std::optional<double> shortDecimal(std::string_view text) {
    static constexpr std::array kPowersOfTen{1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6, 1e7,
                                             1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14};
    // A text of so many characters has at most so many digits, and fewer decimals.
    constexpr std::size_t kMostDigits = std::numeric_limits<double>::digits10;
    static_assert(kPowersOfTen.size() == kMostDigits);
    const bool isNegative = text.front() == '-';
    if (text.size() > kMostDigits) return std::nullopt;
    std::int64_t digits = 0;
    std::size_t decimals = 0, perDigit = 0;
    for (const char c : text.substr(isNegative ? 1 : 0)) {
        if (c == '.') {
            perDigit = 1;
        } else if (c < '0' || c > '9') {
            return std::nullopt;
        } else {
            digits = digits * 10 + (c - '0');
            decimals += perDigit;
        }
    }
    const double value = static_cast<double>(digits) / kPowersOfTen[decimals];
    return isNegative ? -value : value;
}

}  // namespace

std::uint32_t Names::indexOf(std::string_view name) const {
    const auto found = std::find(known.begin(), known.end(), name);
    return found == known.end() ? kNone : static_cast<std::uint32_t>(found - known.begin());
}

double Value::numberOf(std::string_view text) {
    if (const auto exact = shortDecimal(text)) return *exact;
    // strtod needs a copy, which is rare enough. This program never leaves the C locale.
    return std::strtod(std::string(text).c_str(), nullptr);
}

Value Value::member(std::string_view name) const {
    assert(!exists() || node_ != storage_->arrays.nodes.begin() ||
           storage_->names.keep(storage_->names.indexOf(name)));
    const Children members = is(Kind::object) ? children() : Children();
    for (std::size_t i = members.size(); i > 0; --i) {
        if (members[i - 1].name() == name) return members[i - 1];
    }
    return {};
}

Storage::~Storage() { putSpare(std::move(arrays)); }

Document::Document() = default;
Document::Document(std::unique_ptr<Storage> storage) : storage_(std::move(storage)) {}
Document::Document(Document&&) noexcept = default;
Document& Document::operator=(Document&&) noexcept = default;
Document::~Document() = default;

Value Document::root() const {
    return storage_ ? Value(storage_->arrays.nodes.begin(), storage_.get()) : Value();
}

}  // namespace tovra::json
