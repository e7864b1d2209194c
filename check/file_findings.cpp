#include "check/examination.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include "files/file.h"

namespace tovra::check {
namespace {

constexpr std::string_view kZeros = " The reports see an empty file";

// What the system's reason for not opening or reading a file means.
// clang-format off
std::string whyNotReadable(const std::error_code& reason) {
    switch (reason.default_error_condition().value()) {
        case EACCES:
            return "Your user may not read the file, or not enter one of the folders on the way to it.";
        case EPERM:
            return "The system keeps this program from the file, whatever its mode says. On macOS, allow the "
                   "assistant's host, and the terminal for this check, in System Settings, Privacy & Security, "
                   "Files and Folders (or Full Disk Access), and start it again.";
        case EDEADLK:
            return "The file is kept in the cloud and has not been downloaded to this computer. Have its folder "
                   "kept downloaded, or open the file once.";
        case ENOTDIR: return "A part of the path is a file where a folder is needed.";
        case ELOOP: return "The path goes round in a circle of symbolic links.";
        case EISDIR: return "This is a folder. The data file is the data.json in it.";
        case EINVAL: return "This is no ordinary file.";
        case EFBIG: return "The file is larger than 2 GiB, which is more than the server reads.";
        default: return "The file cannot be read: " + reason.message() + ".";
    }
}
// clang-format on

std::string whyNotWritable(const std::error_code& reason) {
    if (reason == std::errc::permission_denied) return "Your user may not make files in the folder";
    return "No file can be made in the folder: " + reason.message();
}

struct FileFindings : Findings {
    void addPath(const Surroundings& file) {
        const std::string path = readablePath(file.path);
        if (path.starts_with('~') || path.starts_with('$') || path.starts_with("file:")) {
            warn("tilde", "The path is taken as it stands: " + path.substr(0, path.find('/')) +
                              " means nothing in it. Write the whole path, from / on.");
        } else if (!file.path.is_absolute()) {
            warn("relative",
                 "The path is not absolute. The server takes it from the folder in which "
                 "its host starts it, which may be any.");
        }
        constexpr std::string_view kStray = " \t\r\n\"'";
        if (!path.empty() && (kStray.find(path.front()) < kStray.size() ||
                              kStray.find(path.back()) < kStray.size())) {
            warn("stray-ends",
                 "The path begins or ends with a blank or a quotation mark, which is "
                 "taken as a part of it: \"" +
                     path + "\".");
        }
    }

    void addPreferences(const DataFileLocation& location) {
        if (location.preferencesProblem) {
            fail("preferences",
                 *location.preferencesProblem +
                     ". The preferences may name another file: reports come from this one, and "
                     "recordings are refused.");
        }
        if (location.preferencesRemark) {
            warn("preferences-ignored",
                 *location.preferencesRemark + ". The server works as if they named no folder.");
        }
    }

    void addFile(const Surroundings& file, const std::optional<JsonFault>& fault,
                 bool holdsObject) {
        constexpr auto kRefused = ", and recordings are refused.";
        const std::string zeros(kZeros);
        if (file.isMissing()) {
            addMissing(file);
        } else if (file.notReadable == std::errc::file_too_large) {
            fail("not-readable",
                 whyNotReadable(file.notReadable) + " Reports and recordings are refused.");
        } else if (file.notReadable) {
            fail("not-readable", whyNotReadable(file.notReadable) + zeros + kRefused);
        } else if (fault) {
            const std::string near = fault->near.empty() ? "" : ", at " + inQuotes(fault->near);
            const std::string kind =
                fault->kind.empty() ? "" : " It looks like " + std::string(fault->kind) + ".";
            fail("not-json", "The file is not JSON. Line " + std::to_string(fault->line) +
                                 ", column " + std::to_string(fault->column) + near + ": " +
                                 std::string(fault->reason) + "." + kind + zeros + kRefused);
        } else if (!holdsObject) {
            fail("not-object",
                 "The file holds a list where an object, { ... }, is expected." + zeros + kRefused);
        }
    }

    void addSurroundings(const Surroundings& file) {
        if (file.notWritable && !file.notReadable) {
            warn("not-writable",
                 whyNotWritable(file.notWritable) +
                     ". A save puts a new file there, so recordings fail; reports work.");
        } else if (file.notReplaceable && !file.notReadable) {
            warn("immutable",
                 "The file is protected from changes (immutable, locked), so recordings fail; "
                 "reports work. Remove the protection: chattr -i on Linux, chflags nouchg on "
                 "macOS.");
        }
        if (!file.isOwn) {
            warn("other-owner",
                 "The file belongs to another user. A recording leaves that user the same access, "
                 "and is refused where the system does not allow it.");
        }
        tell(Level::warning, "kept",
             "A save that was cut off has left files that may hold what the data file lacks: ",
             file.kept, ". Compare before you delete them.");
        tell(Level::warning, "unfinished",
             "A save that was cut off has left unfinished files: ", file.unfinished,
             ". Nothing reads them: delete them.");
        if (file.isMissing()) return;
        tell(Level::warning, "copies",
             "Beside the file lie what look like other versions of it: ", file.copies,
             ". The server does not read them. Where a synchroniser or a copy made them, see which "
             "one is the newest, and put the others away.");
    }

    void addMissing(const Surroundings& file) {
        const std::string zeros(kZeros);
        if (file.isInCloud) {
            return fail("in-cloud", whyNotReadable({EDEADLK, std::generic_category()}) + zeros +
                                        "; a recording would make a second one, at odds with it.");
        }
        std::string text = "There is no file of that name in its folder.";
        if (file.target != file.path) {
            text = "It is a link to " + readablePath(file.target) + ", which does not exist.";
        } else if (file.missing != file.target) {
            text = "There is no such folder: " + readablePath(file.missing) + ".";
        }
        if (!file.copies.empty()) {
            text += " But there is " + inQuotes(file.copies) +
                    ": if that is it, rename it, or have the path name it.";
        }
        if (!file.drives.empty()) {
            note("not-mounted",
                 "The path lies below " + file.drives.string() +
                     ", where drives are mounted, and none seems to be there. If the file is on "
                     "one, connect or mount it before anything is recorded.");
        }
        fail("missing", text + zeros + "; " +
                            (file.notWritable ? "recordings fail, as none can be made: " +
                                                    whyNotWritable(file.notWritable) + "."
                                              : "a recording would make a new one."));
    }
};

}  // namespace

std::vector<Finding> findingsOf(const DataFileLocation& location, const Surroundings& file,
                                const TimeZone& zone, const std::optional<JsonFault>& fault,
                                const std::optional<Content>& content) {
    FileFindings findings;
    findings.addPreferences(location);
    findings.addFile(file, fault, content.has_value());
    findings.addPath(file);
    findings.addSurroundings(file);
    if (!zone.problem.empty()) findings.warn("time-zone", zone.problem);
    std::vector<Finding>& found = findings.found;
    if (content) found.insert(found.end(), content->findings.begin(), content->findings.end());
    std::stable_sort(found.begin(), found.end(),
                     [](const Finding& a, const Finding& b) { return a.level > b.level; });
    return std::move(found);
}

}  // namespace tovra::check
