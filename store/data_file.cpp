#include "store/data_file.h"

#include <utility>

#include "platform/environment.h"
#include "platform/json_file.h"
#include "platform/user_directories.h"

namespace tovra {

DataFileLocation locateDataFile() {
    using Source = DataFileLocation::Source;
    if (auto path = environmentVariable("TOVRA_DATA_FILE"); path && !path->empty()) {
        return {*path, Source::variable, {}};
    }
    const auto [directory, problem] = preference("com.local.pennyloft", "tovra.syncDir");
    if (directory && !directory->empty()) {
        return {std::filesystem::path(*directory) / "data.json", Source::preference, {}};
    }
    return {applicationSupportDirectory() / "Pennyloft/data.json", Source::fallback, problem};
}

std::filesystem::path dataFileURL() { return locateDataFile().path; }

json::Document loadData() {
    auto document = parseFile(dataFileURL());
    if (!document || !document->root().is(json::Kind::object)) return {};
    return std::move(*document);
}

}  // namespace tovra
