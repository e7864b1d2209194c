#include <string_view>
#include <vector>

#include "check/layout.h"
#include "json/object_text.h"
#include "json/utf8.h"
#include "json/write.h"
#include "store/dates.h"

namespace tovra::check {
namespace {

// A JSON string; bytes that are not UTF-8, which a path may hold, come out as question marks.
std::string text(std::string value) {
    if (!json::isValidUtf8(value)) {
        for (char& c : value) c = (c & 0x80) != 0 ? '?' : c;
    }
    std::string out;
    json::appendString(out, value);
    return out;
}

std::string truth(bool value) { return value ? "true" : "false"; }

std::string_view nameOf(DataFileLocation::Source source) {
    using Source = DataFileLocation::Source;
    switch (source) {
        case Source::named:
            return "argument";
        case Source::variable:
            return "variable";
        case Source::preference:
            return "preference";
        case Source::fallback:
            break;
    }
    return "fallback";
}

std::string counts(const Counts& counts) {
    json::ObjectText members;
    for (const auto& [name, count] : counts) members.add(name, std::to_string(count));
    return members.close();
}

std::string contentText(const Content& content) {
    json::ObjectText members;
    members.add("baseCurrency", text(std::string(content.baseCurrency)));
    for (const auto& [list, count] : content.lists) members.add(list, std::to_string(count));
    members.add("archivedAccounts", std::to_string(content.archivedAccounts));
    members.add("types", counts(content.types));
    members.add("currencies", counts(content.currencies));
    members.add("withoutDate", std::to_string(content.undated));
    members.add("thisMonth", std::to_string(content.thisMonth));
    if (content.dates) {
        const DayFormatter day;
        members.add("firstDay", text(day.format(content.dates->first)));
        members.add("lastDay", text(day.format(content.dates->second)));
    }
    return members.close();
}

std::string fileText(const Examination& found) {
    const Surroundings& file = found.file;
    json::ObjectText members;
    members.add("path", text(file.path.string()));
    members.add("chosenBy", text(std::string(nameOf(found.location.source))));
    members.add("exists", truth(!file.isMissing()));
    members.add("readable", truth(!file.notReadable));
    members.add("writable", truth(!file.notWritable && !file.notReplaceable));
    members.add("bytes", std::to_string(file.size));
    return members.close();
}

}  // namespace

std::string asJson(const Examination& found) {
    std::string findings;
    for (const Finding& finding : found.findings) {
        if (!findings.empty()) findings += ',';
        findings += json::ObjectText()
                        .add("level", text(std::string(nameOf(finding.level))))
                        .add("about", text(std::string(finding.about)))
                        .add("text", text(finding.text))
                        .close();
    }
    json::ObjectText members;
    members.add("status", std::to_string(exitStatus(found.findings)));
    members.add("file", fileText(found));
    members.add("today", text(DayFormatter().format(found.now)));
    members.add("timeZone", text(found.zone.name));
    members.add("utcOffset", text(found.zone.offset));
    members.add("content", found.content ? contentText(*found.content) : "null");
    members.add("findings", "[" + findings + "]");
    return members.close() + "\n";
}

}  // namespace tovra::check
