// What the fuzz targets share: the check that makes an input count as found, the comparison of JSON
// values, and a data file. Each target is one file <name>_target.cpp that checks what has to hold
// for any bytes whatever. For one thread.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>

#include "json/json.h"
#include "json/write.h"
#include "support/test_environment.h"

// The entry point of every target; the name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace tovra::fuzz {

// Ends the process with the sentence that does not hold.
inline void require(bool holds, std::string_view sentence) {
    if (holds) return;
    std::cerr << "This does not hold: " << sentence << '\n';
    std::abort();
}

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

inline json::Document parsed(std::string_view text, std::string_view what) {
    auto document = json::parse(text);
    require(document.has_value(), std::string(what) + " is JSON: " + std::string(text));
    return std::move(*document);
}

bool same(json::Value a, json::Value b);

// Whether the objects have the same members, but for the one of that name.
inline bool sameExcept(json::Value a, json::Value b, const std::optional<std::string>& name) {
    for (const json::Value member : a.children()) {
        if (member.name() == name) continue;
        const json::Value last = a.member(member.name());
        if (last.isSame(member) && !same(last, b.member(member.name()))) return false;
    }
    const json::Children others = b.children();
    return std::all_of(others.begin(), others.end(), [&](json::Value member) {
        return member.name() == name || a.member(member.name()).exists();
    });
}

// Whether the array `b` is `a` with `added` elements more.
inline bool isAppended(json::Value a, json::Value b, std::size_t added = 1) {
    const json::Children elements = a.children();
    if (!b.is(json::Kind::array) || b.children().size() != elements.size() + added) return false;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        if (!same(elements[i], b.children()[i])) return false;
    }
    return true;
}

// Whether the values are the same: numbers by their text, the last of members with one name.
inline bool same(json::Value a, json::Value b) {
    if (!a.exists() || !b.exists()) return a.exists() == b.exists();
    if (!b.is(a.kind())) return false;
    if (a.is(json::Kind::number)) return a.numberText() == b.numberText();
    if (a.is(json::Kind::string)) return a.string() == b.string();
    if (a.is(json::Kind::object)) return sameExcept(a, b, std::nullopt);
    return !a.is(json::Kind::array) || isAppended(a, b, 0);
}

// The data file that a target works on: in a temporary folder, named by TOVRA_DATA_FILE.
class FuzzedFile {
  public:
    explicit FuzzedFile(std::string_view bytes) : file_(bytes) {}

    void write(std::string_view bytes) const { support::writeFile(file_.path(), bytes); }
    [[nodiscard]] std::string bytes() const { return support::fileBytes(file_.path()); }

    // That the file, which held `before`, is untouched or holds a changed object, and that nothing
    // else is left in its folder.
    void checkKept(std::string_view before) const {
        const auto folder = std::filesystem::directory_iterator(file_.path().parent_path());
        require(std::distance(begin(folder), end(folder)) == 1, "the folder holds the file alone");
        const std::string after = bytes();
        if (after == before) return;
        const auto old = parsed(before, "the data file");
        const auto changed = parsed(after, "the changed data file");
        const std::string list = "transactions";
        const bool added = sameExcept(old.root(), changed.root(), list) &&
                           isAppended(old.root().member(list), changed.root().member(list));
        require(added || sameExcept(old.root(), changed.root(), "goals"),
                "a recording changes what it is for");
    }

  private:
    support::EnvironmentScope timeZone_{"TZ", "Europe/Berlin"};
    support::DataFileScope file_;
};

}  // namespace tovra::fuzz
