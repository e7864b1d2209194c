#include "files/keep_access.h"

#include <algorithm>
#include <tuple>

#include "files/accounts.h"

namespace tovra {
namespace {

using Kind = AccessEntry::Kind;

constexpr std::uint16_t kRead = 4;
constexpr std::uint16_t kWrite = 2;

// Whether `rights` include all of `asked`.
bool include(unsigned rights, unsigned asked) { return (asked & ~rights) == 0; }

AccessEntry* find(AccessList& list, Kind kind) {
    const auto isThat = [&](const AccessEntry& entry) { return entry.kind == kind; };
    const auto found = std::find_if(list.begin(), list.end(), isThat);
    return found == list.end() ? nullptr : &*found;
}

AccessList listOfMode(mode_t mode) {
    constexpr auto kNobody = static_cast<std::uint32_t>(-1);
    const auto digit = [&](unsigned shift) {
        return static_cast<std::uint16_t>((mode >> shift) & 7U);
    };
    return {{Kind::owner, digit(6), kNobody},
            {Kind::group, digit(3), kNobody},
            {Kind::others, digit(0), kNobody}};
}

mode_t modeOfList(AccessList& list) {
    return static_cast<mode_t>(find(list, Kind::owner)->rights << 6 |
                               find(list, Kind::group)->rights << 3 |
                               find(list, Kind::others)->rights);
}

bool isForGroups(const AccessEntry& entry) {
    return entry.kind == Kind::group || entry.kind == Kind::otherGroup;
}

// Takes the mask off the list: each entry keeps the rights that the mask lets through.
void applyMask(AccessList& list) {
    const AccessEntry* mask = find(list, Kind::mask);
    if (mask == nullptr) return;
    const std::uint16_t rights = mask->rights;
    for (AccessEntry& entry : list) {
        if (isForGroups(entry) || entry.kind == Kind::user) entry.rights &= rights;
    }
    std::erase_if(list, [](const AccessEntry& entry) { return entry.kind == Kind::mask; });
}

// A list of more than owner, group and others needs a mask, and its entries in order.
void complete(AccessList& list) {
    if (list.size() <= 3) return;
    AccessEntry mask{Kind::mask, 0, find(list, Kind::owner)->id};
    for (const AccessEntry& entry : list) {
        if (isForGroups(entry) || entry.kind == Kind::user) mask.rights |= entry.rights;
    }
    list.push_back(mask);
    std::sort(list.begin(), list.end(), [](const AccessEntry& a, const AccessEntry& b) {
        return std::tie(a.kind, a.id) < std::tie(b.kind, b.id);
    });
}

// What a user who is not the owner may do by the list.
unsigned rightsOf(uid_t user, gid_t group, const AccessList& list) {
    unsigned others = 0;
    unsigned asMember = 0;
    bool isMember = false;
    for (const AccessEntry& entry : list) {
        if (entry.kind == Kind::user && entry.id == user) return entry.rights;
        if (entry.kind == Kind::others) others = entry.rights;
        if (!isForGroups(entry)) continue;
        if (!isInGroup(user, entry.kind == Kind::group ? group : entry.id)) continue;
        isMember = true;
        asMember |= entry.rights;
    }
    return isMember ? asMember : others;
}

// The list of a file that changes hands. The new owner may do what it could do before. The old
// owner and the old group get an entry of their own where they need one.
class Handover {
  public:
    Handover(const struct stat& before, const struct stat& after, AccessList list)
        : before_(before), after_(after), list_(std::move(list)) {
        applyMask(list_);
    }

    // False where members of some group would lose or gain a right.
    bool changeGroup() {
        if (before_.st_gid == after_.st_gid) return true;
        AccessEntry& group = *find(list_, Kind::group);
        const std::uint16_t others = find(list_, Kind::others)->rights;
        // So far others, or other entries, said what members of the new group may do.
        for (const AccessEntry& entry : list_) {
            if (isForGroups(entry) && !include(entry.rights, others)) return false;
        }
        const std::uint16_t rights = std::exchange(group.rights, others);
        if (rights != others) name(Kind::otherGroup, before_.st_gid, rights);
        return true;
    }

