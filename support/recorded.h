// A recording that sets one member, and what came of it.
#pragma once

#include <string>

#include "store/recording.h"

namespace tovra::support {

inline Change setMember(const DataSnapshot& snapshot) {
    return {json::Edit{snapshot.root(), "mine", "7"}, "done"};
}

// Why nothing was recorded; "done" when it was.
inline std::string outcome(FileSystem& system = FileSystem::system()) {
    try {
        return changeDataFile(setMember, system);
    } catch (const RecordingError& error) {
        return error.what();
    }
}

}  // namespace tovra::support
