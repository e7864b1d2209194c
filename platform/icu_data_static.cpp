// An empty table in place of ICU's tables of locales, which take 30 MB. Only the properties of
// letters and their compositions are used here, and they are in the library itself.
#include <unicode/utypes.h>

extern "C" {
// Without the header of a data file ICU rejects it, as intended.
alignas(16) extern const char U_ICUDATA_ENTRY_POINT[32];
alignas(16) const char U_ICUDATA_ENTRY_POINT[32] = {};
}
