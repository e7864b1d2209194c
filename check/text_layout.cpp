#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "check/layout.h"
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

std::string_view chosenBy(const Check& check) {
    using Source = DataFileLocation::Source;
    if (check.isNamed) return "the command line of this check";
    switch (check.location.source) {
        case Source::variable:
            return "the variable TOVRA_DATA_FILE";
        case Source::preference:
            return "the application's sync folder, its preference tovra.syncDir";
        case Source::fallback:
            break;
    }
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
    for (const List& list : content.lists) {
        std::string value = std::to_string(list.count);
        if (list.name == "accounts" && content.archivedAccounts > 0) {
            value += ", " + std::to_string(content.archivedAccounts) + " of them archived";
        }
        lines.add(list.name, value);
        if (list.name != "transactions" || list.count == 0) continue;
        lines.add("  types", listed(content.types));
        lines.add("  currencies", listed(content.currencies));
        if (!content.dates) continue;
        const DayFormatter day;
        lines.add("  dates", day.format(content.dates->first) + " to " +
                                 day.format(content.dates->second) + "; " +
                                 std::to_string(content.thisMonth) + " in this month");
    }
}

void addVerdict(Lines& lines, const Check& check) {
    const auto count = check.findings.size();
    switch (check.exitStatus()) {
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

std::string asText(const Check& check, bool inColour) {
    Lines lines(inColour);
    const Place& place = check.place;
    lines.add(lines.coloured("Where the server looks", Colour::bold));
    lines.add("data file", place.path.string());
    lines.add("chosen by", std::string(chosenBy(check)));
    if (place.target != place.path) lines.add("a link to", place.target.string());
    const std::string size = std::to_string(place.size) + (place.size == 1 ? " byte" : " bytes");
    lines.add("readable", place.notReadable ? "no" : "yes, " + size);
    lines.add("writable", place.notWritable ? "no" : "yes");
    if (check.content) addContent(lines, *check.content);
    lines.add("");
    for (const Finding& finding : check.findings) {
        const bool isError = finding.level == Level::error;
        lines.add(lines.coloured(isError ? "error: " : "warning: ",
                                 isError ? Colour::red : Colour::yellow) +
                  printable(finding.text));
    }
    addVerdict(lines, check);
    return std::move(lines.out);
}

}  // namespace tovra::check
