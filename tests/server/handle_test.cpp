#include "server/handle.h"

#include <gtest/gtest.h>

#include "platform/json_write.h"
#include "tests/support/scopes.h"

namespace tovra {
namespace {

std::string compact(json::Value value) {
    std::string text;
    json::appendCompact(text, value);
    return text;
}

// The response with its members in a fixed order; "none" when there is none.
std::string answer(const std::string& message, bool readOnly = false) {
    const auto response = handle(json::parse(message)->root(), readOnly);
    return response ? compact(json::parse(*response)->root()) : "none";
}

// A whole response to id 1.
std::string result(const std::string& content) {
    return R"({"id":1,"jsonrpc":"2.0","result":)" + content + "}";
}
std::string called(const std::string& text, const char* isError) {
    return result(R"({"content":[{"text":")" + text + R"(","type":"text"}],"isError":)" + isError +
                  "}");
}

TEST(Handle, AnswersEachMethod) {
    const std::string version = R"({"capabilities":{"tools":{}},"protocolVersion":")";
    const std::string server = R"(","serverInfo":{"name":"tovra","version":"1.0.0"}})";
    const std::string error = R"({"error":{"code":-32601,"message":"Method not found: )";
    const std::pair<const char*, std::string> cases[] = {
        {R"("initialize","params":{"protocolVersion":"x"})", result(version + "x" + server)},
        {R"("initialize","params":["x"],"jsonrpc":"1.0")", result(version + "2024-11-05" + server)},
        {R"("ping","params":7)", result("{}")},
        {R"("TOOLS\/LIST\n\u0000é")", error + R"(TOOLS/LIST\n\u0000é"},"id":1,"jsonrpc":"2.0"})"},
        {R"("tools/call","params":["x"])", called("Unknown tool: ", "true")},
        {R"("tools/call","params":{"name":"a\u0000"})", called("Unknown tool: a\\u0000", "true")},
        {R"("tools/call","params":{"name":"spending_by_category","arguments":{"days":7}})",
         called("No spending in the last 7 days.", "false")},
        {R"("tools/call","params":{"name":"spending_by_category","arguments":[{"days":7}]})",
         called("No spending in the last 30 days.", "false")},
        {"7", "none"}};
    const test::DataFile data("{}");
    for (const auto& [method, response] : cases) {
        const std::string message = "{\"method\":" + std::string(method);
        EXPECT_EQ(answer(message + R"(,"id":1})"), response) << message;
        EXPECT_EQ(answer(message + "}"), "none") << message;
    }
}

TEST(Handle, CopiesTheIdAsItCame) {
    for (const std::string id : {"null", "\"a\\\"\\u0000é\"", "1.50", "-0", "1e999", "[1,{}]"}) {
        EXPECT_EQ(answer(R"({"method":"ping","id":0,"id":)" + id + "}"),
                  "{\"id\":" + id + R"(,"jsonrpc":"2.0","result":{}})");
    }
}

TEST(Handle, ListsAndCallsTheToolsOfTheMode) {
    const auto golden = json::parse(test::fileBytes(TOVRA_TESTS "/server/golden/tools_list.json"));
    const std::string all = compact(golden->root());
    const std::string reports = all.substr(0, all.find(R"(,{"description":"Log)")) + "]";
    const std::string request = R"({"id":1,"method":"tools/list","params":{"cursor":"x"}})";
    EXPECT_EQ(answer(request), result("{\"tools\":" + all + "}"));
    EXPECT_EQ(answer(request, true), result("{\"tools\":" + reports + "}"));
    const test::DataFile data(R"({"goals":[{"name":"Trip"}]})");
    for (const std::string name : {"add_transaction", "add_to_goal"}) {
        EXPECT_EQ(answer(R"({"id":1,"method":"tools/call","params":{"name":")" + name +
                             R"(","arguments":{"goal":"Trip","amount":5}}})",
                         true),
                  called("This Tovra connector is read-only; " + name + " is disabled.", "true"));
    }
    EXPECT_EQ(test::fileBytes(data.path()), R"({"goals":[{"name":"Trip"}]})");
}

}  // namespace
}  // namespace tovra
