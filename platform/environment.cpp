#include "platform/environment.h"

#include <cstdlib>

namespace tovra {

std::optional<std::string> environmentVariable(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr) return std::nullopt;
    return value;
}

}  // namespace tovra
