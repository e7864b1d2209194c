// The tools that the server offers: what is told about them, and the operation behind each name.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "json/json.h"

namespace tovra {

struct ToolDefinition {
    std::string_view name;
    std::string_view description;
    std::string_view inputSchema;  // JSON text; advertised only, nothing enforces it
    // Takes the call's arguments (an object, or absent for an empty one) and returns the text to
    // show. The recording tools throw RecordingError when nothing could be recorded.
    std::string (*operation)(json::Value arguments);
};

// The seven definitions, in the order in which they are listed.
[[nodiscard]] std::span<const ToolDefinition> tools();

// Whether the name is one of those that read-only mode refuses.
[[nodiscard]] bool isWriteTool(std::string_view name);

}  // namespace tovra
