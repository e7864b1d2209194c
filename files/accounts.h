// The users and groups of the system. May be called from several threads.
#pragma once

#include <sys/types.h>

#include <string>

namespace tovra {

// The name, or the number in decimal digits where there is none.
[[nodiscard]] std::string userName(uid_t user);
[[nodiscard]] std::string groupName(gid_t group);

// The home directory of the user under whom the process runs; empty where there is no such user.
[[nodiscard]] std::string accountHome();

// Whether the user is a member of the group, as far as the system's databases tell.
[[nodiscard]] bool isInGroup(uid_t user, gid_t group);

}  // namespace tovra
