#include "store/dates.h"

#include <array>
#include <cassert>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "platform/local_clock.h"

namespace tovra {
namespace {

using std::chrono::day;
using std::chrono::month;
using std::chrono::sys_days;
using std::chrono::year;
using std::chrono::year_month_day;

// The number that two characters spell; negative when they are no digits.
int twoDigits(const char* text) {
    const unsigned tens = static_cast<unsigned char>(text[0]) - unsigned{'0'};
    const unsigned units = static_cast<unsigned char>(text[1]) - unsigned{'0'};
    return tens > 9 || units > 9 ? -1 : static_cast<int>(tens * 10 + units);
}

std::int64_t dayNumber(year_month_day date) { return sys_days(date).time_since_epoch().count(); }

// The number of the day that the first ten characters name as yyyy-MM-dd.
std::optional<std::int64_t> parseDay(std::string_view text) {
    if (text.size() < 10 || text[4] != '-' || text[7] != '-') return std::nullopt;
    const int century = twoDigits(&text[0]);
    const int ofCentury = twoDigits(&text[2]);
    const int m = twoDigits(&text[5]);
    const int d = twoDigits(&text[8]);
    if (century < 0 || ofCentury < 0 || century + ofCentury == 0 || m < 1 || d < 1) {
        return std::nullopt;
    }
    const year_month_day date(year(century * 100 + ofCentury), month(static_cast<unsigned>(m)),
                              day(static_cast<unsigned>(d)));
    if (!date.ok()) return std::nullopt;
    return dayNumber(date);
}

// The day with the leading zeros that its month and its day may lack.
std::string withLeadingZeros(std::string_view text) {
    std::string day(text);
    if (day.size() > 6 && day[6] == '-') day.insert(5, 1, '0');
    if (day.size() == 9) day.insert(8, 1, '0');
    return day;
}

// How many seconds a zone is ahead of UTC. It is written as "Z", or as a sign, hours and minutes.
std::optional<std::int64_t> parseZone(std::string_view text) {
    if (text == "Z") return 0;
    if (text.size() != 6 || (text[0] != '+' && text[0] != '-') || text[3] != ':') {
        return std::nullopt;
    }
    const int hours = twoDigits(&text[1]);
    const int minutes = twoDigits(&text[4]);
    if (hours < 0 || hours > 23 || minutes < 0 || minutes > 59) return std::nullopt;
    const int seconds = hours * 3600 + minutes * 60;
    return text[0] == '+' ? seconds : -seconds;
}

static_assert(sys_days(year(1) / 1 / 1).time_since_epoch().count() == kFirstDay);
static_assert(sys_days(year(10000) / 1 / 1).time_since_epoch().count() == kLastDay);

// Whether the instant lies in the years 1 to 9999 in UTC, which four digits can express.
bool isExpressible(std::int64_t instant) {
    return instant >= kFirstDay * kSecondsPerDay && instant < kLastDay * kSecondsPerDay;
}

std::optional<Instant> ifExpressible(std::int64_t instant) {
    if (!isExpressible(instant)) return std::nullopt;
    return static_cast<Instant>(instant);
}

year_month_day dateOf(std::int64_t dayNumberSince1970) {
    return year_month_day(sys_days(std::chrono::days(dayNumberSince1970)));
}

std::string dayText(year_month_day date) {
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02u", int(date.year()),
                  unsigned(date.month()), unsigned(date.day()));
    return text.data();
}

std::int64_t wholeSeconds(Instant instant) {
    return static_cast<std::int64_t>(std::floor(instant));
}

// The first eight bytes of a text as a number, the first of them the highest: numbers compare as
// the texts do.
std::uint64_t monthIn(std::string_view text) {
    std::uint64_t month = 0;
    assert(text.size() >= sizeof month);
    for (std::size_t i = 0; i < sizeof month; ++i) {
        month = month << 8 | static_cast<unsigned char>(text[i]);
    }
    return month;
}

// That number for the instant in UTC; nothing where no date names it.
std::optional<std::uint64_t> monthIn(Instant instant) {
    if (!(std::fabs(instant) < kLastDay * double{kSecondsPerDay})) return std::nullopt;
    const std::int64_t seconds = wholeSeconds(instant);
    if (!isExpressible(seconds)) return std::nullopt;
    return monthIn(dayText(dateOf(dayOf(seconds))));
}

}  // namespace

