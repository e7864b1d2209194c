#include "server/handle.h"

#include <gtest/gtest.h>

#include "tests/support/golden.h"

namespace tovra {
namespace {

// The response with its members in a fixed order; "null" when there is none.
std::string answer(json::Value message, bool readOnly) {
    const auto response = handle(message, readOnly);
    return response ? test::compact(json::parse(*response).value().root()) : "null";
}

TEST(Handle, AnswersMessagesAsWritten) {
    const test::Golden golden("server/golden/messages.json");
    golden.allowOnly(golden.root(), {"about", "recording", "read-only"});
    const test::DataFileScope data(R"({"goals":[{}]})");
    for (const std::string mode : {"recording", "read-only"}) {
        for (const json::Value exchange : golden.each(golden.root(), mode)) {
            const auto trace = golden.trace(exchange);
            const json::Children both = exchange.children();
            EXPECT_EQ(answer(both[0], mode == "read-only"), test::compact(both[1])) << mode;
        }
    }
}

TEST(Handle, ListsTheToolsOfTheMode) {
    const test::Golden golden("server/golden/tools_list.json");
    const std::string all = test::compact(golden.root());
    const std::string reports = all.substr(0, all.find(R"(,{"description":"Log)")) + "]";
    const auto request = json::parse(R"({"id":1,"method":"tools/list","params":{"cursor":"x"}})");
    for (const bool readOnly : {false, true}) {
        EXPECT_EQ(
            answer(request->root(), readOnly),
            R"({"id":1,"jsonrpc":"2.0","result":{"tools":)" + (readOnly ? reports : all) + "}}");
    }
}

}  // namespace
}  // namespace tovra
