#include "server/handle.h"

#include <new>
#include <string_view>

#include "http/request.h"
#include "json/object_text.h"
#include "json/write.h"
#include "server/call_tool.h"
#include "store/fields.h"

namespace tovra {
namespace {

constexpr std::string_view kDefaultProtocolVersion = "2024-11-05";

std::string initializeResult(json::Value params, std::string_view server) {
    const auto offered = params.member("protocolVersion").string();
    const auto info = json::ObjectText().addString("name", server).addString("version", "1.0.0");
    return json::ObjectText()
        .addString("protocolVersion", offered.value_or(kDefaultProtocolVersion))
        .add("capabilities", R"({"tools":{}})")
        .add("serverInfo", info.close())
        .close();
}

std::string toolsListResult(bool readOnly, const Catalogue& offered) {
    std::string list;
    for (const ToolDefinition& tool : offered.tools) {
        if (!isOffered(tool, readOnly)) continue;
        if (!list.empty()) list += ',';
        list += json::ObjectText()
                    .addString("name", tool.name)
                    .addString("description", tool.description)
                    .add("inputSchema", tool.inputSchema)
                    .close();
    }
    return json::ObjectText().add("tools", "[" + list + "]").close();
}

std::string methodNotFoundError(std::string_view method) {
    return json::ObjectText()
        .add("code", "-32601")
        .addString("message", "Method not found: " + std::string(method))
        .close();
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
    if (*method == "initialize") {
        return responseTo(id, "result") + initializeResult(params, offered.server) + '}';
    }
    if (*method == "ping") return responseTo(id, "result") + "{}}";
    if (*method == "tools/list") {
        return responseTo(id, "result") + toolsListResult(readOnly, offered) + '}';
    }
    return responseTo(id, "error") + methodNotFoundError(*method) + '}';
}

}  // namespace tovra