Instant currentInstant() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

std::optional<Instant> IsoFormatter::parse(std::string_view text) const {
    if (text.size() < 20 || text[10] != 'T' || text[13] != ':' || text[16] != ':') {
        return std::nullopt;
    }
    const auto date = parseDay(text);
    const int hour = twoDigits(&text[11]);
    const int minute = twoDigits(&text[14]);
    const int second = twoDigits(&text[17]);
    const auto zone = parseZone(text.substr(19));
    if (!date || !zone || hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 ||
        second > 59) {
        return std::nullopt;
    }
    return ifExpressible(*date * kSecondsPerDay + hour * 3600 + minute * 60 + second - *zone);
}

std::string IsoFormatter::format(Instant instant) const {
    const std::int64_t seconds = wholeSeconds(instant);
    assert(isExpressible(seconds));
    const std::int64_t date = dayOf(seconds);
    const auto ofDay = static_cast<unsigned>(seconds - date * kSecondsPerDay);
    std::array<char, 48> time{};
    std::snprintf(time.data(), time.size(), "T%02u:%02u:%02uZ", ofDay / 3600, ofDay / 60 % 60,
                  ofDay % 60);
    return dayText(dateOf(date)) + time.data();
}

DayFormatter::DayFormatter() { readTimeZone(); }

std::optional<Instant> DayFormatter::parse(std::string_view text) {
    if (text.size() > 10) return std::nullopt;
    const std::string padded = text.size() < 10 ? withLeadingZeros(text) : std::string();
    if (!padded.empty()) text = padded;
    const auto date = text.size() == 10 ? parseDay(text) : std::nullopt;
    if (!date) return std::nullopt;
    const auto [known, isNew] = starts_.try_emplace(*date);
    if (isNew) known->second = startOfLocalDay(*date);
    return ifExpressible(known->second);
}

std::string DayFormatter::format(Instant instant) const {
    const std::int64_t seconds = wholeSeconds(instant);
    assert(isExpressible(seconds));
    return dayText(dateOf(dayOf(seconds + utcOffset(seconds).value_or(0))));
}

std::optional<Instant> parseDate(std::string_view text, DayFormatter& dayFormatter) {
    if (const auto instant = isoFormatter.parse(text)) return instant;
    return dayFormatter.parse(text);
}

// By its time of day and its zone, a date's instant differs from its midnight in UTC by less than
// two days.
Period::Period(Instant start, Instant end)
    : start_(start),
      end_(end),
      firstMonth_(monthIn(start - 2 * kSecondsPerDay).value_or(0)),
      lastMonth_(monthIn(end + 2 * kSecondsPerDay).value_or(~std::uint64_t{0})) {}

bool Period::contains(std::string_view text, DayFormatter& dayFormatter) const {
    if (!mayContain(text)) return false;
    const auto instant = parseDate(text, dayFormatter);
    return instant && contains(*instant);
}

bool Period::mayContain(std::string_view text) const {
    // A day without leading zeros is in no order.
    if (text.size() < 10) return text.size() >= 8;
    const std::uint64_t month = monthIn(text);
    return firstMonth_ <= month && month <= lastMonth_;
}

Period monthOf(Instant now) {
    readTimeZone();
    const std::int64_t seconds = wholeSeconds(now);
    const year_month_day today = dateOf(dayOf(seconds + utcOffset(seconds).value_or(0)));
    const auto thisMonth = today.year() / today.month();
    const auto startOf = [](std::chrono::year_month which) {
        return static_cast<Instant>(startOfLocalDay(dayNumber(which / day(1))));
    };
    return Period(startOf(thisMonth), startOf(thisMonth + std::chrono::months(1)));
}

std::optional<Instant> daysAgo(std::int64_t days, Instant now) {
    constexpr std::int64_t kMostDays = std::int64_t{1} << 46;  // so that no product overflows
    if (days > kMostDays) return std::nullopt;
    readTimeZone();
    const std::int64_t seconds = wholeSeconds(now);
    const auto offset = utcOffset(seconds);
    if (!offset) return std::nullopt;
    const auto instant = instantOfLocalTime(seconds + *offset - days * kSecondsPerDay, *offset);
    if (!instant) return std::nullopt;
    return static_cast<Instant>(*instant) + (now - std::floor(now));
}

}  // namespace tovra
