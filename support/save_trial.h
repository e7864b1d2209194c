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

// What there is before a save, and what the file system can.
enum Ability : unsigned {
    hasFolder = 1,
    hasFile = 2,  // and its folder
    exchanges = 4,
    renamesExclusively = 8,
};

struct SaveTrial {
    std::string fault;  // the sentence that does not hold; empty where all do
    bool isUsedUp;      // each byte of the script had its call
};

// Each byte of the script is for one call of the save. "n", "i" and "a" let it fail (ENOSPC, EIO,
// EACCES); as capitals, it and all after it. "d" lets it fail after it was done. Before "s" the
// other program saves, before "w" it writes into the file itself. Any other lets the call be.
//
// REQUIRES: the environment names /folder/data.json as the data file.
[[nodiscard]] SaveTrial trySave(unsigned abilities, std::string_view script);

}  // namespace tovra::support
