#include "check/time_zone.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>

#include "files/file.h"
#include "platform/environment.h"
#include "platform/local_clock.h"

namespace tovra::check {
namespace {

namespace fs = std::filesystem;

bool isInZoneData(const std::string& name) {
    const fs::path folder = environmentVariable("TZDIR").value_or("/usr/share/zoneinfo");
    std::error_code error;
    return fs::is_regular_file(folder / name, error);
}

// Whether it is a rule that needs no data, such as "CET-1CEST" or "<+03>-3".
bool isRule(std::string_view text) {
    const std::size_t letters = std::min(text.find_first_of("+-0123456789,/_ "), text.size());
    const std::size_t name = text.starts_with('<') ? text.find('>') + 1 : letters;
    if (name < 3) return false;
    const std::size_t sign = text.find_first_of("+-", name) == name ? 1 : 0;
    return text.find_first_of("0123456789", name) == name + sign;
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
    const bool isSigned = zone.name.starts_with("UTC+") || zone.name.starts_with("GMT+");
    if (isSigned && zone.offset != "UTC+00:00") {
        zone.problem = "TZ counts hours to the west: " + readablePath(zone.name) + " is " +
                       zone.offset + ". Write the zone as in Europe/Berlin.";
    }
    if (zone.name == "UTC" || isInZoneData(zone.name) || isRule(zone.name)) return zone;
    zone.problem = "The variable TZ names the time zone \"" + readablePath(zone.name) +
                   "\", which this system does not know: days and months begin in UTC. Write it as "
                   "in Europe/Berlin, or install the data of time zones (tzdata).";
    return zone;
}

}  // namespace tovra::check
