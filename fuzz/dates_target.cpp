// Dates: an instant that a text names can be written and read again, in any time zone.
#include <array>
#include <cmath>

#include "fuzz/support.h"
#include "store/dates.h"
#include "support/test_environment.h"

namespace {

using tovra::Instant;
using tovra::fuzz::require;

// Far ahead, far behind, odd offsets, days without a midnight, and a day that never was.
constexpr std::array kZones = {"UTC",
                               "America/New_York",
                               "America/Sao_Paulo",
                               "Pacific/Apia",
                               "Africa/Casablanca",
                               "Australia/Lord_Howe",
                               "Asia/Kathmandu",
                               "America/Havana"};

constexpr Instant kDay = 86400;
constexpr Instant kFirst = -62135596800;  // the years 1 to 9999
constexpr Instant kEnd = 253402300800;

// Near its ends the calendar cannot express everything in local time.
bool isFarFromEnds(Instant instant) {
    return instant > kFirst + 40 * kDay && instant < kEnd - 40 * kDay;
}

void check(std::string_view text) {
    tovra::DayFormatter days;
    const auto instant = tovra::parseDate(text, days);
    if (!instant) return;
    require(*instant >= kFirst && *instant < kEnd, "an instant lies in the years 1 to 9999");
    require(tovra::isoFormatter.parse(tovra::isoFormatter.format(*instant)) == instant,
            "a date-time is written exactly");

    const auto start = days.parse(days.format(*instant));
    require(start || !isFarFromEnds(*instant), "a day can be read again");
    if (start) {
        require(*start <= *instant && *instant - *start < 1.1 * kDay, "the day holds the instant");
        require(text.size() > 10 || start == instant, "a day is written exactly");
    }
    if (!isFarFromEnds(*instant)) return;
    const auto month = tovra::monthOf(*instant);
    const Instant length = month.end() - month.start();
    require(length > 27 * kDay && length < 32 * kDay, "a month is about as long as a month");
    require(month.start() <= *instant && *instant < month.end() + kDay / 12,
            "it holds the instant");
    require(tovra::daysAgo(0, *instant) == instant, "no day ago is now");
    const auto before = tovra::daysAgo(30, *instant);
    require(before && std::abs(*instant - *before - 30 * kDay) <= kDay, "30 days are 30 days");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    for (const char* zone : kZones) {
        const tovra::support::EnvironmentScope timeZone("TZ", zone);
        check(tovra::fuzz::textOf(data, size));
    }
    return 0;
}
