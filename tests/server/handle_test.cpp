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
std::string called(const std::string& text, bool isError) {
    return result(R"({"content":[{"text":")" + text + R"(","type":"text"}],"isError":)" +
                  (isError ? "true}" : "false}"));
}

TEST(Handle, AnswersEachMethod) {
    const auto initialized = [](const std::string& version) {
        return result(R"({"capabilities":{"tools":{}},"protocolVersion":")" + version +
                      R"(","serverInfo":{"name":"tovra","version":"1.0.0"}})");
    };
    const auto unknown = [](const std::string& method) {
        return R"({"error":{"code":-32601,"message":"Method not found: )" + method +
               R"("},"id":1,"jsonrpc":"2.0"})";
    };
    const std::pair<const char*, std::string> cases[] = {
        {R"("method":"initialize","params":{"protocolVersion":"2025-03-26"})",
         initialized("2025-03-26")},
        {R"("method":"initialize","params":{"protocolVersion":7})", initialized("2024-11-05")},
        {R"("method":"initialize","params":["2025-03-26"])", initialized("2024-11-05")},
        {R"("method":"initialize","jsonrpc":"1.0")", initialized("2024-11-05")},
        {R"("method":"ping","params":7)", result("{}")},
        {R"("method":"Ping")", unknown("Ping")},
        {R"("method":"TOOLS\/LIST")", unknown("TOOLS/LIST")},
        {R"("method":"")", unknown("")},
        {R"("method":"notifications/initialized")", unknown("notifications/initialized")},
        {R"("method":"a\n\"\u0000é")", unknown("a\\n\\\"\\u0000é")},
        {R"("method":"tools/call")", called("Unknown tool: ", true)},
        {R"("method":"tools/call","params":["list_goals"])", called("Unknown tool: ", true)},
        {R"("method":"tools/call","params":{"name":"List_goals"})",
         called("Unknown tool: List_goals", true)},
        {R"("method":"tools/call","params":{"name":"list_goals\u0000 "})",
         called("Unknown tool: list_goals\\u0000 ", true)},
        {R"("method":"tools/call","params":{"name":"list_goals","arguments":{"x":1}})",
         called("No savings goals.", false)},
        {R"("method":"tools/call","params":{"name":"spending_by_category","arguments":{"days":7}})",
         called("No spending in the last 7 days.", false)},
        {R"("method":"tools/call","params":{"name":"spending_by_category","arguments":[{"days":7}]})",
         called("No spending in the last 30 days.", false)},
        {R"("params":{})", "none"},
        {R"("method":7)", "none"}};
    const test::DataFile data("{}");
    for (const auto& [message, response] : cases) {
        EXPECT_EQ(answer("{" + std::string(message) + R"(,"id":1})"), response) << message;
        EXPECT_EQ(answer("{" + std::string(message) + "}"), "none") << message;
    }
}

TEST(Handle, CopiesTheIdAsItCame) {
    for (const std::string id :
         {"null", "\"a\\\"\\u0000é\"", "1.50", "-0", "1e999", "true", "[1,[]]", "{\"a\":{\"b\":1}}",
          "123456789012345678901234567890", "\"\""}) {
        EXPECT_EQ(answer(R"({"method":"ping","id":0,"id":)" + id + "}"),
                  R"({"id":)" + id + R"(,"jsonrpc":"2.0","result":{}})");
    }
}

TEST(Handle, ListsTheToolsOfTheMode) {
    const auto golden = json::parse(test::fileBytes(TOVRA_TESTS "/server/golden/tools_list.json"));
    const std::string all = compact(golden->root());
    const std::string reports = all.substr(0, all.find(R"(,{"description":"Log)")) + "]";
    const std::string request = R"({"id":1,"method":"tools/list","params":{"cursor":"x"}})";
    EXPECT_EQ(answer(request, false), result("{\"tools\":" + all + "}"));
    EXPECT_EQ(answer(request, true), result("{\"tools\":" + reports + "}"));
}

TEST(Handle, RefusesToRecordInReadOnlyMode) {
    const test::DataFile data(R"({"goals":[{"name":"Trip"}]})");
    const auto call = [](const std::string& name) {
        return answer(R"({"id":1,"method":"tools/call","params":{"name":")" + name +
                          R"(","arguments":{"goal":"Trip","amount":5}}})",
                      true);
    };
    for (const std::string name : {"add_transaction", "add_to_goal"}) {
        EXPECT_EQ(call(name),
                  called("This Tovra connector is read-only; " + name + " is disabled.", true));
    }
    EXPECT_EQ(call("Add_To_Goal"), called("Unknown tool: Add_To_Goal", true));
    EXPECT_EQ(call("list_budgets"), called("No budgets set.", false));
    EXPECT_EQ(test::fileBytes(data.path()), R"({"goals":[{"name":"Trip"}]})");
}

}  // namespace
}  // namespace tovra
