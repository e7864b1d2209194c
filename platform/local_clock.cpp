// Built on localtime_r alone. The failure of mktime, -1, is also an instant. And mktime guesses
// whether daylight-saving time is in force, wrongly where midnight happens twice.
#include "platform/local_clock.h"

#include <time.h>

#include <algorithm>
#include <cassert>

namespace tovra {
namespace {

// No place is or was further from UTC than this, in seconds.
constexpr std::int64_t kFarthestOffset = 16 * 3600;

bool shows(std::int64_t instant, std::int64_t localTime) {
    const auto offset = utcOffset(instant);
    return offset && instant + *offset == localTime;
}

// The offsets before and after a change of clocks near a local time. On nearly every day of the
// year there is no such change, and they are the same.
struct NearbyOffsets {
    std::int64_t before;
    std::int64_t after;
};

std::optional<NearbyOffsets> offsetsNear(std::int64_t localTime) {
    const auto before = utcOffset(localTime - kFarthestOffset);
    const auto after = utcOffset(localTime + kFarthestOffset);
    if (!before || !after) return std::nullopt;
    return NearbyOffsets{*before, *after};
}

// The moment at which the clock jumps from before `localTime` to after it.
std::int64_t endOfGap(std::int64_t localTime, NearbyOffsets offsets) {
    std::int64_t before = localTime - offsets.after;
    std::int64_t after = localTime - offsets.before;
    while (after - before > 1) {
        const std::int64_t middle = before + (after - before) / 2;
        const bool past = middle + utcOffset(middle).value_or(offsets.after) >= localTime;
        (past ? after : before) = middle;
    }
    return after;
}

}  // namespace

void readTimeZone() { ::tzset(); }

std::optional<std::int64_t> utcOffset(std::int64_t instant) {
    const auto time = static_cast<time_t>(instant);
    tm local{};
    if (::localtime_r(&time, &local) == nullptr) return std::nullopt;
    return local.tm_gmtoff;
}

std::int64_t startOfLocalDay(std::int64_t day) {
    assert(kFirstDay <= day && day <= kLastDay);
    const std::int64_t midnight = day * kSecondsPerDay;
    const auto offsets = offsetsNear(midnight).value_or(NearbyOffsets{0, 0});
    const std::int64_t first = midnight - std::max(offsets.before, offsets.after);
    const std::int64_t second = midnight - std::min(offsets.before, offsets.after);
    if (shows(first, midnight)) return first;
    if (shows(second, midnight)) return second;
    return endOfGap(midnight, offsets);
}

std::optional<std::int64_t> instantOfLocalTime(std::int64_t localTime,
                                               std::int64_t preferredOffset) {
    if (shows(localTime - preferredOffset, localTime)) return localTime - preferredOffset;
    const auto offsets = offsetsNear(localTime);
    if (!offsets) return std::nullopt;
    if (shows(localTime - offsets->before, localTime)) return localTime - offsets->before;
    if (shows(localTime - offsets->after, localTime)) return localTime - offsets->after;
    return localTime - offsets->before;
}

}  // namespace tovra
