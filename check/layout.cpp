#include "check/layout.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "files/file.h"
#include "json/object_text.h"
#include "store/dates.h"

namespace tovra::check {
namespace {

// Why a file is the data file, for a program and for a person.
struct Reason {
    std::string_view name;
    std::string_view text;
};
// By the numbers of DataFileLocation::Source.
constexpr std::array<Reason, 4> kReasons = {
    {{"variable", "the variable TOVRA_DATA_FILE"},
     {"preference", "the application's sync folder, its preference tovra.syncDir"},
     {"fallback", "default: neither TOVRA_DATA_FILE nor tovra.syncDir names another"},
     {"argument", "the command line of this check"}}};

const Reason& reasonOf(const DataFileLocation& location) {
    return kReasons[static_cast<std::size_t>(location.source)];
}

// What a terminal is told before a text.
constexpr std::string_view kBold = "1";
constexpr std::array<std::string_view, 3> kLevelColours = {"0", "33", "31"};

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

    [[nodiscard]] std::string coloured(std::string_view text, std::string_view colour) const {
        if (!inColour_) return std::string(text);
        return "\033[" + std::string(colour) + "m" + std::string(text) + "\033[0m";
    }

    void addFindings(const std::vector<Finding>& findings) {
        for (const auto& [level, about, text] : findings) {
            const std::string_view colour = kLevelColours[static_cast<std::size_t>(level)];
            add(coloured(std::string(nameOf(level)) + ": ", colour) + printable(text));
        }
    }

    std::string out;

  private:
    bool inColour_;
};

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
    lines.add("\n" + lines.coloured("What the server sees in it", kBold));
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

std::string verdictOn(const Examination& found) {
    const int status = exitStatus(found.findings);
    if (status == 1) return "The server cannot work on this file.";
    if (status == 0) return "The server works on this file.";
    const auto isWarning = [](const Finding& finding) { return finding.level != Level::note; };
    const auto count = std::count_if(found.findings.begin(), found.findings.end(), isWarning);
    return "The server works on this file; " + std::to_string(count) +
           (count == 1 ? " warning." : " warnings.");
}

std::string jsonOf(bool value) { return value ? "true" : "false"; }

std::string jsonOf(const Counts& counts) {
    json::ObjectText members;
    for (const auto& [name, count] : counts) members.add(name, std::to_string(count));
    return members.close();
}

std::string jsonOf(const Content& content) {
    json::ObjectText members;
    members.addString("baseCurrency", content.baseCurrency);
    for (const auto& [list, count] : content.lists) members.add(list, std::to_string(count));
    members.add("archivedAccounts", std::to_string(content.archivedAccounts));
    members.add("types", jsonOf(content.types));
    members.add("currencies", jsonOf(content.currencies));
    members.add("withoutDate", std::to_string(content.undated));
    members.add("thisMonth", std::to_string(content.thisMonth));
    if (content.dates) {
        const DayFormatter day;
        members.addString("firstDay", day.format(content.dates->first));
        members.addString("lastDay", day.format(content.dates->second));
    }
    return members.close();
}

std::string jsonOf(const Surroundings& file, std::string_view chosenBy) {
    return json::ObjectText()
        .addString("path", readablePath(file.path))
        .addString("chosenBy", chosenBy)
        .add("exists", jsonOf(!file.isMissing()))
        .add("readable", jsonOf(!file.notReadable))
        .add("writable", jsonOf(!file.notWritable && !file.notReplaceable))
        .add("bytes", std::to_string(file.size))
        .close();
}

std::string jsonOf(const std::vector<Finding>& findings) {
    std::string list;
    for (const auto& [level, about, text] : findings) {
        list += list.empty() ? "" : ",";
        list += json::ObjectText()
                    .addString("level", nameOf(level))
                    .addString("about", about)
                    .addString("text", readablePath(text))
                    .close();
    }
    return "[" + list + "]";
}

}  // namespace

std::string asText(const Examination& found, bool inColour) {
    constexpr std::array<std::string_view, 3> kColours = {"32", "31", "33"};
    Lines lines(inColour);
    const Surroundings& file = found.file;
    lines.add(lines.coloured("Where the server looks", kBold));
    lines.add("data file", readablePath(file.path));
    const bool isGuess = found.location.preferencesProblem &&
                         found.location.source == DataFileLocation::Source::fallback;
    lines.add("chosen by", isGuess ? "default: the preferences cannot be read"
                                   : std::string(reasonOf(found.location).text));
    if (file.target != file.path) lines.add("a link to", readablePath(file.target));
    const std::string size = std::to_string(file.size) + (file.size == 1 ? " byte" : " bytes");
    lines.add("readable", file.notReadable ? "no" : "yes, " + size);
    lines.add("writable", file.notWritable || file.notReplaceable ? "no" : "yes");
    const TimeZone& zone = found.zone;
    lines.add("today", DayFormatter().format(found.now) + ", " + zone.offset +
                           (zone.name.empty() ? "" : ", zone " + zone.name));
    if (found.content) addContent(lines, *found.content);
    lines.add("");
    lines.addFindings(found.findings);
    const auto status = static_cast<std::size_t>(exitStatus(found.findings));
    lines.add(lines.coloured(verdictOn(found), kColours[status]));
    return std::move(lines.out);
}

std::string asText(const std::vector<HostEntry>& entries, bool inColour) {
    Lines lines(inColour);
    lines.add(lines.coloured("What the hosts here are configured to start", kBold));
    if (entries.empty()) {
        lines.add("No configuration of a host that docs/hosts.md names has an entry.");
    }
    for (const HostEntry& entry : entries) {
        lines.add("");
        lines.add(lines.coloured(entry.host, kBold) + ", " + printable(readablePath(entry.file)));
        if (!entry.name.empty()) lines.add(entry.name, entry.starts);
        if (entry.dataFile) lines.add("data file", readablePath(entry.dataFile->path));
        lines.addFindings(entry.findings);
    }
    return std::move(lines.out);
}

std::string asJson(const Examination& found) {
    return json::ObjectText()
               .add("status", std::to_string(exitStatus(found.findings)))
               .add("file", jsonOf(found.file, reasonOf(found.location).name))
               .addString("today", DayFormatter().format(found.now))
               .addString("timeZone", readablePath(found.zone.name))
               .addString("utcOffset", found.zone.offset)
               .add("content", found.content ? jsonOf(*found.content) : "null")
               .add("findings", jsonOf(found.findings))
               .close() +
           "\n";
}

}  // namespace tovra::check
