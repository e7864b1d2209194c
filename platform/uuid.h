// Random identifiers.
#pragma once

#include <string>

namespace tovra {

// A new random UUID in its canonical text form: 36 characters, upper-case hexadecimal digits in
// groups of 8-4-4-4-12. May be called from several threads.
[[nodiscard]] std::string randomUuid();

}  // namespace tovra
