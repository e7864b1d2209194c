// For a program without shared libraries. The C library's own search would load one for each source
// of accounts. This one reads /etc/passwd and /etc/group alone, and knows no accounts of a network.
#include <grp.h>
#include <pwd.h>

#include <array>
#include <cstdio>
#include <memory>

#include "files/accounts.h"

namespace tovra {
namespace {

// The first entry that is the right one. `next` is fgetpwent_r or fgetgrent_r, and `Entry` what it
// reads; `take` makes of the right entry what is wanted, and nothing of others.
template <typename Result, typename Entry, typename Take>
std::optional<Result> find(const char* path,
                           int (*next)(std::FILE*, Entry*, char*, std::size_t, Entry**),
                           const Take& take) {
    struct Close {
        // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): it is owned, by this class's holder
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    const std::unique_ptr<std::FILE, Close> file(std::fopen(path, "re"));
    Entry entry{};
    Entry* found = nullptr;
    std::array<char, 16384> texts{};
    std::optional<Result> result;
    while (file && !result && next(file.get(), &entry, texts.data(), texts.size(), &found) == 0) {
        result = take(entry);
    }
    return result;
}

}  // namespace

std::optional<User> findUser(uid_t user) {
    return find<User>("/etc/passwd", ::fgetpwent_r, [&](const passwd& entry) {
        if (entry.pw_uid != user) return std::optional<User>();
        return std::optional(User{entry.pw_name, entry.pw_dir, entry.pw_gid});
    });
}

std::optional<Group> findGroup(gid_t group) {
    return find<Group>("/etc/group", ::fgetgrent_r, [&](const struct group& entry) {
        std::optional<Group> found;
        if (entry.gr_gid != group) return found;
        found = Group{entry.gr_name, {}};
        for (char** member = entry.gr_mem; *member != nullptr; ++member) {
            found->members.emplace_back(*member);
        }
        return found;
    });
}

}  // namespace tovra
