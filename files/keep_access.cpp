#include "files/keep_access.h"

#include <string>
#include <system_error>

#include "files/accounts.h"
#include "files/save_error.h"

namespace tovra {
namespace {

struct stat statusOf(const Descriptor& file) {
    struct stat status {};
    throwIf(file.system().status(file.get(), status));
    return status;
}

// Keeps owner and group, or the group alone, as far as this process may. Gives what came of it.
struct stat keepOwner(const struct stat& before, const Descriptor& fresh) {
    const struct stat now = statusOf(fresh);
    if (now.st_uid == before.st_uid && now.st_gid == before.st_gid) return now;
    constexpr auto kAsItIs = static_cast<uid_t>(-1);
    FileSystem& system = fresh.system();
    if (system.changeOwner(fresh.get(), before.st_uid, before.st_gid)) {
        (void)system.changeOwner(fresh.get(), kAsItIs, before.st_gid);
    }
    return statusOf(fresh);
}

// Who is in the new group and in one with fewer rights than others would gain those of others now.
// With a list nothing is certain: the digit of the group is then the list's mask.
void requireSameForGroup(const struct stat& before, bool hasList) {
    const mode_t group = before.st_mode >> 3 & 07, others = before.st_mode & 07;
    if (group == others && !hasList) return;
    throw SaveError("its group, " + groupName(before.st_gid) + ", cannot be kept");
}

// The group was kept, or has the same rights as the others.
void requireSameForOwner(const struct stat& before, gid_t newGroup, bool hasList) {
    constexpr uid_t kSuperuser = 0;  // is let in by every file
    if (before.st_uid == kSuperuser) return;
    const mode_t owner = before.st_mode >> 6 & 07;
    const mode_t group = before.st_mode >> 3 & 07, others = before.st_mode & 07;
    // Who is not known as a member may be one all the same.
    const bool isMember = isInGroup(before.st_uid, newGroup);
    if (!hasList && owner == group && (isMember || owner == others)) return;
    throw SaveError("its owner, " + userName(before.st_uid) + ", would lose access to it");
}

}  // namespace

void keepAccess(const std::filesystem::path& path, const OpenFile& original,
                const Descriptor& fresh) {
    FileSystem& system = fresh.system();
    const struct stat& before = original.status;
    // The owner first: a list or a mode with the wrong group would let that group in.
    const struct stat now = keepOwner(before, fresh);
    throwIf(system.copyAttributes(original.descriptor.get(), fresh.get()));
    bool hasList = false;
    if (const auto error = system.copyAccessList(original.descriptor.get(), fresh.get(), hasList)) {
        throw SaveError("its access control list cannot be kept: " + error.message());
    }
    mode_t mode = before.st_mode & 07777;
    if (now.st_gid != before.st_gid) {
        requireSameForGroup(before, hasList);
        mode &= 0777;
    }
    if (now.st_uid != before.st_uid) {
        requireSameForOwner(before, now.st_gid, hasList);
        // The new owner may do what it could do before.
        mode = (mode & 077) | S_IRUSR | (system.mayWrite(path) ? 0U : S_IWUSR);
    }
    // A mode that fits is not set, since some file systems know no chmod.
    if ((statusOf(fresh).st_mode & 07777) != mode) {
        throwIf(system.changeMode(fresh.get(), mode));
    }
}

}  // namespace tovra
