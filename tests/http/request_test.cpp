#include "http/request.h"

#include <gtest/gtest.h>

namespace tovra::http {
namespace {

const std::string kJson = "application/json";
const auto kAnswered = httpResponse("200 OK", kJson, R"({"ok":true})");
const auto kBadRequest = httpResponse("400 Bad Request", {}, "");
const auto kInvalidJson = httpResponse("400 Bad Request", kJson, R"({"error":"invalid json"})");
const auto kUnauthorized = httpResponse("401 Unauthorized", kJson, R"({"error":"unauthorized"})");
const auto kForbidden = httpResponse("403 Forbidden", {}, "");
const auto kOtherMethod = httpResponse("405 Method Not Allowed", "text/plain", "");

const std::string kLength = "POST / HTTP/1.1\r\nContent-Length: ";
const std::string kMessage = "\r\n\r\n{\"id\":1}";

// Answers every message that has an "id".
std::optional<std::string> handle(json::Value message) {
    return message.member("id").exists() ? std::optional(R"({"ok":true})") : std::nullopt;
}

// Requests with heads of that beginning and one of these ends, and 8 bytes after the head.
void check(const std::string& answer, const std::optional<std::string>& token,
           const std::string& beginning, std::initializer_list<std::string> ends) {
    for (const std::string& end : ends)
        EXPECT_EQ(processRequest(beginning + end + kMessage, token, handle), answer)
            << testing::PrintToString(beginning + end) << " token " << token.value_or("none");
}

TEST(ProcessRequest, GivesTheFixedResponses) {
    check("HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n", {}, "HEAD", {" /"});
    check(
        "HTTP/1.1 405 Method Not Allowed\r\nContent-Type: text/plain\r\nContent-Length: 31\r\n"
        "Connection: close\r\n\r\nPOST JSON-RPC to this endpoint.",
        {}, "", {"GET / HTTP/1.1", "  GET   /", "GET"});
    check(kOtherMethod, {}, "", {"GET\t/", "post /", "", "\r\nGET /", "Content-Length:8 /"});
    check(kBadRequest, {}, "GET /\r\nX: ", {"\xff\r\nOrigin: null", "\xed\xa0\x80"});
    check(httpResponse("202 Accepted", {}, ""), {}, "POST /x\r\nContent-Length: 2\r\n\r\n{}", {""});
    check(kInvalidJson, {}, "POST ", {"/", "Content-Length:8", "\r\nContent-Length: 7"});
    check(kInvalidJson, {}, kLength, {"2\r\n\r\n[]"});
}

TEST(ProcessRequest, ReadsTheLengthOfTheBody) {
    check(kAnswered, "", "POST /\r\n",
          {"CONTENT-LENGTH:8", "\u2003\tContent-Length\u00a0:\u3000 8\u205f\u1680",
           "no colon\r\nContent-Length: 8\r\nnor here", "Content-Length: 3\r\nContent-Length: +8",
           "Content-Length: " + std::string(60, '0') + "8"});
    check(kInvalidJson, "", kLength,
          {"", "8\r", "\n8", "8\u200b", "+-8", "8.0", "-0", "8\r\nContent-Length: eight",
           "9223372036854775808", "-9223372036854775809", "\r\n\ufeffContent-Length: 8"});
    check(kBadRequest, "secret", kLength, {"-1", "-9223372036854775808", "9223372036854775807"});
}

TEST(ProcessRequest, AsksForTheToken) {
    const std::string field = kLength + "8\r\nAuthorization: ";
    check(kAnswered, "secret", field,
          {"Bearer secret", "\u00a0Bearer secret\t", "no\r\nAUTHORIZATION:Bearer secret"});
    check(kUnauthorized, "secret", field,
          {"", "bearer secret", "Bearer  secret", "Bearer secre", "Bearer secretBearer secret",
           "Bearer secret\r\nAuthorization: no"});
}

TEST(ProcessRequest, RefusesWebPagesFromElsewhere) {
    check(kAnswered, "", kLength + "8\r\norigin: ",
          {"http://localhost", "https://LocalHost:3000", "http://127.0.0.1:8765", "app://[::1]:1"});
    check(kForbidden, "secret", kLength + "-1\r\nOrigin: ",
          {"https://example.com", "null", "://localhost", "http://localhost.example",
           "http://example.localhost:80", "http://localhost:", "http://localhost:80@example.com",
           "http://[::1", "http://example.com/://localhost"});
}

// With a token, and at most 60 bytes of head and 100 in all.
TEST(RequestReader, AnswersWithTheLastByteThatMatters) {
    const std::string authorized = "\r\nAuthorization: Bearer a\r\nContent-Length: ";
    const std::pair<std::string, std::string> cases[] = {
        {"POST \n\n\r\r" + authorized + "8" + kMessage, kAnswered},
        {"GET /\r\nContent-Length: 3\r\n\r\n123", kUnauthorized},
        {"GET /\r\nContent-Length: 3\r\nOrigin: null\r\n\r\n", kForbidden},
        {std::string(64, 'x'), kBadRequest},
        {"POST" + authorized + "47\r\n\r\n" + std::string(47, ' '), kInvalidJson},
        {"POST" + authorized + "48\r\n\r\n", kBadRequest}};
    for (const auto& [request, answer] : cases) {
        SCOPED_TRACE(testing::PrintToString(request));
        RequestReader reader("a", {60, 100});
        for (std::size_t size = 0; size < request.size(); ++size)
            EXPECT_FALSE(reader.examine(request.substr(0, size))) << size << " bytes";
        ASSERT_TRUE(reader.examine(request + "\r\n\r\n"));
        EXPECT_EQ(reader.answer(request + "\r\n\r\n", handle), answer);
    }
}

}  // namespace
}  // namespace tovra::http
