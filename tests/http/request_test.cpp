#include "http/request.h"

#include <gtest/gtest.h>

#include "tests/support/golden.h"

namespace tovra::http {
namespace {

// Answers every message that has an "id".
std::optional<std::string> handle(json::Value message) {
    return message.member("id").exists() ? std::optional(R"({"ok":true})") : std::nullopt;
}

std::string text(json::Value value) { return std::string(value.string().value()); }

std::string bytes(std::string request) {
    const std::size_t place = request.find("\ufffd");
    return place == std::string::npos ? request : request.replace(place, 3, "\xed\xa0\x80");
}

TEST(Request, IsAnsweredWithItsLastByteWhateverFollows) {
    const test::Golden golden("http/golden/requests.json");
    const json::Value answers = golden.root().member("answers");
    for (const json::Value group : golden.each(golden.root(), "groups")) {
        golden.allowOnly(group, {"about", "answer", "limited", "token", "requests"});
        const std::string answer = text(answers.member(text(group.member("answer"))));
        const std::string token = text(group.member("token"));
        const bool limited = group.member("limited").exists();
        for (const json::Value each : golden.each(group, "requests")) {
            const auto trace = golden.trace(each, "token " + token);
            const std::string request = bytes(text(each)), more = request + "\r\n\r\n{}";
            RequestReader reader(8765, token, limited ? RequestLimits{60, 100} : RequestLimits{});
            for (std::size_t size = 0; size < request.size(); ++size) {
                EXPECT_FALSE(reader.examine(request.substr(0, size))) << size << " bytes";
            }
            const std::optional<Request> whole = reader.examine(more);
            ASSERT_TRUE(whole);
            EXPECT_EQ(processRequest(*whole, handle), answer);
        }
    }
}

}  // namespace
}  // namespace tovra::http
