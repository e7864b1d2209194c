#include "platform/uuid.h"

#include <uuid/uuid.h>

#include <array>

namespace tovra {

std::string randomUuid() {
    uuid_t uuid;
    uuid_generate_random(uuid);
    std::array<char, 37> text{};
    uuid_unparse_upper(uuid, text.data());
    return text.data();
}

}  // namespace tovra
