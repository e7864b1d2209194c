#include "tools/tools.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "json/utf8.h"
#include "store/fields.h"
#include "store/recording.h"
#include "tests/support/golden.h"

namespace tovra {
namespace {

// What a tool answers; where it refuses with an exception, what that says.
std::string answer(std::string_view tool, json::Value arguments, Instant now) try {
    if (tool == "get_overview") return toolOverview(now);
    if (tool == "list_transactions") return toolListTransactions(arguments, now);
    if (tool == "spending_by_category") return toolSpendingByCategory(arguments, now);
    if (tool == "list_budgets") return toolListBudgets(now);
    if (tool == "list_goals") return toolListGoals();
    if (tool == "add_transaction") return toolAddTransaction(arguments, now);
    return tool == "add_to_goal" ? toolAddToGoal(arguments) : "No such tool";
} catch (const RecordingError& error) {
    return std::string("Thrown: ") + error.what();
}

// UUID stands for a random one in upper case.
void expectLeft(const std::string& file, std::string leaves) {
    static const testing::Matcher<std::string> isUuid = testing::MatchesRegex(
        "[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    const std::string found = test::compact(json::parse(file).value().root());
    if (const auto at = leaves.find("UUID"); at < std::min(leaves.size(), found.size())) {
        const std::string id = found.substr(at, 36);
        if (isUuid.Matches(id)) leaves.replace(at, 4, id);
    }
    EXPECT_EQ(found, leaves);
}

void check(const test::Golden& golden, json::Value call, json::Value arguments, json::Value content,
           Instant now) {
    const std::string_view tool = stringField(call, "tool");
    const bool isText = content.is(json::Kind::string);
    const std::string before = isText ? std::string(asString(content)) : test::compact(content);
    const auto fileTrace = golden.trace(content, "the data file");
    const auto trace = golden.trace(arguments, test::compact(arguments));
    golden.allowOnly(call, {"about", "tool", "arguments", "says", "leaves"});
    const support::DataFileScope file(before);
    std::string says, said = answer(tool, arguments, now) + "\n";
    for (const json::Value line : golden.each(call, "says")) says.append(asString(line)) += '\n';
    const std::string path = file.path().string();
    if (const auto at = said.find(path); at < said.size()) said.replace(at, path.size(), "FILE");
    EXPECT_EQ(said, says);
    if (const json::Value leaves = call.member("leaves"); leaves.exists()) {
        expectLeft(support::fileBytes(path), test::compact(leaves));
    } else {
        EXPECT_EQ(support::fileBytes(path), before);
    }
}

TEST(Tools, AnswerAndRecordAsWritten) {
    for (const std::string name : {"reports", "recordings"}) {
        const test::Golden golden("tools/golden/" + name + ".json");
        for (const json::Value group : golden.each(golden.root(), "groups")) {
            golden.allowOnly(group, {"about", "name", "zone", "now", "files", "calls"});
            const support::EnvironmentScope zone("TZ", std::string(stringField(group, "zone")));
            const Instant now = numberField(group, "now");
            for (const json::Value file : golden.each(group, "files")) {
                for (const json::Value call : golden.each(group, "calls")) {
                    for (const json::Value it : golden.each(call, "arguments")) {
                        check(golden, call, it, file, now);
                    }
                }
            }
        }
    }
}

TEST(Tools, ListTheNewestHoweverFarFromTheEndOfTheFile) {
    std::string records = R"({"date":"2026-10-31T23:00:00Z","payee":"Newest"})";
    for (int i = 0; i < 500; ++i) records += R"(,{"date":"2026-10-31T22:00:00Z"})";
    const support::DataFileScope file("{\"transactions\":[" + records + "]}");
    const support::EnvironmentScope zone("TZ", "UTC");
    EXPECT_EQ(answer("list_transactions", json::parse(R"({"limit":1})")->root(), 0),
              "Showing 1 of 501:\n2026-10-31  + 0.00  Newest []");
}

TEST(Tools, RecordNothingWhereThereIsNoFolder) {
    const support::DataFileScope file("{}");
    const auto one = json::parse(R"({"amount":1})");
    for (const char* below : {"/data.json", "/\xFF"}) {
        const support::EnvironmentScope variable("TOVRA_DATA_FILE", file.path().string() + below);
        const std::string said = answer("add_transaction", one->root(), 0);
        EXPECT_TRUE(said.ends_with("Nothing was changed.") && json::isValidUtf8(said)) << said;
    }
    const std::filesystem::path missing = file.path().parent_path() / "none/data.json";
    const support::EnvironmentScope variable("TOVRA_DATA_FILE", missing);
    EXPECT_TRUE(answer("add_to_goal", one->root(), 0).starts_with("Error: no goal named \"\""));
    EXPECT_FALSE(std::filesystem::exists(missing.parent_path()));
    EXPECT_EQ(support::fileBytes(file.path()), "{}");
}

}  // namespace
}  // namespace tovra
