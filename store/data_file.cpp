#include "store/data_file.h"

#include <utility>

#include "platform/environment.h"
#include "platform/json_file.h"
#include "platform/user_directories.h"

namespace tovra {

std::filesystem::path dataFileURL() {
    if (auto path = environmentVariable("TOVRA_DATA_FILE"); path && !path->empty()) return *path;
    const auto directory = preference("com.local.pennyloft", "tovra.syncDir");
    if (directory && !directory->empty()) return std::filesystem::path(*directory) / "data.json";
    return applicationSupportDirectory() / "Pennyloft/data.json";
}

json::Document loadData() {
    auto document = parseFile(dataFileURL());
    if (!document || !document->root().is(json::Kind::object)) return {};
    return std::move(*document);
}

}  // namespace tovra
