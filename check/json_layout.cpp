#include <string_view>
#include <vector>

#include "check/layout.h"
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

// The text of an object or an array, member by member.
class Members {
  public:
    explicit Members(std::string_view brackets) : brackets_(brackets) {}

    void add(const std::string& value) { out_ += (out_.empty() ? "" : ",") + value; }
    void add(std::string_view name, const std::string& value) {
        add(text(std::string(name)) + ":" + value);
    }

    [[nodiscard]] std::string close() const { return brackets_.front() + out_ + brackets_.back(); }

  private:
    std::string_view brackets_;
    std::string out_;
};

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
    Members members("{}");
    for (const auto& [name, count] : counts) members.add(name, std::to_string(count));
    return members.close();
}

std::string contentText(const Content& content) {
    Members members("{}");
    members.add("baseCurrency", text(std::string(content.baseCurrency)));
    for (const List& list : content.lists) members.add(list.name, std::to_string(list.count));
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
    Members members("{}");
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
    Members findings("[]");
    for (const Finding& finding : found.findings) {
        Members members("{}");
        members.add("level", text(std::string(nameOf(finding.level))));
        members.add("about", text(std::string(finding.about)));
        members.add("text", text(finding.text));
        findings.add(members.close());
    }
    Members members("{}");
    members.add("status", std::to_string(exitStatus(found.findings)));
    members.add("file", fileText(found));
    members.add("today", text(DayFormatter().format(found.now)));
    members.add("timeZone", text(found.zone.name));
    members.add("utcOffset", text(found.zone.offset));
    members.add("content", found.content ? contentText(*found.content) : "null");
    members.add("findings", findings.close());
    return members.close() + "\n";
}

}  // namespace tovra::check
