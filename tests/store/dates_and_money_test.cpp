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

std::string before(const Row& row) {
    const support::EnvironmentScope scope("TZ", row[1]);
    return inUtc(daysAgo(std::stoll(row.at(3)), isoFormatter.parse(row[2]).value()));
}

std::string money(const Row& row) { return moneyText(std::stod(row[1])); }

TEST(DatesAndMoney, AreReadAndWrittenAsTheTableSays) {
    test::expectTable("store/golden/dates_and_money.txt",
                      {{"date", date}, {"month", month}, {"days ago", before}, {"money", money}});
    EXPECT_EQ(daysAgo(1, 86400.25), 0.25);
    EXPECT_EQ(isoFormatter.format(-0.25), "1969-12-31T23:59:59Z");
}

TEST(LocalDays, StartAsTheClockSays) {
    for (const char* zone : {"UTC", "America/Sao_Paulo", "Pacific/Apia", "Africa/Casablanca",
                             "America/Noronha", "Asia/Gaza", "Africa/Freetown"}) {
        const support::EnvironmentScope scope("TZ", zone);
        readTimeZone();
        LocalDays days;
        constexpr std::int64_t kFirst = -25'567, kCount = 60'013;  // from 1900 on, far apart
        for (std::int64_t i = 0; i < kCount; ++i) {
            const std::int64_t day = kFirst + i * 4096 % kCount;
            ASSERT_EQ(days.start(day), startOfLocalDay(day)) << zone << ", day " << day;
            ASSERT_EQ(days.start(day + 1), startOfLocalDay(day + 1)) << zone << ", day " << day + 1;
        }
    }
}

}  // namespace
}  // namespace tovra
