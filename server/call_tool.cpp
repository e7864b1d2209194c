#include "server/call_tool.h"

#include <algorithm>

#include "server/catalogue.h"
#include "store/recording.h"

namespace tovra {

ToolResult callTool(std::string_view name, json::Value arguments, bool readOnly) {
    const auto catalogue = tools();
    const auto tool = std::find_if(catalogue.begin(), catalogue.end(),
                                   [&](const ToolDefinition& it) { return it.name == name; });
    if (tool == catalogue.end()) {
        return {"Unknown tool: " + std::string(name), true};
    }
    if (!isOffered(*tool, readOnly)) {
        return {"This Tovra connector is read-only; " + std::string(name) + " is disabled.", true};
    }
    try {
        return {tool->operation(arguments), false};
    } catch (const RecordingError& error) {
        return {std::string("Error: ") + error.what(), true};
    }
}

}  // namespace tovra
