#include "check/mcp.h"

#include <array>

#include "check/examination.h"
#include "check/layout.h"

namespace tovra::check {
namespace {

constexpr std::array<ToolDefinition, 1> kTools = {{
    {"check_data_file",
     "Says which data file Tovra's server reads, what it sees there, and what makes reports empty "
     "or wrong. For when a report shows zeros, or a figure looks wrong. Never writes.",
     R"json({"type":"object","properties":{},"additionalProperties":false})json", Access::reads,
     [](json::Value) { return asText(examine(locateDataFile(), currentInstant()), false); }},
}};

}  // namespace

Catalogue checkCatalogue() { return {"tovra-check", kTools}; }

}  // namespace tovra::check
