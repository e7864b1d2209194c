// The local clock: what it shows at an instant, and the instants at which it shows something. The
// rules are those of the machine's time zone (TZ, or the system's) in force at each call. May be
// called from several threads as long as none of them changes the environment.
//
// Instants are whole seconds since 1970-01-01T00:00:00Z. Local time is counted in the same way, as
// if the local clock showed UTC. Days are counted from 1970-01-01, in the proleptic Gregorian
// calendar.
#pragma once

#include <cstdint>
#include <optional>

namespace tovra {

inline constexpr std::int64_t kSecondsPerDay = 86400;

// 0001-01-01 and 10000-01-01, the days between which the calendar here is used.
inline constexpr std::int64_t kFirstDay = -719162;
inline constexpr std::int64_t kLastDay = 2932897;

// Reads the time zone in force now, for the functions below. Call it once before descriptors can
// run out: the C library never reads a zone again that it has failed to read.
void readTimeZone();

// How far the local clock is ahead of UTC at the instant, in seconds; nothing beyond the years that
// the C library can express.
[[nodiscard]] std::optional<std::int64_t> utcOffset(std::int64_t instant);

// The first instant of a local day. Where clocks go back over midnight, that is the first of
// the two midnights. Where they skip midnight, it is the end of the gap. REQUIRES: kFirstDay <= day
// <= kLastDay.
[[nodiscard]] std::int64_t startOfLocalDay(std::int64_t day);

// An instant at which the local clock shows `localTime`. Of two such instants it is the one with
// the offset `preferredOffset`, if either has it, else the first. Where the clock skips that time,
// it is the instant that shows a time later by the length of the gap. Nothing comes back beyond
// what the C library can express.
[[nodiscard]] std::optional<std::int64_t> instantOfLocalTime(std::int64_t localTime,
                                                             std::int64_t preferredOffset);

// The number of the day in which a count of seconds falls.
[[nodiscard]] constexpr std::int64_t dayOf(std::int64_t seconds) {
    return seconds / kSecondsPerDay - (seconds % kSecondsPerDay < 0 ? 1 : 0);
}

}  // namespace tovra
