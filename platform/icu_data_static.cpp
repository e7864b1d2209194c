// ICU's tables of locales, 30 MB, are one object that its library names. The properties of letters,
// all that is used here, are in the library itself: this object, with nothing in it, takes the
// place of the other one.
#include <unicode/utypes.h>

extern "C" {
// Without the marks of a table it is refused by whatever asks for one.
alignas(16) extern const char U_ICUDATA_ENTRY_POINT[32];
alignas(16) const char U_ICUDATA_ENTRY_POINT[32] = {};
}
