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
    const MonthBounds month = monthBounds(isoFormatter.parse(row[2]).value());
    EXPECT_TRUE(month.contains(month.start) && !month.contains(month.end));
    return inUtc(month.start) + " " + inUtc(month.end);
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
}

TEST(DayFormatter, RemembersEachDayAsItsOwn) {
    const support::EnvironmentScope scope("TZ", "America/Sao_Paulo");
    DayFormatter remembering;
    for (std::int64_t i = 0; i < 6000; ++i) {
        const std::int64_t day = 17000 + i * 512 % 6007;  // every day of sixteen years, far apart
        const std::string text =
            isoFormatter.format(static_cast<double>(day * 86400)).substr(0, 10);
        EXPECT_EQ(remembering.parse(text), DayFormatter().parse(text)) << text;
        EXPECT_EQ(remembering.parse(text), DayFormatter().parse(text)) << text << ", again";
    }
}

}  // namespace
}  // namespace tovra
