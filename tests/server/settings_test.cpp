#include "server/settings.h"

#include <gtest/gtest.h>

#include <vector>

namespace tovra {
namespace {

// The settings in one line: the mode, whether read-only, the token.
std::string read(const std::vector<std::string_view>& arguments, std::optional<std::string> token) {
    const Settings settings = readSettings(arguments, std::move(token));
    return (settings.httpPort ? "http " + std::to_string(*settings.httpPort) : "stdio") +
           (settings.readOnly ? " read-only" : "") +
           (settings.authToken ? " <" + *settings.authToken + ">" : "");
}

TEST(Settings, ComeFromTheCommandLineAndTheEnvironment) {
    struct Case {
        std::vector<std::string_view> arguments;
        const char* settings;
    };
    const Case cases[] = {
        {{}, "stdio"},
        {{"--http"}, "http 8765"},
        {{"--http", "--read-only"}, "http 8765 read-only"},
        {{"--http", "abc", "--token", "t"}, "http 8765 <t>"},
        {{"--http", "9000", "--http"}, "http 8765"},
        {{"--read-only", "9000", "--http=9000", "--HTTP", "-http", ""}, "stdio read-only"},
        {{"--token", "--http", "9000"}, "stdio <--http>"},
        {{"--token", "a", "--token", ""}, "stdio <>"},
        {{"--token", "a", "--token"}, "stdio <a>"}};
    for (const auto& [arguments, settings] : cases) {
        EXPECT_EQ(read(arguments, {}), settings) << testing::PrintToString(arguments);
    }
    EXPECT_EQ(read({"--token"}, "environment"), "stdio <environment>");
    EXPECT_EQ(read({"--token", "t"}, "environment"), "stdio <t>");
    EXPECT_EQ(read({}, ""), "stdio <>");
}

TEST(Settings, TakeOnlyAPortAfterHttp) {
    for (const char* text : {"0", "9000", "65535"}) {
        EXPECT_EQ(read({"--http", text}, {}), "http " + std::string(text));
    }
    EXPECT_EQ(read({"--http", "-00"}, {}), "http 0");
    EXPECT_EQ(read({"--http", "+00000000000000009000"}, {}), "http 9000");
    for (const char* text : {"65536", "-1", "+", "-", "", "++1", "+-0", "-+0", " 1", "1 ", "1.0",
                             "0x10", "99999999999999999999", "٣"}) {
        EXPECT_EQ(read({"--http", text}, {}), "http 8765") << text;
    }
}

}  // namespace
}  // namespace tovra
