#include "check/time_zone.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>

#include "files/file.h"
#include "platform/environment.h"
#include "platform/local_clock.h"

namespace tovra::check {
namespace {

namespace fs = std::filesystem;

// Where systems keep their zones.
bool isInZoneData(const std::string& name) {
    constexpr std::array kFolders = {"/usr/share/zoneinfo", "/usr/lib/zoneinfo",
                                     "/usr/share/lib/zoneinfo", "/etc/zoneinfo",
                                     "/var/db/timezone/zoneinfo"};
    std::error_code error;
    const auto has = [&](const fs::path& folder) {
        return fs::is_regular_file(folder / name, error);
    };
    return has(environmentVariable("TZDIR").value_or("")) ||
           std::any_of(kFolders.begin(), kFolders.end(), has);
}

// Whether it is a rule that needs no data, such as "CET-1CEST" or "<+03>-3".
bool isRule(std::string_view text) {
    const bool isQuoted = text.starts_with('<');
    const auto isPart = [&](char c) {
        const bool isLetter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        return isLetter || (isQuoted && ((c >= '0' && c <= '9') || c == '+' || c == '-'));
    };
    if (isQuoted) text.remove_prefix(1);
    const auto* end = std::find_if_not(text.begin(), text.end(), isPart);
    if (end - text.begin() < 3) return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.begin()));
    if (isQuoted && !text.starts_with('>')) return false;
    if (isQuoted) text.remove_prefix(1);
    if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
    return !text.empty() && text.front() >= '0' && text.front() <= '9';
}

std::string offsetText(std::int64_t seconds) {
    const std::int64_t minutes = std::abs(seconds) / 60;
    const auto twoDigits = [](std::int64_t number) {
        return (number < 10 ? "0" : "") + std::to_string(number);
    };
    return std::string("UTC") + (seconds < 0 ? "-" : "+") + twoDigits(minutes / 60) + ":" +
           twoDigits(minutes % 60);
}

// The system's own zone is a link to its data.
void lookAtSystem(TimeZone& zone) {
    const fs::path link = "/etc/localtime";
    std::error_code error;
    const std::string target = fs::read_symlink(link, error).string();
    if (error) return;
    constexpr std::string_view kFolder = "zoneinfo/";
    const std::size_t at = target.find(kFolder);
    if (at != std::string::npos) zone.name = target.substr(at + kFolder.size());
    if (fs::exists(link, error)) return;
    zone.problem = "The system's time zone is not there: /etc/localtime leads to " +
                   readablePath(target) +
                   ". Days and months begin in UTC. Install the data of "
                   "time zones (tzdata).";
}

}  // namespace

TimeZone timeZoneAt(Instant now) {
    TimeZone zone;
    zone.offset = offsetText(utcOffset(static_cast<std::int64_t>(std::floor(now))).value_or(0));
    const auto variable = environmentVariable("TZ");
    if (!variable) {
        lookAtSystem(zone);
        return zone;
    }
    zone.name = variable->empty() ? "UTC" : variable->substr(variable->starts_with(':') ? 1 : 0);
    if (zone.name == "UTC" || isInZoneData(zone.name) || isRule(zone.name)) return zone;
    zone.problem = "The variable TZ names the time zone \"" + readablePath(zone.name) +
                   "\", which this system does not know: days and months begin in UTC. Write it as "
                   "in Europe/Berlin, or install the data of time zones (tzdata).";
    return zone;
}

}  // namespace tovra::check
