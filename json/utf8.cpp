#include "json/utf8.h"

#include <simdjson.h>

namespace tovra::json {

bool isValidUtf8(std::string_view text) {
    return simdjson::validate_utf8(text.data(), text.size());
}

std::size_t validUtf8Size(std::string_view text) {
    std::size_t size = isValidUtf8(text) ? text.size() : 0;
    while (size < text.size()) {
        std::size_t length = 1;
        while (length <= 4 && !isValidUtf8(text.substr(size, length))) ++length;
        if (length > 4) break;
        size += length;
    }
    return size;
}

}  // namespace tovra::json
