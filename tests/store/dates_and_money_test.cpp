#include "platform/local_clock.h"
#include "store/dates.h"
#include "store/money.h"
#include "tests/support/table.h"

namespace tovra {
namespace {

using test::Row;

std::string inUtc(const std::optional<Instant>& instant) {
    return instant ? isoFormatter.format(*instant) : "none";
}

std::string date(const Row& row) {
    const support::EnvironmentScope scope("TZ", row[1]);
    DayFormatter dayFormatter;
    const auto instant = parseDate(row[2], dayFormatter);
    EXPECT_EQ(parseDate(row[2], dayFormatter), instant) << "the second time";
    return inUtc(instant);
}

std::string month(const Row& row) {
    const support::EnvironmentScope scope("TZ", row[1]);
    const Period month = monthOf(isoFormatter.parse(row[2]).value());
    EXPECT_TRUE(month.contains(month.start()) && !month.contains(month.end()));
    return inUtc(month.start()) + " " + inUtc(month.end());
}

std::string inMonth(const Row& row) {
    const support::EnvironmentScope scope("TZ", row[1]);
    DayFormatter dayFormatter;
    const Period month = monthOf(isoFormatter.parse(row[2]).value());
    return month.contains(row.at(3), dayFormatter) ? "yes" : "no";
}

std::string before(const Row& row) {
    const support::EnvironmentScope scope("TZ", row[1]);
    return inUtc(daysAgo(std::stoll(row.at(3)), isoFormatter.parse(row[2]).value()));
}

std::string money(const Row& row) { return moneyText(std::stod(row[1])); }

TEST(DatesAndMoney, AreReadAndWrittenAsTheTableSays) {
    test::expectTable("store/golden/dates_and_money.txt", {{"date", date},
                                                           {"month", month},
                                                           {"in month", inMonth},
                                                           {"days ago", before},
                                                           {"money", money}});
    EXPECT_EQ(daysAgo(1, 86400.25), 0.25);
    EXPECT_EQ(isoFormatter.format(-0.25), "1969-12-31T23:59:59Z");
}

// The first instant that the clock shows as that day or, where it skips the day, as a later one.
TEST(LocalClock, StartsEachDayAsItShows) {
    for (const char* zone : {"UTC", "America/Sao_Paulo", "Pacific/Apia", "Africa/Casablanca",
                             "America/Havana", "Asia/Gaza", "Africa/Freetown"}) {
        const support::EnvironmentScope scope("TZ", zone);
        readTimeZone();
        const auto dayAt = [](std::int64_t instant) {
            return dayOf(instant + utcOffset(instant).value());
        };
        for (std::int64_t day = -25'567; day < 34'446; ++day) {  // from 1900 to 2064
            const std::int64_t start = startOfLocalDay(day);
            ASSERT_GE(dayAt(start), day) << zone;
            for (const int before : {1, 1800, 3600, 7200}) {
                ASSERT_LT(dayAt(start - before), day) << zone;
            }
        }
    }
}

}  // namespace
}  // namespace tovra
