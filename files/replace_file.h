// Replacing a file without ever losing a byte. A version that another program puts in its place at
// the same moment is not lost either.
#pragma once

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include "files/file.h"
#include "files/file_system.h"
#include "files/folder_lock.h"

namespace tovra {

// Why a file was not replaced: the system's reason, or a sentence without a full stop.
class ReplaceError : public std::runtime_error {
  public:
    // What the attempt has left.
    enum class Left {
        nothing,  // everything is as it was
        remains,  // the file was not replaced, but a temporary file or a new folder stays
        unknown,  // the file may be the new one
    };

    explicit ReplaceError(const std::string& reason, Left left = Left::nothing)
        : std::runtime_error(reason), left_(left) {}
    explicit ReplaceError(std::error_code reason, Left left = Left::nothing)
        : ReplaceError(reason.message(), left) {}

    [[nodiscard]] Left left() const { return left_; }

  private:
    Left left_;
};

enum class Replacement {
    done,     // the new bytes are in place, and on the disk
    changed,  // the file is not (or no longer) the one that was read: nothing was replaced
};

// Writes the bytes of a new file to the sink, piece by piece.
using WriteBytes = std::function<void(const std::function<void(std::string_view)>& sink)>;

// What is to be replaced, and by what.
struct NewContent {
    const std::filesystem::path& target;  // no symbolic link
    const FileVersion* before;            // the version that was read; null where there was no file
    const WriteBytes& writeBytes;         // called once or twice
    const std::function<void()>& beforeReplacing;  // called before the exchange; may throw
};

// Puts a new file in the place of the one at the target, which is in `folder`. The new file gets
// what keepAccess() gives it, or mode 0600 where there was no file. Its bytes are on the disk
// before it takes the target's name. A version that another program puts there meanwhile stays.
//
// Until then the new file has no name, where the system allows that. Elsewhere it is called
// ".tovra-<letters>.tmp". A process that is killed leaves it behind, and the next one that has the
// folder's lock removes it. For the exchange it is called ".tovra-<letters>.kept". Such a file may
// be the only copy of something, so only the process that made it removes it.
//
// Throws ReplaceError when that fails, and whatever the two functions throw. After an exception,
// and after `changed`, the target is as it was and nothing lies beside it, unless left() says
// otherwise.
[[nodiscard]] Replacement replaceFile(FileSystem& system, const Folder& folder,
                                      const NewContent& content);

// What a save takes a file of that name beside the target for.
enum class Leftover {
    none,
    unfinished,  // ".tmp" above: of no use
    kept,        // ".kept" above: may be the only copy of something
};
[[nodiscard]] Leftover leftoverOf(std::string_view name);

}  // namespace tovra
