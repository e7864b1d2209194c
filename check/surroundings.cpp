#include "check/surroundings.h"

#include <algorithm>
#include <optional>
#include <string_view>
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

std::string lowerCase(std::string text) {
    for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return text;
}

// Whether a file of that name is another version of the one wanted, both in lower case: its name in
// other letter case, with an ending that an editor added, or what synchronisers and file managers
// make of a second version.
bool isCopy(std::string_view name, const fs::path& wanted) {
    const std::string stem = wanted.stem().string();
    const std::string ending = wanted.extension().string();
    if (name == wanted || name == wanted.string() + ".txt" || name == wanted.string() + ".json") {
        return true;
    }
    if (!name.starts_with(stem)) return false;
    if (name.find("conflict") != std::string_view::npos) return true;
    std::string_view middle = name.substr(stem.size());
    if (!middle.ends_with(ending)) return false;
    middle.remove_suffix(ending.size());
    const auto isNumbering = [](char c) { return std::string_view(" -()0123456789").find(c) < 20; };
    if (middle.ends_with("copy")) middle.remove_suffix(4);
    return std::all_of(middle.begin(), middle.end(), isNumbering);
}

// What belongs to a save that is under way is gone a moment later.
void lookBeside(Surroundings& found) {
    FileSystem& system = FileSystem::system();
    const fs::path folder = folderOf(found.target);
    const auto isLeftover = [](auto& name) { return leftoverOf(name) != Leftover::none; };
    const auto hasNone = [&](const auto& names) {
        return std::none_of(names.begin(), names.end(), isLeftover);
    };
    const auto look = [&] {
        std::error_code error;
        return system.namesIn(folder, error);
    };
    auto names = lookUntil(system, hasNone, look);
    std::sort(names.begin(), names.end());
    const fs::path wanted = lowerCase(found.target.filename().string());
    for (std::string& name : names) {
        std::error_code error;
        const std::string lower = lowerCase(name);
        if (name == found.target.filename() || fs::equivalent(folder / name, found.target, error)) {
            continue;
        }
        if (isLeftover(name)) {
            const bool isKept = leftoverOf(name) == Leftover::kept;
            (isKept ? found.kept : found.unfinished).push_back(std::move(name));
        } else if (isCopy(lower, wanted) ||
                   (found.isMissing() && lower.starts_with(wanted.stem().string()))) {
            found.copies.push_back(std::move(name));
        }
    }
}

// The folder of the file, or what exists of the way to it.
fs::path existingFolder(const fs::path& file) {
    fs::path folder = folderOf(file);
    std::error_code error;
    while (!fs::exists(folder, error) && !error && folder.has_relative_path()) {
        folder = folderOf(folder);
    }
    return folder;
}

}  // namespace

Surroundings lookAt(const fs::path& path) {
    FileSystem& system = FileSystem::system();
    Surroundings found;
    found.path = path;
    found.target = resolved(system, path);
    const auto file = openFile(path, json::kMaxSize, found.notReadable);
    if (file) found.size = file->size();
    if (found.isMissing()) {
        found.missing = firstMissing(found.target);
        found.drives = unmounted(found.target);
    }
    // The first save makes a folder that is missing.
    found.notWritable = system.mayWrite(existingFolder(found.target));
    // The mode of the file does not matter to whoever may put another one in its place.
    const std::error_code reason = system.mayWrite(found.target);
    if (reason == std::errc::operation_not_permitted) found.notReplaceable = reason;
    struct stat status {};
    if (!system.look(found.target, status)) found.isOwn = isOwn(status);
    lookBeside(found);
    const std::string placeholder = "." + found.target.filename().string() + ".icloud";
    std::error_code error;
    found.isInCloud = fs::exists(folderOf(found.target) / placeholder, error);
    return found;
}

fs::path unmounted(const fs::path& path, const std::vector<fs::path>& folders) {
    const auto deviceOf = [](const fs::path& folder) -> std::optional<dev_t> {
        struct stat status {};
        if (FileSystem::system().look(folder, status)) return std::nullopt;
        return status.st_dev;
    };
    for (const fs::path& folder : folders) {
        const auto end = std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
        if (end.first != folder.end()) continue;
        const auto device = deviceOf(folder);
        if (!device || device == deviceOf(existingFolder(path))) return folder;
    }
    return {};
}

}  // namespace tovra::check
