#include "files/leftovers.h"

#include <array>
#include <filesystem>
#include <limits>
#include <optional>
#include <random>
#include <system_error>
#include <vector>

#include "files/file.h"

namespace tovra {
namespace {

constexpr std::string_view kPrefix = ".tovra-";
constexpr std::string_view kUnfinished = ".tmp";
constexpr std::string_view kKept = ".kept";

std::string hexOf(std::uint64_t number) {
    std::string digits;
    for (int shift = 60; shift >= 0; shift -= 4) digits += "0123456789abcdef"[number >> shift & 15];
    return digits;
}

// A kept file whose bytes have one of the hashes in its name. The old bytes are in the new file,
// and the new ones were never confirmed, or are in place.
std::optional<FileVersion> superfluous(FileSystem& system, const std::filesystem::path& path) {
    std::error_code error;
    auto file = openFile(path, std::numeric_limits<std::size_t>::max(), error, system);
    if (!file) return std::nullopt;
    FileVersion version(std::move(*file));
    std::vector<char> bytes(std::size_t{64} << 10);
    while (version.read(bytes.data(), bytes.size(), error) > 0) continue;
    const bool isNamed = path.native().find("-" + hexOf(version.hash())) != std::string::npos;
    return error || !isNamed ? std::nullopt : std::optional(std::move(version));
}

// Another process may be at work without the lock, and exchange the file at this moment. So what is
// removed gets a name of its own first, and goes back if it is not what was read.
void removeKept(FileSystem& system, const std::filesystem::path& folder, const std::string& name) {
    const auto version = superfluous(system, folder / name);
    const std::filesystem::path taken = folder / (unfinishedName() + name);  // a kept one too
    if (!version || system.rename(folder / name, taken)) return;
    struct stat found {};
    const bool isRead = !system.look(taken, found) && found.st_ino == version->file().status.st_ino;
    (void)(isRead ? system.remove(taken) : system.renameExclusively(taken, folder / name));
}

}  // namespace

Leftover leftoverOf(std::string_view name) {
    if (!name.starts_with(kPrefix)) return Leftover::none;
    if (name.ends_with(kUnfinished)) return Leftover::unfinished;
    return name.ends_with(kKept) ? Leftover::kept : Leftover::none;
}

std::string unfinishedName() {
    constexpr std::size_t kLetters = 10;
    std::random_device random;
    std::uniform_int_distribution<int> letter('a', 'z');
    std::string name(kPrefix);
    while (name.size() < kPrefix.size() + kLetters) name += static_cast<char>(letter(random));
    return name.append(kUnfinished);
}

std::string keptName(std::string_view unfinished, std::uint64_t oldBytes, std::uint64_t newBytes) {
    std::string name(unfinished.substr(0, unfinished.size() - kUnfinished.size()));
    name += "-" + hexOf(oldBytes) + "-" + hexOf(newBytes);
    return name.append(kKept);
}

void removeLeftovers(FileSystem& system, const Folder& folder) {
    if (!folder.isLocked()) return;
    std::error_code error;
    for (const std::string& name : system.namesIn(folder.path(), error)) {
        const Leftover kind = leftoverOf(name);
        if (kind == Leftover::unfinished) (void)system.remove(folder.path() / name);
        if (kind == Leftover::kept) removeKept(system, folder.path(), name);
    }
}

}  // namespace tovra
