// Dates: the two forms in which they are written, and the periods of the reports.
//
// An Instant is a point in time, in seconds since 1970-01-01T00:00:00Z. Every instant that comes
// out of a text can be written again: it lies in the years 1 to 9999 (UTC). The local time zone
// is read at each use, never kept. May be called from several threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace tovra {

using Instant = double;

[[nodiscard]] Instant currentInstant();

// The internet date-time form of ISO 8601: "2026-11-16T19:00:34Z", or an offset such as +02:00 in
// place of the Z; whole seconds only.
class IsoFormatter {
  public:
    [[nodiscard]] std::optional<Instant> parse(std::string_view text) const;
    // In UTC, ending in "Z"; a fraction of a second is cut off.
    // REQUIRES: a year from 1 to 9999 in UTC.
    [[nodiscard]] std::string format(Instant instant) const;
};
inline constexpr IsoFormatter isoFormatter;

// Calendar days, "2026-11-16" or without leading zeros "2026-1-5", in the time zone in force when
// the formatter was made. One is made for each call: it remembers the days that it has looked up.
// Not for several threads.
class DayFormatter {
  public:
    DayFormatter();
    // The first instant of that local day.
    [[nodiscard]] std::optional<Instant> parse(std::string_view text);
    // The local day in which the instant falls. REQUIRES: a year from 1 to 9999 in UTC.
    [[nodiscard]] std::string format(Instant instant) const;

  private:
    std::unordered_map<std::int64_t, std::int64_t> starts_;  // the first instants of days
};

// The instant that a date text names: date-time first, then day; nothing when it has neither form.
[[nodiscard]] std::optional<Instant> parseDate(std::string_view text, DayFormatter& dayFormatter);

// The time from one instant to another, without the latter.
class Period {
  public:
    explicit Period(Instant start, Instant end = std::numeric_limits<Instant>::infinity());

    [[nodiscard]] Instant start() const { return start_; }
    [[nodiscard]] Instant end() const { return end_; }
    [[nodiscard]] bool contains(Instant instant) const {
        return start_ <= instant && instant < end_;
    }
    // Whether the text names an instant in the period.
    [[nodiscard]] bool contains(std::string_view text, DayFormatter& dayFormatter) const;
    // Where it is false, the text names no instant in the period. It only looks at year and month.
    [[nodiscard]] bool mayContain(std::string_view text) const;

  private:
    Instant start_;
    Instant end_;
    // The months of the bounds, such as "2026-11-", as numbers: for a quick no.
    std::uint64_t firstMonth_;
    std::uint64_t lastMonth_;
};

// The calendar month, in the local time zone, in which `now` falls.
[[nodiscard]] Period monthOf(Instant now);

// The instant `days` calendar days before `now`, at the same local time of day; nothing when the
// calendar cannot express it.
[[nodiscard]] std::optional<Instant> daysAgo(std::int64_t days, Instant now);

}  // namespace tovra
