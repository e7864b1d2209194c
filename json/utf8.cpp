#include "json/utf8.h"

#include <simdjson.h>

namespace tovra::json {

bool isValidUtf8(std::string_view text) {
    return simdjson::validate_utf8(text.data(), text.size());
}

}  // namespace tovra::json
