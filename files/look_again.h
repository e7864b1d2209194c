// Looking again at what another program may be writing at this moment.
#pragma once

#include <chrono>

#include "files/file_system.h"

namespace tovra {

// Calls `look` until `isSettled` is true of what it gives, and returns what it gave last. That is
// at most six times, with pauses of a quarter of a second together.
template <typename Look, typename IsSettled>
auto lookUntil(FileSystem& system, const IsSettled& isSettled, const Look& look) {
    constexpr int kMostLooks = 6;
    constexpr std::chrono::milliseconds kPause(50);
    for (int i = 1; i < kMostLooks; ++i) {
        auto seen = look();
        if (isSettled(seen)) return seen;
        system.pause(kPause);
    }
    return look();
}

}  // namespace tovra
