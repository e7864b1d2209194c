// Whether bytes are UTF-8, the only encoding of JSON texts.
#pragma once

#include <cstddef>
#include <string_view>

namespace tovra::json {

// Whether the bytes are valid UTF-8: shortest forms only, no surrogates, nothing beyond U+10FFFF
// (RFC 3629). The empty text is valid. May be called from several threads.
[[nodiscard]] bool isValidUtf8(std::string_view text);

// How many bytes at the beginning of the text are valid UTF-8, up to the first that belongs to no
// character. The time is linear. May be called from several threads.
[[nodiscard]] std::size_t validUtf8Size(std::string_view text);

}  // namespace tovra::json
