#include "platform/json.h"

#include <charconv>
#include <cstdlib>
#include <string>
#include <system_error>

namespace tovra::json {

std::optional<double> Value::number() const {
    if (!is(Kind::number)) return std::nullopt;
    const std::string_view text = numberText();
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    // from_chars does not tell too large from too small; this program never leaves the C locale.
    if (error != std::errc()) return std::strtod(std::string(text).c_str(), nullptr);
    return value;
}

std::optional<bool> Value::boolean() const {
    if (is(Kind::trueValue)) return true;
    if (is(Kind::falseValue)) return false;
    return std::nullopt;
}

Value Value::member(std::string_view name) const {
    const Children members = is(Kind::object) ? children() : Children();
    for (std::size_t i = members.size(); i > 0; --i) {
        if (members[i - 1].name() == name) return members[i - 1];
    }
    return {};
}

Children Value::children() const {
    if (!is(Kind::array) && !is(Kind::object)) return {};
    return {storage_->nodes.get() + node_->start, node_->extent, storage_};
}

Value Document::root() const { return storage_ ? Value(storage_->nodes[0], *storage_) : Value(); }

}  // namespace tovra::json
