// The dispatcher: from a tool's name and arguments to its result.
#pragma once

#include <string>
#include <string_view>

#include "json/json.h"

namespace tovra {

struct ToolResult {
    std::string text;
    bool isError = false;  // a refusal, an unknown name, or a recording that failed
};

// Runs the tool of that name, compared exactly. In read-only mode the recording tools are refused
// before anything is touched. `arguments` is an object, or absent for an empty one. Never throws;
// may be called from several threads.
[[nodiscard]] ToolResult callTool(std::string_view name, json::Value arguments, bool readOnly);

}  // namespace tovra
