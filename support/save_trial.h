// Tries a save while calls fail, another program saves, the process ends or the power goes.
// Whatever happens, the data file is a whole one, no version is lost, and the answer says what is
// true.
#pragma once

#include <string>
#include <string_view>

#include "store/recording.h"

namespace tovra::support {

// Sets the member "mine" of the document.
[[nodiscard]] Change setMember(const DataSnapshot& snapshot);

// Makes a recording with setMember(). Says "done", or why nothing was recorded.
[[nodiscard]] std::string outcome(FileSystem& system = FileSystem::system());

struct SaveTrial {
    std::string fault;  // the sentence that does not hold; empty where all do
    bool isUsedUp;      // each byte of the script had its call
};

// The first byte of the script says in its five low bits what there is: a file, a file system that
// exchanges files, makes them without a name, gives these one, and renames exclusively. Each byte
// after it is for one call of the save. "n", "i" and "a" let it fail (ENOSPC, EIO, EACCES); as
// capitals, it and all after it. Before "s" the other program saves. Any other lets the call be.
//
// REQUIRES: the script is not empty, and the environment names /folder/data.json as the data file.
[[nodiscard]] SaveTrial trySave(std::string_view script);

}  // namespace tovra::support
