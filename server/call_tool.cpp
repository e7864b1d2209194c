#include "server/call_tool.h"

#include <algorithm>

#include "server/catalogue.h"

namespace tovra {

ToolResult callTool(std::string_view name, json::Value arguments, bool readOnly) {
    if (readOnly && isWriteTool(name)) {
        return {"This Tovra connector is read-only; " + std::string(name) + " is disabled.", true};
    }
    const auto catalogue = tools();
    const auto tool = std::find_if(catalogue.begin(), catalogue.end(),
                                   [&](const ToolDefinition& it) { return it.name == name; });
    if (tool == catalogue.end() || tool->operation == nullptr) {
        return {"Unknown tool: " + std::string(name), true};
    }
    return {tool->operation(arguments), false};
}

}  // namespace tovra
