#include "store/fields.h"

#include <string>

#include "platform/unicode.h"

namespace tovra {

json::Children asObjectArray(json::Value value) {
    return value.isArrayOfObjects() ? value.children() : json::Children();
}

std::string_view stringField(json::Value object, std::string_view name) {
    return asString(object.member(name));
}

double numberField(json::Value object, std::string_view name) {
    return asNumber(object.member(name));
}

std::optional<bool> boolField(json::Value object, std::string_view name) {
    return object.member(name).boolean();
}

json::Value objectField(json::Value object, std::string_view name) {
    const json::Value value = object.member(name);
    return value.is(json::Kind::object) ? value : json::Value();
}

json::Children objectArrayField(json::Value object, std::string_view name) {
    return asObjectArray(object.member(name));
}

json::Value namedObject(json::Value object, std::string_view array, std::string_view name) {
    const std::string form = nameForm(name);
    for (const json::Value element : objectArrayField(object, array)) {
        if (nameForm(stringField(element, "name")) == form) return element;
    }
    return {};
}

std::optional<std::int64_t> positiveWholeNumberField(json::Value object, std::string_view name) {
    const auto number = truncated(numberField(object, name));
    return number && *number >= 1 ? number : std::nullopt;
}

std::optional<std::int64_t> truncated(double value) {
    constexpr double kLimit = 9223372036854775808.0;  // 2^63, the first double that does not fit
    if (!(value >= -kLimit && value < kLimit)) return std::nullopt;
    return static_cast<std::int64_t>(value);
}

}  // namespace tovra
