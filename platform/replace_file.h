// Replacing a file without ever losing a byte: neither of the file that is replaced, nor of a
// version that another program puts in its place at the same moment.
#pragma once

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/file.h"
#include "platform/file_system.h"
#include "platform/folder.h"

namespace tovra {

// Why a file was not replaced: the system's reason, or a sentence without a full stop.
class ReplaceError : public std::runtime_error {
  public:
    // What the attempt has left.
    enum class Left {
        nothing,  // everything is as it was
        remains,  // the file is as it was, or as another program left it; something lies beside it
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
    const std::function<void()>& beforeReplacing;  // called last, may throw to stop everything
};

// Puts what is written in the place of the file at the target, which is in `folder`. The new file
// gets what keepAccess gives it, mode 0600 where there was none. The bytes are on the disk before
// they take the name, and whatever another program has put there meanwhile keeps it.
//
// Until then the new file has no name where the system allows that. Elsewhere it lies in the folder
// as ".tovra-<letters>.tmp", and what a process that was killed has left under such a name is
// removed by the next one that has the folder's lock. A file called ".tovra-<letters>.kept" took
// part in an exchange and may be the only copy of something: nobody removes it but who made it.
//
// Throws ReplaceError when that fails, and whatever the two functions throw. Then, unless the error
// says otherwise, and after `changed`, the target is as it was and nothing lies beside it.
[[nodiscard]] Replacement replaceFile(FileSystem& system, const Folder& folder,
                                      const NewContent& content);

// What a file of that name, in the folder of the target, is to a save.
enum class Leftover {
    none,
    unfinished,  // ".tmp" above: never whole, of no use
    kept,        // ".kept" above: may be the only copy of something
};
[[nodiscard]] Leftover leftoverOf(std::string_view name);

}  // namespace tovra
