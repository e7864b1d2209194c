#include "server/settings.h"

#include <gtest/gtest.h>

#include "tests/support/golden.h"

namespace tovra {
namespace {

// The mode, whether read-only, the token.
std::string meaning(const Settings& settings) {
    return (settings.httpPort ? "http " + std::to_string(*settings.httpPort) : "stdio") +
           (settings.readOnly ? " read-only" : "") +
           (settings.authToken ? " <" + *settings.authToken + ">" : "");
}

TEST(Settings, ComeFromTheCommandLineAndTheEnvironment) {
    const test::Golden golden("server/golden/settings.json");
    for (const json::Value each : golden.root().children()) {
        const auto trace = golden.trace(each);
        golden.allowOnly(each, {"arguments", "token", "means"});
        std::vector<std::string_view> arguments;
        for (const json::Value argument : each.member("arguments").children()) {
            arguments.push_back(argument.string().value());
        }
        const std::optional<std::string> token(each.member("token").string());
        EXPECT_EQ(meaning(readSettings(arguments, token)), each.member("means").string());
    }
}

}  // namespace
}  // namespace tovra
