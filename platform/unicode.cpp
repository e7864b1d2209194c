#include "platform/unicode.h"

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/stringpiece.h>

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <new>

#include "json/utf8.h"

namespace tovra {
namespace {

bool isAscii(std::string_view text) {
    return std::none_of(text.begin(), text.end(), [](char c) { return (c & 0x80) != 0; });
}

char asciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }
char asciiUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }

std::string mapAscii(std::string_view text, char (*map)(char)) {
    std::string mapped(text);
    std::transform(mapped.begin(), mapped.end(), mapped.begin(), map);
    return mapped;
}

// Runs one of ICU's UTF-8 case mappings, given as a call with a source, a sink and an error code.
template <typename Mapping>
std::string mapUnicode(std::string_view text, Mapping mapping) {
    assert(json::isValidUtf8(text));
    std::string mapped;
    icu::StringByteSink<std::string> sink(&mapped, static_cast<std::int32_t>(text.size()));
    UErrorCode error = U_ZERO_ERROR;
    mapping(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())), sink, error);
    // Nothing else can go wrong here. Half a text must not pass for the whole.
    if (U_FAILURE(error)) throw std::bad_alloc();
    return mapped;
}

std::string caseFolded(std::string_view text) {
    if (isAscii(text)) return mapAscii(text, asciiLower);
    return mapUnicode(text, [](icu::StringPiece source, icu::ByteSink& sink, UErrorCode& error) {
        icu::CaseMap::utf8Fold(0, source, sink, nullptr, error);
    });
}

}  // namespace

std::string lowerCased(std::string_view text) {
    if (isAscii(text)) return mapAscii(text, asciiLower);
    return mapUnicode(text, [](icu::StringPiece source, icu::ByteSink& sink, UErrorCode& error) {
        icu::CaseMap::utf8ToLower("", 0, source, sink, nullptr, error);
    });
}

std::string upperCased(std::string_view text) {
    if (isAscii(text)) return mapAscii(text, asciiUpper);
    return mapUnicode(text, [](icu::StringPiece source, icu::ByteSink& sink, UErrorCode& error) {
        icu::CaseMap::utf8ToUpper("", 0, source, sink, nullptr, error);
    });
}

bool equalIgnoringCase(std::string_view a, std::string_view b) {
    return a == b || caseFolded(a) == caseFolded(b);
}

bool lowerCasedContains(std::string_view text, std::string_view term) {
    if (!isAscii(text)) return lowerCased(text).find(term) != std::string::npos;
    const auto same = [](char a, char b) { return asciiLower(a) == b; };
    return std::search(text.begin(), text.end(), term.begin(), term.end(), same) != text.end();
}

}  // namespace tovra
