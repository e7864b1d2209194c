#include "platform/unicode.h"

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/stringpiece.h>

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <new>

#include "json/utf8.h"

namespace tovra {
namespace {

// Eight bytes at a time: reports ask for each of many short texts.
bool isAscii(std::string_view text) {
    std::uint64_t all = 0;
    for (std::uint64_t eight = 0; text.size() >= sizeof eight; text.remove_prefix(sizeof eight)) {
        std::memcpy(&eight, text.data(), sizeof eight);
        all |= eight;
    }
    for (const char c : text) all |= static_cast<unsigned char>(c);
    return (all & 0x8080808080808080) == 0;
}

char asciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }
char asciiUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }

std::string mapAscii(std::string_view text, char (*map)(char)) {
    std::string mapped(text);
    std::transform(mapped.begin(), mapped.end(), mapped.begin(), map);
    return mapped;
}

// Runs one of ICU's mappings of UTF-8, given as a call with a source, a sink and an error code.
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

const icu::Normalizer2* composer() {
    UErrorCode error = U_ZERO_ERROR;
    return icu::Normalizer2::getNFCInstance(error);
}

// ICU makes it once, and never again where memory was short: that is done at start.
const icu::Normalizer2* const kComposer = composer();

std::string caseFolded(std::string_view text) {
    return mapUnicode(text, [](icu::StringPiece source, icu::ByteSink& sink, UErrorCode& error) {
        icu::CaseMap::utf8Fold(0, source, sink, nullptr, error);
    });
}

std::string lowerCased(std::string_view text) {
    return mapUnicode(text, [](icu::StringPiece source, icu::ByteSink& sink, UErrorCode& error) {
        icu::CaseMap::utf8ToLower("", 0, source, sink, nullptr, error);
    });
}

}  // namespace

std::string upperCased(std::string_view text) {
    if (isAscii(text)) return mapAscii(text, asciiUpper);
    return mapUnicode(text, [](icu::StringPiece source, icu::ByteSink& sink, UErrorCode& error) {
        icu::CaseMap::utf8ToUpper("", 0, source, sink, nullptr, error);
    });
}

std::string composed(std::string_view text) {
    if (isAscii(text)) return std::string(text);
    if (kComposer == nullptr) throw std::bad_alloc();
    return mapUnicode(text, [](icu::StringPiece source, icu::ByteSink& sink, UErrorCode& error) {
        kComposer->normalizeUTF8(0, source, sink, nullptr, error);
    });
}

std::string nameForm(std::string_view name) {
    if (isAscii(name)) return mapAscii(name, asciiLower);
    // Folding works on composed letters, and may leave behind what can be composed.
    return composed(caseFolded(composed(name)));
}

std::string searchForm(std::string_view text) {
    if (isAscii(text)) return mapAscii(text, asciiLower);
    std::string form = composed(lowerCased(text));
    for (std::size_t at = 0; (at = form.find("ς", at)) != std::string::npos;) {
        form.replace(at, std::string_view("ς").size(), "σ");
    }
    return form;
}

bool searchFinds(std::string_view text, std::string_view form) {
    if (!isAscii(text)) return searchForm(text).find(form) != std::string::npos;
    const auto same = [](char a, char b) { return asciiLower(a) == b; };
    return std::search(text.begin(), text.end(), form.begin(), form.end(), same) != text.end();
}

std::string_view ComposedTexts::operator()(std::string_view text) {
    if (isAscii(text)) return text;
    const auto [form, isNew] = forms_.try_emplace(text);
    if (isNew) form->second = composed(text);
    return form->second;
}

}  // namespace tovra
