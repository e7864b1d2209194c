#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "check/layout.h"
#include "files/file.h"
#include "store/dates.h"

namespace tovra::check {
namespace {

enum class Colour { none, bold, red, yellow, green };

// A terminal would obey control characters.
std::string printable(std::string text) {
    const auto isControl = [](unsigned char c) { return c < 0x20 || c == 0x7F; };
    std::replace_if(text.begin(), text.end(), isControl, '?');
    return text;
}

class Lines {
  public:
    explicit Lines(bool inColour) : inColour_(inColour) {}

    void add(std::string_view text) { (out += text) += '\n'; }

    void add(std::string_view name, const std::string& value) {
        constexpr std::size_t kWidth = 15;
        std::string padded(name);
        padded.resize(std::max(name.size() + 1, kWidth), ' ');
        add(padded + printable(value));
    }

    [[nodiscard]] std::string coloured(std::string_view text, Colour colour) const {
        constexpr std::array<std::string_view, 5> kCodes = {"0", "1", "31", "33", "32"};
        if (!inColour_) return std::string(text);
        return "\033[" + std::string(kCodes[static_cast<std::size_t>(colour)]) + "m" +
               std::string(text) + "\033[0m";
    }

    std::string out;

  private:
    bool inColour_;
};

std::string_view chosenBy(const DataFileLocation& location) {
    using Source = DataFileLocation::Source;
    switch (location.source) {
        case Source::named:
            return "the command line of this check";
        case Source::variable:
            return "the variable TOVRA_DATA_FILE";
        case Source::preference:
            return "the application's sync folder, its preference tovra.syncDir";
        case Source::fallback:
            break;
    }
    if (location.preferencesProblem) return "default: the preferences cannot be read";
    return "default: neither TOVRA_DATA_FILE nor tovra.syncDir names another";
}

// "Expense 12, Income 3"; an empty text is shown as such.
std::string listed(const Counts& counts) {
    std::string text;
    for (const auto& [name, count] : counts) {
        if (!text.empty()) text += ", ";
        text += name.empty() ? "(none)" : std::string(name);
        text += " " + std::to_string(count);
    }
    return text;
}

void addContent(Lines& lines, const Content& content) {
    lines.add("\n" + lines.coloured("What the server sees in it", Colour::bold));
    lines.add("base currency", std::string(content.baseCurrency) +
                                   (content.namesBaseCurrency ? "" : " (the file names none)"));
    for (const auto& [list, count] : content.lists) {
        std::string value = std::to_string(count);
        if (list == "accounts" && content.archivedAccounts > 0) {
            value += ", " + std::to_string(content.archivedAccounts) + " of them archived";
        }
        lines.add(list, value);
        if (list != "transactions" || count == 0) continue;
        lines.add("  types", listed(content.types));
        lines.add("  currencies", listed(content.currencies));
        if (!content.dates) continue;
        const DayFormatter day;
        lines.add("  dates", day.format(content.dates->first) + " to " +
                                 day.format(content.dates->second) + "; " +
                                 std::to_string(content.thisMonth) + " in this month");
    }
}

void addFindings(Lines& lines, const std::vector<Finding>& findings) {
    for (const Finding& finding : findings) {
        constexpr std::array kColours = {Colour::none, Colour::yellow, Colour::red};
        const Colour colour = kColours[static_cast<std::size_t>(finding.level)];
        lines.add(lines.coloured(std::string(nameOf(finding.level)) + ": ", colour) +
                  printable(finding.text));
    }
}

void addVerdict(Lines& lines, const Examination& found) {
    const auto isWarning = [](const Finding& finding) { return finding.level != Level::note; };
    const auto count = std::count_if(found.findings.begin(), found.findings.end(), isWarning);
    switch (exitStatus(found.findings)) {
        case 0:
            return lines.add(lines.coloured("The server works on this file.", Colour::green));
        case 1:
            return lines.add(lines.coloured("The server cannot work on this file.", Colour::red));
        default:
            lines.add(lines.coloured("The server works on this file; " + std::to_string(count) +
                                         (count == 1 ? " warning." : " warnings."),
                                     Colour::yellow));
    }
}

}  // namespace

std::string asText(const Examination& found, bool inColour) {
    Lines lines(inColour);
    const Surroundings& file = found.file;
    lines.add(lines.coloured("Where the server looks", Colour::bold));
    lines.add("data file", readablePath(file.path));
    lines.add("chosen by", std::string(chosenBy(found.location)));
    if (file.target != file.path) lines.add("a link to", readablePath(file.target));
    const std::string size = std::to_string(file.size) + (file.size == 1 ? " byte" : " bytes");
    lines.add("readable", file.notReadable ? "no" : "yes, " + size);
    lines.add("writable", file.notWritable || file.notReplaceable ? "no" : "yes");
    const TimeZone& zone = found.zone;
    lines.add("today", DayFormatter().format(found.now) + ", " + zone.offset +
                           (zone.name.empty() ? "" : ", zone " + zone.name));
    if (found.content) addContent(lines, *found.content);
    lines.add("");
    addFindings(lines, found.findings);
    addVerdict(lines, found);
    return std::move(lines.out);
}

std::string asText(const std::vector<HostEntry>& entries, bool inColour) {
    Lines lines(inColour);
    lines.add(lines.coloured("What the hosts here are configured to start", Colour::bold));
    if (entries.empty()) {
        lines.add("No configuration of a host that docs/hosts.md names has an entry.");
    }
    for (const HostEntry& entry : entries) {
        lines.add("");
        lines.add(lines.coloured(entry.host, Colour::bold) + ", " +
                  printable(readablePath(entry.file)));
        if (!entry.name.empty()) lines.add(entry.name, entry.starts);
        if (entry.dataFile) lines.add("data file", readablePath(entry.dataFile->path));
        addFindings(lines, entry.findings);
    }
    return std::move(lines.out);
}

}  // namespace tovra::check
