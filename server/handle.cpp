#include "server/handle.h"

#include <new>
#include <string_view>

#include "json/write.h"
#include "server/call_tool.h"
#include "server/catalogue.h"
#include "store/fields.h"

namespace tovra {
namespace {

constexpr std::string_view kDefaultProtocolVersion = "2024-11-05";

std::string initializeResult(json::Value params) {
    const auto offered = params.member("protocolVersion").string();
    std::string result = R"({"protocolVersion":)";
    json::appendString(result, offered.value_or(kDefaultProtocolVersion));
    result += R"(,"capabilities":{"tools":{}},"serverInfo":{"name":"tovra","version":"1.0.0"}})";
    return result;
}

std::string toolsListResult(bool readOnly) {
    std::string result = R"({"tools":[)";
    for (const ToolDefinition& tool : tools()) {
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

std::string toolResult(const ToolResult& called) {
    std::string result = R"({"content":[{"type":"text","text":)";
    json::appendString(result, called.text);
    result += called.isError ? R"(}],"isError":true})" : R"(}],"isError":false})";
    return result;
}

std::string methodNotFoundError(std::string_view method) {
    std::string error = R"({"code":-32601,"message":)";
    json::appendString(error, "Method not found: " + std::string(method));
    return error += '}';
}

// `outcome` is the member that the response carries besides the id: "result" or "error".
std::optional<std::string> envelope(json::Value id, std::string_view outcome,
                                    std::string_view content) {
    if (!id.exists()) return std::nullopt;
    std::string response;
    response.reserve(content.size() + 256);
    response += R"({"jsonrpc":"2.0","id":)";
    json::appendCompact(response, id);
    response += ",\"";
    response += outcome;
    response += "\":";
    response += content;
    response += '}';
    return response;
}

// The response to a call. Where there is no memory for what the tool said, the response says so.
std::optional<std::string> toolsCallResponse(json::Value id, json::Value params, bool readOnly) {
    try {
        return envelope(id, "result",
                        toolResult(callTool(stringField(params, "name"),
                                            objectField(params, "arguments"), readOnly)));
    } catch (const std::bad_alloc&) {
        constexpr const char* kText =
            "Error: There is not enough memory for the answer. Where something was to be recorded, "
            "it may have been: look before you try again.";
        return envelope(id, "result", toolResult({kText, true}));
    }
}

}  // namespace

std::optional<std::string> handle(json::Value message, bool readOnly) {
    const auto method = message.member("method").string();
    if (!method) return std::nullopt;
    const json::Value id = message.member("id");
    const json::Value params = objectField(message, "params");
    const auto ok = [&](std::string_view result) { return envelope(id, "result", result); };

    if (*method == "initialize") return ok(initializeResult(params));
    if (*method == "ping") return ok("{}");
    if (*method == "tools/list") return ok(toolsListResult(readOnly));
    if (*method == "tools/call") return toolsCallResponse(id, params, readOnly);
    return envelope(id, "error", methodNotFoundError(*method));
}

}  // namespace tovra
