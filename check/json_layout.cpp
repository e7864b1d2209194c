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

std::string_view nameOf(const Check& check) {
    using Source = DataFileLocation::Source;
    if (check.isNamed) return "argument";
    switch (check.location.source) {
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
    members.add("withoutDate", std::to_string(content.undated.count));
    members.add("thisMonth", std::to_string(content.thisMonth));
    if (content.dates) {
        const DayFormatter day;
        members.add("firstDay", text(day.format(content.dates->first)));
        members.add("lastDay", text(day.format(content.dates->second)));
    }
    return members.close();
}

std::string fileText(const Check& check) {
    const Place& place = check.place;
    Members members("{}");
    members.add("path", text(place.path.string()));
    members.add("chosenBy", text(std::string(nameOf(check))));
    members.add("exists", truth(place.notReadable != std::errc::no_such_file_or_directory));
    members.add("readable", truth(!place.notReadable));
    members.add("writable", truth(!place.notWritable));
    members.add("bytes", std::to_string(place.size));
    return members.close();
}

}  // namespace

std::string asJson(const Check& check) {
    Members findings("[]");
    for (const Finding& finding : check.findings) {
        Members members("{}");
        members.add("level", text(finding.level == Level::error ? "error" : "warning"));
        members.add("about", text(std::string(finding.about)));
        members.add("text", text(finding.text));
        findings.add(members.close());
    }
    Members members("{}");
    members.add("status", std::to_string(check.exitStatus()));
    members.add("file", fileText(check));
    members.add("content", check.content ? contentText(*check.content) : "null");
    members.add("findings", findings.close());
    return members.close() + "\n";
}

}  // namespace tovra::check
