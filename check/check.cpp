#include "check/check.h"

#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "files/file.h"
#include "files/json_file.h"
#include "store/fields.h"

namespace tovra::check {
namespace {

// Where a file that can be read is no JSON.
std::optional<JsonFault> faultIn(const std::filesystem::path& path) {
    std::error_code error;
    const auto file = openFile(path, json::kMaxSize, error);
    if (!file) return std::nullopt;
    std::string text(file->size(), '\0');
    const std::size_t size = readAt(file->descriptor, text.data(), text.size(), 0, error);
    return findJsonFault(withoutByteOrderMark(std::string_view(text).substr(0, size)));
}

}  // namespace

int Check::exitStatus() const {
    if (findings.empty()) return 0;
    return findings.front().level == Level::error ? 1 : 2;
}

Check check(const std::optional<std::filesystem::path>& named, Instant now) {
    Check check;
    check.isNamed = named.has_value();
    check.location.path = named.value_or("");
    if (!named) check.location = locateDataFile();
    const std::filesystem::path& path = check.location.path;
    check.place = lookAt(path);

    std::optional<JsonFault> fault;
    if (auto document = parseFile(path, check.place.notReadable, allFields())) {
        check.document = std::move(*document);
    } else if (!check.place.notReadable) {
        fault = faultIn(path);
    }
    const json::Value root = check.document.root();
    if (root.is(json::Kind::object)) check.content = survey(root, now);
    check.findings = findingsOf(check.location, check.place, fault, check.content);
    return check;
}

}  // namespace tovra::check
