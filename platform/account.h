// The account under which the process runs.
#pragma once

#include <string>

namespace tovra {

// The home directory of the user's entry in the password database; empty where there is none. May
// be called from several threads.
[[nodiscard]] std::string accountHome();

}  // namespace tovra
