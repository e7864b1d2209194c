#include "server/settings.h"

#include <gtest/gtest.h>

#include <vector>

namespace tovra {
namespace {

// The mode, whether read-only, the token.
std::string read(const std::vector<std::string_view>& arguments, std::optional<std::string> token) {
    const Settings settings = readSettings(arguments, std::move(token));
    return (settings.httpPort ? "http " + std::to_string(*settings.httpPort) : "stdio") +
           (settings.readOnly ? " read-only" : "") +
           (settings.authToken ? " <" + *settings.authToken + ">" : "");
}

TEST(Settings, ComeFromTheCommandLineAndTheEnvironment) {
    EXPECT_EQ(read({}, {}), "stdio");
    EXPECT_EQ(read({"--http"}, {}), "http 8765");
    EXPECT_EQ(read({"--http", "--read-only"}, {}), "http 8765 read-only");
    EXPECT_EQ(read({"--http", "9000", "--token", "t"}, "environment"), "http 9000 <t>");
    EXPECT_EQ(read({"--read-only", "9000", "--http=1", "-http", ""}, {}), "stdio read-only");
    EXPECT_EQ(read({"--token", "--http", "9000"}, {}), "stdio <--http>");
    EXPECT_EQ(read({"--token", "a", "--token", "", "--token"}, {}), "stdio <>");
    EXPECT_EQ(read({"--token"}, "environment"), "stdio <environment>");
}

TEST(Settings, TakeOnlyAPortAfterHttp) {
    EXPECT_EQ(read({"--http", "65535"}, {}), "http 65535");
    EXPECT_EQ(read({"--http", "-00"}, {}), "http 0");
    EXPECT_EQ(read({"--http", "+00000000000000009000"}, {}), "http 9000");
    for (const char* text : {"65536", "-1", "+", "", "++1", "+-0", " 1", "1 ", "1.0", "0x10"}) {
        EXPECT_EQ(read({"--http", text}, {}), "http 8765") << text;
    }
}

}  // namespace
}  // namespace tovra
