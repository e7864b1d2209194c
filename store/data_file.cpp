#include "store/data_file.h"

#include <new>
#include <system_error>
#include <utility>

#include "files/json_file.h"
#include "platform/user_directories.h"

namespace tovra {

DataFileLocation locateDataFile(const std::optional<std::string>& variable) {
    using Source = DataFileLocation::Source;
    if (variable && !variable->empty()) return {*variable, Source::variable};
    const auto [directory, problem, remark] = preference("com.local.pennyloft", "tovra.syncDir");
    if (directory && !directory->empty()) {
        return {std::filesystem::path(*directory) / "data.json", Source::preference};
    }
    const auto support = applicationSupportDirectory();
    DataFileLocation fallback{"/" / support / "Pennyloft/data.json", Source::fallback, problem,
                              remark};
    if (support.is_relative()) fallback.preferencesProblem = "The home directory is not known";
    return fallback;
}

std::filesystem::path dataFileURL() { return locateDataFile().path; }

json::Document loadData(std::initializer_list<TransactionField> fields) {
    std::error_code error;
    auto document = parseFile(dataFileURL(), error, reportedFields(fields));
    // The file is there and does not fit: reports with zeros would be false.
    if (error == std::errc::file_too_large) throw std::bad_alloc();
    if (!document || !document->root().is(json::Kind::object)) return {};
    return std::move(*document);
}

}  // namespace tovra
