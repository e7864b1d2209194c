// What the characters of escapes and numbers say (RFC 8259, sections 6 and 7). Only for the parser
// in parse.cpp. The texts end in characters that are no part of them, so none is read beyond its
// end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tovra::json {

inline bool isBlank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }
inline bool isDigit(char c) { return c >= '0' && c <= '9'; }

inline int hexValue(char c) {
    if (isDigit(c)) return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// The code unit of the four hexadecimal digits at `in`, which moves behind them. Negative when they
// are none; `in` is then at the first that is not.
inline int codeUnit(const char*& in) {
    int unit = 0;
    for (int i = 0; i < 4; ++i, ++in) {
        const int value = hexValue(*in);
        if (value < 0) return -1;
        unit = unit * 16 + value;
    }
    return unit;
}

inline char* appendUtf8(char* out, std::uint32_t c) {
    const auto put = [&out](std::uint32_t byte) { *out++ = static_cast<char>(byte); };
    if (c < 0x80) {
        put(c);
    } else if (c < 0x800) {
        put(0xC0 | c >> 6);
        put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        put(0xE0 | c >> 12);
        put(0x80 | (c >> 6 & 0x3F));
        put(0x80 | (c & 0x3F));
    } else {
        put(0xF0 | c >> 18);
        put(0x80 | (c >> 12 & 0x3F));
        put(0x80 | (c >> 6 & 0x3F));
        put(0x80 | (c & 0x3F));
    }
    return out;
}

// Decodes the escape whose backslash is at `in` to `out`, and moves both on. False when it is no
// escape of JSON; `in` is then at what is wrong. Never looks beyond the string's closing quote,
// which is no hexadecimal digit.
inline bool decodeEscape(const char*& in, char*& out) {
    static constexpr std::string_view kNames = "\"\\/bfnrt";
    static constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
    const char name = *++in;
    if (name != 'u') {
        const std::size_t which = kNames.find(name);
        if (which == std::string_view::npos) return false;
        *out++ = kMeanings[which];
        ++in;
        return true;
    }
    const int unit = codeUnit(++in);
    if (unit < 0) return false;
    auto code = static_cast<std::uint32_t>(unit);
    if (code >= 0xD800 && code < 0xE000) {
        if (code >= 0xDC00 || *in != '\\' || *++in != 'u') return false;
        const int low = codeUnit(++in);
        if (low < 0xDC00 || low > 0xDFFF) return false;
        code = 0x10000 + ((code - 0xD800) << 10) + (static_cast<std::uint32_t>(low) - 0xDC00);
    }
    out = appendUtf8(out, code);
    return true;
}

// The end of the number that begins at `p`. Where a digit is missing, that place; it is then `p` or
// behind a character that is no digit.
inline const char* endOfNumber(const char* p) {
    if (*p == '-') ++p;
    if (!isDigit(*p)) return p;
    if (*p == '0') {
        ++p;
    } else {
        while (isDigit(*p)) ++p;
    }
    if (*p == '.') {
        if (!isDigit(*++p)) return p;
        while (isDigit(*p)) ++p;
    }
    if (*p == 'e' || *p == 'E') {
        ++p;
        if (*p == '+' || *p == '-') ++p;
        while (isDigit(*p)) ++p;
    }
    return p;
}

}  // namespace tovra::json