    void changeOwner(bool mayWrite) {
        if (before_.st_uid == after_.st_uid) return;
        AccessEntry& owner = *find(list_, Kind::owner);
        const std::uint16_t rights = std::exchange(owner.rights, kRead | (mayWrite ? kWrite : 0));
        constexpr uid_t kSuperuser = 0;  // is let in by every file
        if (before_.st_uid == kSuperuser) return;
        if (!include(rightsOf(before_.st_uid, after_.st_gid, list_), rights)) {
            name(Kind::user, before_.st_uid, rights);
        }
    }

    AccessList& list() {
        complete(list_);
        return list_;
    }

  private:
    void name(Kind kind, std::uint32_t id, std::uint16_t rights) {
        std::erase_if(list_, [&](const AccessEntry& it) { return it.kind == kind && it.id == id; });
        list_.push_back({kind, rights, id});
    }

    const struct stat& before_;
    const struct stat& after_;
    AccessList list_;
};

class Keeper {
  public:
    Keeper(const std::filesystem::path& path, const OpenFile& original, const Descriptor& fresh)
        : system_(fresh.system()), path_(path), original_(original), file_(fresh.get()) {}

    AccessProblem keep() {
        const int from = original_.descriptor.get();
        std::error_code error = system_.copyAttributes(from, file_);
        if (!error) error = keepOwner();
        AccessList list;
        if (!error) list = system_.accessList(from, error);
        if (error == std::errc::not_supported) error.clear();
        if (error) return {error, {}};
        const struct stat& before = original_.status;
        if (after_.st_uid != before.st_uid || after_.st_gid != before.st_gid) return handOver(list);
        if (const auto failure = system_.setAccessList(file_, list)) {
            return {failure, "its access control list cannot be kept: " + failure.message()};
        }
        return {keepMode(before.st_mode & 07777), {}};
    }

  private:
    // Keeps owner and group, or the group alone, as far as this process may.
    std::error_code keepOwner() {
        const struct stat& before = original_.status;
        const auto fits = [&] {
            return after_.st_uid == before.st_uid && after_.st_gid == before.st_gid;
        };
        std::error_code error = system_.status(file_, after_);
        if (error || fits()) return error;
        constexpr auto kAsItIs = static_cast<uid_t>(-1);
        if (system_.changeOwner(file_, before.st_uid, before.st_gid)) {
            (void)system_.changeOwner(file_, kAsItIs, before.st_gid);
        }
        return system_.status(file_, after_);
    }

    AccessProblem handOver(AccessList list) {
        const struct stat& before = original_.status;
        if (list.empty()) list = listOfMode(before.st_mode);
        const auto problem = [&](bool isGroups, const char* what) -> AccessProblem {
            const std::string who = isGroups ? "its group, " + groupName(before.st_gid)
                                             : "its owner, " + userName(before.st_uid);
            return {std::make_error_code(std::errc::operation_not_permitted), who + ", " + what};
        };
        Handover handover(before, after_, std::move(list));
        if (!handover.changeGroup()) return problem(true, "cannot be kept");
        handover.changeOwner(!system_.mayWrite(path_));
        AccessList& wanted = handover.list();
        if (wanted.size() > 3) {
            if (!system_.setAccessList(file_, wanted)) return {};
            return problem(after_.st_gid != before.st_gid, "would lose access to it");
        }
        if (const auto failure = system_.setAccessList(file_, {})) return {failure, {}};
        return {keepMode(modeOfList(wanted)), {}};
    }

    // A mode that fits is not set, since some file systems know no chmod.
    std::error_code keepMode(mode_t mode) {
        const std::error_code error = system_.status(file_, after_);
        if (error || (after_.st_mode & 07777) == mode) return error;
        return system_.changeMode(file_, mode);
    }

    FileSystem& system_;
    const std::filesystem::path& path_;
    const OpenFile& original_;
    int file_;
    struct stat after_ {};
};

}  // namespace

AccessProblem keepAccess(const std::filesystem::path& path, const OpenFile& original,
                         const Descriptor& fresh) {
    return Keeper(path, original, fresh).keep();
}

}  // namespace tovra
