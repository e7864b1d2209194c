// The letter case of Unicode text in UTF-8.
//
// Every mapping is the full one of the Unicode Character Database for the root locale. It may
// change a text's length, and no setting of the user changes it. Throws std::bad_alloc where memory
// is short. All functions may be called from several threads.
#pragma once

#include <string>
#include <string_view>

namespace tovra {

// The text in lower case or upper case. REQUIRES: text is valid UTF-8.
[[nodiscard]] std::string lowerCased(std::string_view text);
[[nodiscard]] std::string upperCased(std::string_view text);

// Whether the whole texts are equal without regard to letter case: full default case folding of
// both sides, no trimming, no normalisation. REQUIRES: both are valid UTF-8.
[[nodiscard]] bool equalIgnoringCase(std::string_view a, std::string_view b);

// Whether `term` occurs in the text in lower case. REQUIRES: text is valid UTF-8.
[[nodiscard]] bool lowerCasedContains(std::string_view text, std::string_view term);

}  // namespace tovra
