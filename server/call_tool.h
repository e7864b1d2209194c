// The dispatcher: from a tool's name and arguments to its result.
#pragma once

#include <string>
#include <string_view>

#include "json/json.h"
#include "server/catalogue.h"

namespace tovra {

struct ToolResult {
    std::string text;
    bool isError = false;  // a refusal, an unknown name, a failed recording, too little memory
};

// Runs the tool of that name in the catalogue, compared exactly. In read-only mode the recording
// tools are refused before anything is touched. `arguments` is an object, or absent for an empty
// one. May be called from several threads: four reports run at once, the others wait.
//
// Throws std::bad_alloc, and nothing else, where there is no memory to begin. The tool has not been
// called then.
[[nodiscard]] ToolResult callTool(std::string_view name, json::Value arguments, bool readOnly,
                                  const Catalogue& offered = catalogue());

}  // namespace tovra
