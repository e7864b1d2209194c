#include "check/examination.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "check/file_text.h"
#include "check/names.h"

namespace tovra::check {

namespace {

// The document in the file; empty where it holds no object, or cannot be read. What does not begin
// as one need not be parsed. `first` becomes what it begins with.
json::Document objectIn(const std::filesystem::path& path, std::string& first,
                        std::error_code& error) {
    const auto file = openFile(path, json::kMaxSize, error);
    if (!file) return {};
    FileText text(*file);
    first = text.at(text.begin(), 1);
    if (first != "{") return {};
    auto document = json::parse(text.source(), surveyedNames());
    return document ? std::move(*document) : json::Document();
}

}  // namespace

int exitStatus(const std::vector<Finding>& findings) {
    const auto has = [&](Level level) {
        return std::any_of(findings.begin(), findings.end(),
                           [&](const Finding& finding) { return finding.level == level; });
    };
    return has(Level::error) ? 1 : has(Level::warning) ? 2 : 0;
}

Examination examine(const DataFileLocation& location, Instant now) {
    Examination found;
    found.location = location;
    found.now = now;
    found.zone = timeZoneAt(now);
    found.file = lookAt(location.path);
    std::string first;
    found.document = objectIn(location.path, first, found.file.notReadable);
    const json::Value root = found.document.root();
    if (root.exists()) found.content = survey(root, now);
    std::optional<JsonFault> fault;
    const bool isText = !found.file.notReadable && first != "[";
    if (!root.exists() && isText) fault = jsonFaultIn(location.path);
    found.findings = findingsOf(location, found.file, found.zone, fault, found.content);
    return found;
}

}  // namespace tovra::check
