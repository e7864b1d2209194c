// Unicode text in UTF-8: letter case, and whether two texts are the same.
//
// Texts that only differ in composition, such as é as one code point or as two, are the same. Every
// mapping is the full one of the Unicode Character Database for the root locale. It may change a
// text's length, and no setting of the user changes it. All functions REQUIRE valid UTF-8, throw
// std::bad_alloc where memory is short, and may be called from several threads.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

namespace tovra {

// The text in upper case.
[[nodiscard]] std::string upperCased(std::string_view text);

// The form (NFC) that all texts share which are the same.
[[nodiscard]] std::string composed(std::string_view text);

// The form that all names share which are one name: the same without regard to letter case, by full
// default case folding. Nothing is trimmed.
[[nodiscard]] std::string nameForm(std::string_view name);

// The form in which a search compares texts: composed, in lower case, and every ς a σ.
[[nodiscard]] std::string searchForm(std::string_view text);

// Whether `form`, which searchForm() gave, occurs in that form of the text.
[[nodiscard]] bool searchFinds(std::string_view text, std::string_view form);

// composed(), done once for each text. Gives views of the text or of what this holds. Keeps views
// of the texts. Not for several threads.
class ComposedTexts {
  public:
    std::string_view operator()(std::string_view text);

  private:
    std::unordered_map<std::string_view, std::string> forms_;  // of texts beyond ASCII
};

}  // namespace tovra
