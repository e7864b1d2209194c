// The variables of the process's environment. May be called from several threads, as long as none
// of them changes the environment.
#pragma once

#include <optional>
#include <string>

namespace tovra {

// The value of an environment variable; nothing when it is not set.
[[nodiscard]] std::optional<std::string> environmentVariable(const char* name);

}  // namespace tovra
