#include "check/surroundings.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "files/file.h"
#include "files/folder_lock.h"
#include "files/look_again.h"
#include "files/replace_file.h"
#include "json/json.h"

namespace tovra::check {
namespace {

namespace fs = std::filesystem;

// The first element of the path that does not exist. Empty where there is none or it cannot be
// seen.
fs::path firstMissing(const fs::path& path) {
    fs::path part;
    std::error_code error;
    for (const fs::path& name : path) {
        part /= name;
        if (!fs::exists(part, error)) return error ? fs::path() : part;
    }
    return {};
}

// What belongs to a save that is under way is gone a moment later.
void findLeftovers(Place& place) {
    FileSystem& system = FileSystem::system();
    const auto isNone = [](const auto& names) { return names.empty(); };
    const auto look = [&] {
        std::error_code error;
        auto names = system.namesIn(folderOf(place.target), error);
        std::erase_if(names, [](auto& name) { return leftoverOf(name) == Leftover::none; });
        return names;
    };
    auto names = lookUntil(system, isNone, look);
    std::sort(names.begin(), names.end());
    for (std::string& name : names) {
        const bool isKept = leftoverOf(name) == Leftover::kept;
        (isKept ? place.kept : place.unfinished).push_back(std::move(name));
    }
}

// Why no new file can be made in the folder. The first save makes a folder that is missing.
std::error_code whyNotWritable(fs::path folder) {
    std::error_code error;
    while (!fs::exists(folder, error) && !error && folder.has_relative_path()) {
        folder = folderOf(folder);
    }
    if (::access(folder.c_str(), W_OK | X_OK) == 0) return {};
    return {errno, std::generic_category()};
}

}  // namespace

Place lookAt(const fs::path& path) {
    Place place;
    place.path = path;
    place.target = resolved(FileSystem::system(), path);
    const auto file = openFile(path, json::kMaxSize, place.notReadable);
    if (file) place.size = file->size();
    if (place.notReadable == std::errc::no_such_file_or_directory) {
        place.missing = firstMissing(place.target);
    }
    place.notWritable = whyNotWritable(folderOf(place.target));
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) place.isOwn = status.st_uid == ::geteuid();
    findLeftovers(place);
    const std::string placeholder = "." + place.target.filename().string() + ".icloud";
    std::error_code error;
    place.isInCloud = fs::exists(folderOf(place.target) / placeholder, error);
    return place;
}

}  // namespace tovra::check
