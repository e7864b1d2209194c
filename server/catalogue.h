// The tools that the server offers: what clients are told about them, and the operation of each.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "json/json.h"

namespace tovra {

// What a tool does to the data file. Read-only mode offers and runs only those that read it.
enum class Access : bool { writes, reads };

struct ToolDefinition {
    std::string_view name;
    std::string_view description;
    std::string_view inputSchema;  // JSON text; advertised only, nothing enforces it
    Access access;
    // Takes the call's arguments (an object, or absent for an empty one) and returns the text to
    // show. The recording tools throw RecordingError when nothing could be recorded.
    std::string (*operation)(json::Value arguments);
};

// What a server says of itself.
struct Catalogue {
    std::string_view server;                // its name
    std::span<const ToolDefinition> tools;  // in the order in which they are listed
};

// The catalogue of tovra-mcp, with its seven tools.
[[nodiscard]] Catalogue catalogue();

// Whether a server in that mode offers the tool.
[[nodiscard]] inline bool isOffered(const ToolDefinition& tool, bool readOnly) {
    return !readOnly || tool.access == Access::reads;
}

}  // namespace tovra
