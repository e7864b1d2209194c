#include "store/dates.h"

#include <gtest/gtest.h>

#include "tests/support/scopes.h"

namespace tovra {
namespace {

using namespace std::string_literals;

Instant utc(const char* text) { return isoFormatter.parse(text).value(); }

std::string inUtc(const std::optional<Instant>& instant) {
    return instant ? isoFormatter.format(*instant) : "none";
}

struct Case {
    const char *zone, *text, *expected;
};

TEST(Dates, ReadBothFormsInTheZoneInForce) {
    const Case cases[] = {
        {"Asia/Tokyo", "2024-12-31T23:59:59-05:45", "2025-01-01T05:44:59Z"},
        {"Asia/Kathmandu", "2024-02-29", "2024-02-28T18:15:00Z"},
        // a midnight that does not exist, exists twice, or comes again after some minutes
        {"America/Sao_Paulo", "2018-11-04", "2018-11-04T03:00:00Z"},
        {"America/Havana", "2024-11-03", "2024-11-03T04:00:00Z"},
        {"America/St_Johns", "2006-10-29", "2006-10-29T02:30:00Z"},
        // a whole day that does not exist
        {"Pacific/Apia", "2011-12-30", "2011-12-30T10:00:00Z"},
        // far from today, and the second before 1970
        {"Europe/Berlin", "1800-01-01", "1799-12-31T23:06:32Z"},
        {"America/New_York", "9998-07-01", "9998-07-01T04:00:00Z"},
        {"XXX-0:00:01", "1970-01-01", "1969-12-31T23:59:59Z"}};
    for (const auto& [zone, text, instant] : cases) {
        const test::EnvironmentScope scope("TZ", zone);
        DayFormatter dayFormatter;
        EXPECT_EQ(inUtc(parseDate(text, dayFormatter)), instant) << text << " in " << zone;
        EXPECT_EQ(inUtc(parseDate(text, dayFormatter)), instant) << text << " again in " << zone;
    }
    EXPECT_EQ(utc("2001-09-09T01:46:40Z"), 1e9);
}

TEST(Dates, RefuseEveryOtherText) {
    const std::string cases[] = {
        // no day of the calendar in the form yyyy-MM-dd
        "", "16/11/2026", "2026-1-5", "1900-02-29", "2026-13-01", "2026-00-10", "2026-11-00",
        "2026-11-16 ", "2026-11-16\0"s, "2026-11-+6", "2026-11-1６", "0000-11-16",
        // no date-time with whole seconds and a zone
        "2026-11-16T19:00:34", "2026-11-16 19:00:34Z", "2026-11-16T19:00Z",
        "2026-11-16T19:00:34.250Z", "2026-11-16T19:00:34+0200", "2026-11-16T19:00:34+02:60",
        "2026-11-16T19:60:00Z", "2026-11-16T19:00:60Z", "2026-11-16T24:00:00Z",
        "2026-11-16T19:00:34Zx", "2026-02-30T19:00:34Z", "2026-11-16T-1:00:00Z"};
    DayFormatter dayFormatter;
    for (const std::string& text : cases) {
        EXPECT_EQ(inUtc(parseDate(text, dayFormatter)), "none") << testing::PrintToString(text);
    }
}

TEST(Dates, MonthsAreCalendarMonthsOfTheZone) {
    const Case cases[] = {
        {"UTC", "2026-12-31T23:59:59Z", "2026-12-01T00:00:00Z 2027-01-01T00:00:00Z"},
        {"America/New_York", "2026-12-01T04:59:00Z", "2026-11-01T04:00:00Z 2026-12-01T05:00:00Z"},
        {"Pacific/Apia", "2011-12-15T00:00:00Z", "2011-12-01T10:00:00Z 2011-12-31T10:00:00Z"},
        {"America/Havana", "2015-11-01T04:30:00Z", "2015-11-01T04:00:00Z 2015-12-01T05:00:00Z"}};
    for (const auto& [zone, now, bounds] : cases) {
        const test::EnvironmentScope scope("TZ", zone);
        const MonthBounds month = monthBounds(utc(now));
        EXPECT_EQ(inUtc(month.start) + " " + inUtc(month.end), bounds) << now << " in " << zone;
        EXPECT_TRUE(month.contains(month.start) && !month.contains(month.end));
    }
}

TEST(Dates, DaysAgoKeepTheLocalTimeOfDay) {
    const std::pair<std::int64_t, Case> cases[] = {
        {1, {"America/New_York", "2026-11-01T20:00:00Z", "2026-10-31T19:00:00Z"}},
        {7000, {"Europe/Berlin", "2026-11-16T15:00:00Z", "2007-09-17T14:00:00Z"}},
        // a time of day that the clock skipped comes later by the length of the gap
        {1, {"America/New_York", "2026-03-09T06:30:00Z", "2026-03-08T07:30:00Z"}},
        {INT64_MAX, {"UTC", "2026-11-16T15:00:00Z", "none"}}};
    for (const auto& [days, it] : cases) {
        const test::EnvironmentScope scope("TZ", it.zone);
        EXPECT_EQ(inUtc(daysAgo(days, utc(it.text))), it.expected) << days << " before " << it.text;
    }
    EXPECT_EQ(daysAgo(1, 86400.25), 0.25);
}

}  // namespace
}  // namespace tovra
