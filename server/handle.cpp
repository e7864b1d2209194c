#include "server/handle.h"

#include <new>
#include <string_view>

#include "http/request.h"
#include "json/write.h"
#include "server/call_tool.h"
#include "store/fields.h"

namespace tovra {
namespace {

constexpr std::string_view kDefaultProtocolVersion = "2024-11-05";

std::string initializeResult(json::Value params, std::string_view server) {
    const auto offered = params.member("protocolVersion").string();
    std::string result = R"({"protocolVersion":)";
    json::appendString(result, offered.value_or(kDefaultProtocolVersion));
    result += R"(,"capabilities":{"tools":{}},"serverInfo":{"name":)";
    json::appendString(result, server);
    result += R"(,"version":"1.0.0"}})";
    return result;
}

std::string toolsListResult(bool readOnly, const Catalogue& offered) {
    std::string result = R"({"tools":[)";
    for (const ToolDefinition& tool : offered.tools) {
        if (!isOffered(tool, readOnly)) continue;
        if (!result.ends_with('[')) result += ',';
        result += R"({"name":)";
        json::appendString(result, tool.name);
        result += R"(,"description":)";
        json::appendString(result, tool.description);
        result += R"(,"inputSchema":)";
        result += tool.inputSchema;
        result += '}';
    }
    result += "]}";
    return result;
}

std::string methodNotFoundError(std::string_view method) {
    std::string error = R"({"code":-32601,"message":)";
    json::appendString(error, "Method not found: " + std::string(method));
    return error += '}';
}

// A response up to its content. `outcome` is the member that holds it: "result" or "error".
std::string responseTo(json::Value id, std::string_view outcome) {
    std::string response = R"({"jsonrpc":"2.0","id":)";
    json::appendCompact(response, id);
    response += ",\"";
    response += outcome;
    response += "\":";
    return response;
}

void appendToolResult(std::string& response, std::string_view text, bool isError) {
    response += R"({"content":[{"type":"text","text":)";
    json::appendString(response, text);
    response += isError ? R"(}],"isError":true}})" : R"(}],"isError":false}})";
}

// Room for a result with a short text is made before the call: whatever that has done is answered,
// even where it has used up all memory.
std::optional<std::string> toolsCallResponse(json::Value id, json::Value params, bool readOnly,
                                             const Catalogue& offered) {
    constexpr std::string_view kNoMemory =
        "Error: There is not enough memory for the answer. Where something was to be recorded, it "
        "may have been: look before you try again.";
    std::string response;
    if (id.exists()) response = responseTo(id, "result");
    const std::size_t start = response.size();
    response.reserve(start + 1024 + http::kHeadRoom);
    const ToolResult called =
        callTool(stringField(params, "name"), objectField(params, "arguments"), readOnly, offered);
    if (!id.exists()) return std::nullopt;
    try {
        appendToolResult(response, called.text, called.isError);
        response.reserve(response.size() + http::kHeadRoom);
    } catch (const std::bad_alloc&) {
        response.resize(start);
        appendToolResult(response, kNoMemory, true);
    }
    return response;
}

}  // namespace

std::optional<std::string> handle(json::Value message, bool readOnly, const Catalogue& offered) {
    const auto method = message.member("method").string();
    if (!method) return std::nullopt;
    const json::Value id = message.member("id");
    const json::Value params = objectField(message, "params");

    if (*method == "tools/call") return toolsCallResponse(id, params, readOnly, offered);
    if (!id.exists()) return std::nullopt;
    if (*method == "initialize")
        return responseTo(id, "result") + initializeResult(params, offered.server) + '}';
    if (*method == "ping") return responseTo(id, "result") + "{}}";
    if (*method == "tools/list")
        return responseTo(id, "result") + toolsListResult(readOnly, offered) + '}';
    return responseTo(id, "error") + methodNotFoundError(*method) + '}';
}

}  // namespace tovra
