#include "files/accounts.h"

#include <unistd.h>

#include <algorithm>

namespace tovra {

std::string userName(uid_t user) {
    const auto found = findUser(user);
    return found ? found->name : std::to_string(user);
}

std::string groupName(gid_t group) {
    const auto found = findGroup(group);
    return found ? found->name : std::to_string(group);
}

std::string accountHome() {
    const auto found = findUser(::getuid());
    return found ? found->home : std::string();
}

bool isInGroup(uid_t user, gid_t group) {
    const auto found = findUser(user);
    if (!found) return false;
    if (found->group == group) return true;
    const auto members = findGroup(group).value_or(Group{}).members;
    return std::find(members.begin(), members.end(), found->name) != members.end();
}

}  // namespace tovra
