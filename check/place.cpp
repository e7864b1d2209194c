#include "check/place.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "json/json.h"
#include "platform/file.h"
#include "platform/folder.h"
#include "platform/replace_file.h"

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

void findLeftovers(Place& place) {
    std::error_code error;
    fs::directory_iterator entries(folderOf(place.target), error);
    for (; !error && entries != fs::directory_iterator(); entries.increment(error)) {
        const std::string name = entries->path().filename().string();
        const Leftover leftover = leftoverOf(name);
        if (leftover == Leftover::unfinished) place.unfinished.push_back(name);
        if (leftover == Leftover::kept) place.kept.push_back(name);
    }
    std::sort(place.unfinished.begin(), place.unfinished.end());
    std::sort(place.kept.begin(), place.kept.end());
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
    std::error_code error;
    place.target = fs::is_symlink(path, error) ? fs::weakly_canonical(path, error) : path;
    if (error) place.target = path;
    const auto file = openFile(path, json::kMaxSize, place.notReadable);
    if (file) place.size = file->size();
    if (place.notReadable == std::errc::no_such_file_or_directory) {
        place.missing = firstMissing(path);
    }
    place.notWritable = whyNotWritable(folderOf(place.target));
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) place.isOwn = status.st_uid == ::geteuid();
    findLeftovers(place);
    const std::string placeholder = "." + path.filename().string() + ".icloud";
    place.isInCloud = fs::exists(folderOf(path) / placeholder, error);
    return place;
}

}  // namespace tovra::check
