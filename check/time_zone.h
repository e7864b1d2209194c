// The time zone in which the server's days and months begin.
#pragma once

#include <string>

#include "store/dates.h"

namespace tovra::check {

struct TimeZone {
    std::string name;     // as TZ or the system names it; empty where that is not known
    std::string offset;   // at the instant that was asked for: "UTC+01:00"
    std::string problem;  // a sentence; empty where the zone is known
};

// The zone in force at the instant. Where it is not known, the C library takes UTC and does not say
// so. May be called from several threads, as long as none of them changes the environment.
[[nodiscard]] TimeZone timeZoneAt(Instant now);

}  // namespace tovra::check
