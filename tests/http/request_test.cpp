#include "http/request.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tovra::http {
namespace {

using namespace std::string_literals;

const std::string kAnswered =
    "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 11\r\n"
    "Connection: close\r\n\r\n{\"ok\":true}";
const std::string kNoAnswer =
    "HTTP/1.1 202 Accepted\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
const std::string kInvalidJson =
    "HTTP/1.1 400 Bad Request\r\nContent-Type: application/json\r\nContent-Length: 24\r\n"
    "Connection: close\r\n\r\n{\"error\":\"invalid json\"}";
const std::string kBadRequest =
    "HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
const std::string kUnauthorized =
    "HTTP/1.1 401 Unauthorized\r\nContent-Type: application/json\r\nContent-Length: 24\r\n"
    "Connection: close\r\n\r\n{\"error\":\"unauthorized\"}";
const std::string kForbidden =
    "HTTP/1.1 403 Forbidden\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
const std::string kHead = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
const std::string kGet =
    "HTTP/1.1 405 Method Not Allowed\r\nContent-Type: text/plain\r\nContent-Length: 31\r\n"
    "Connection: close\r\n\r\nPOST JSON-RPC to this endpoint.";
const std::string kOtherMethod =
    "HTTP/1.1 405 Method Not Allowed\r\nContent-Type: text/plain\r\nContent-Length: 0\r\n"
    "Connection: close\r\n\r\n";
const std::optional<std::string> kIncomplete;

// Answers every message that has an "id".
std::optional<std::string> handle(json::Value message) {
    if (!message.member("id").exists()) return std::nullopt;
    return R"({"ok":true})";
}

const std::string kMessage = R"({"id":1})";  // 8 bytes

struct Case {
    std::string received;
    std::optional<std::string> expected;
    std::optional<std::string> token = std::nullopt;
};

void check(const std::vector<Case>& cases) {
    for (const Case& c : cases)
        EXPECT_EQ(processRequest(c.received, c.token, handle), c.expected)
            << testing::PrintToString(c.received) << " token " << testing::PrintToString(c.token);
}

// A POST of the message with these lines as its head's fields.
std::string post(const std::string& fields) {
    return "POST / HTTP/1.1\r\n" + fields + "\r\n\r\n" + kMessage;
}

TEST(ProcessRequest, GivesTheFixedResponses) {
    check({
        {post("Content-Length: 8"), kAnswered},
        {"POST /any/path HTTP/1.1\r\nContent-Length: 2\r\n\r\n{}", kNoAnswer},
        {"POST / HTTP/1.1\r\nContent-Length: 8\r\n\r\n[{\"i\":1}]", kInvalidJson},
        {"POST / HTTP/1.1\r\nContent-Length: 9\r\n\r\n{\"id\":1}\0"s, kInvalidJson},
        {"POST / HTTP/1.1\r\n\r\n", kInvalidJson},
        {"HEAD / HTTP/1.1\r\n\r\n", kHead},
        {"GET / HTTP/1.1\r\n\r\n", kGet},
        {"  GET   /\r\n\r\n", kGet},
        {"GET\r\n\r\n", kGet},
        {"GET\t/ HTTP/1.1\r\n\r\n", kOtherMethod},
        {"post / HTTP/1.1\r\nContent-Length: 8\r\n\r\n" + kMessage, kOtherMethod},
        {"\r\n\r\n", kOtherMethod},
        {"\r\nGET / HTTP/1.1\r\n\r\n", kOtherMethod},
        {"GET / \xff\r\n\r\n", kBadRequest},
        {"POST / HTTP/1.1\r\nX: \xed\xa0\x80\r\nContent-Length: 8\r\n\r\n", kBadRequest},
    });
}

TEST(ProcessRequest, WaitsForTheBodyBeforeItAnswers) {
    check({
        {"", kIncomplete},
        {"GET / HTTP/1.1\n\n", kIncomplete},
        {"GET / HTTP/1.1\r\nContent-Length: 3\r\n\r\n12", kIncomplete},
        {"HEAD / HTTP/1.1\r\nContent-Length: 3\r\n\r\n12", kIncomplete},
        {"GET / HTTP/1.1\r\nContent-Length: 3\r\n\r\n12", kIncomplete, "secret"},
        {post("Content-Length: 8") + " and more", kAnswered},
        {"GET / HTTP/1.1\r\nContent-Length: 3\r\n\r\n123", kUnauthorized, "secret"},
    });
    for (const std::string& whole :
         {post("Content-Length: 8"), post("X: 1\r\n\tcontent-length:8\r\nAuthorization: Bearer a"),
          "GET / HTTP/1.1\r\n\r\n"s, "\r\n\r\n"s})
        for (std::size_t size = 0; size < whole.size(); ++size)
            EXPECT_EQ(processRequest(whole.substr(0, size), "a", handle), kIncomplete)
                << testing::PrintToString(whole.substr(0, size));
}

TEST(ProcessRequest, ReadsTheLengthOfTheBody) {
    check({
        {post("CONTENT-LENGTH:8"), kAnswered},
        {post("\u2003\tContent-Length\u00a0:\u3000 8\u205f\u1680"), kAnswered},
        {post("\u0085Content-Length: 8"), kInvalidJson},
        {post("Content-Length: 8\u200b"), kInvalidJson},
        {post("\ufeffContent-Length: 8"), kInvalidJson},
        {post("Content-Length: 8\r"), kInvalidJson},
        {post("X: 1\nContent-Length: 8"), kInvalidJson},
        {post("no colon\r\nContent-Length: 8\r\nnor here"), kAnswered},
        {post("Content-Length: 3\r\ncontent-length: 8"), kAnswered},
        {post("Content-Length: 8\r\nContent-Length: eight"), kInvalidJson},
        {"POST Content-Length:8\r\n\r\n" + kMessage, kInvalidJson},
        {"Content-Length:8 /\r\n\r\n" + kMessage, kOtherMethod},
        {post("Content-Length: +8"), kAnswered},
        {post("Content-Length: " + std::string(60, '0') + "8"), kAnswered},
        {post("Content-Length: "), kInvalidJson},
        {post("Content-Length: +"), kInvalidJson},
        {post("Content-Length: +-8"), kInvalidJson},
        {post("Content-Length: 8.0"), kInvalidJson},
        {post("Content-Length: 0x8"), kInvalidJson},
        {post("Content-Length: \uff18"), kInvalidJson},
        {post("Content-Length: -0"), kInvalidJson},
        {post("Content-Length: 9223372036854775808"), kInvalidJson},
        {post("Content-Length: -9223372036854775809"), kInvalidJson},
        {post("Content-Length: -1"), kBadRequest},
        {post("Content-Length: -9223372036854775808"), kBadRequest, "secret"},
        {post("Content-Length: 9223372036854775807"), kBadRequest},
    });
}

TEST(ProcessRequest, AsksForTheToken) {
    const std::string length = "Content-Length: 8\r\n";
    check({
        {post(length + "Authorization: Bearer secret"), kAnswered, "secret"},
        {post(length + "AUTHORIZATION:\u00a0Bearer secret\t"), kAnswered, "secret"},
        {post(length + "Authorization: no\r\nAuthorization: Bearer secret"), kAnswered, "secret"},
        {post(length + "Authorization: Bearer secret\r\nAuthorization: no"), kUnauthorized,
         "secret"},
        {post("Content-Length: 8"), kAnswered, ""},
        {post(length + "Authorization: Bearer other"), kAnswered},
        {post(length + "X: 1"), kUnauthorized, "secret"},
        {post(length + "Authorization:"), kUnauthorized, "secret"},
        {post(length + "Authorization: secret"), kUnauthorized, "secret"},
        {post(length + "Authorization: bearer secret"), kUnauthorized, "secret"},
        {post(length + "Authorization: Bearer  secret"), kUnauthorized, "secret"},
        {post(length + "Authorization: Bearer\u00a0secret"), kUnauthorized, "secret"},
        {post(length + "Authorization: Bearer secre"), kUnauthorized, "secret"},
        {post(length + "Authorization: Bearer secrets"), kUnauthorized, "secret"},
        {post(length + "Authorization: Bearer secretBearer secret"), kUnauthorized, "secret"},
        {post(length + "Authorization: Bearer  "), kUnauthorized, " "},
        {post(length + "Authorization: Bearer a "), kUnauthorized, "a "},
        {"HEAD / HTTP/1.1\r\n\r\n", kUnauthorized, "secret"},
        {"GET / HTTP/1.1\r\nAuthorization: Bearer secret\r\n\r\n", kGet, "secret"},
    });
}

TEST(ProcessRequest, RefusesWebPagesFromElsewhere) {
    for (const char* local : {"http://localhost", "https://LocalHost:3000", "http://127.0.0.1:8765",
                              "http://[::1]", "app://[::1]:1"})
        check({{post("Content-Length: 8\r\norigin: "s + local), kAnswered}});
    for (const char* foreign :
         {"https://example.com", "null", "", "localhost", "://localhost",
          "http://localhost.example", "http://example.localhost:80",
          "http://localhost:", "http://localhost:80@example.com", "http://localhost/",
          "http://127.0.0.1.example", "http://127.0.0.2", "http://[::1", "http://[::1].example",
          "http://::1", "http://[::2]", "http://example.com/://localhost"})
        check({{post("Content-Length: 8\r\nOrigin: "s + foreign), kForbidden}});
    check({
        {"POST / HTTP/1.1\r\nOrigin: http://example.com\r\nContent-Length: 8\r\n\r\n", kForbidden},
        {post("Origin: http://example.com\r\nContent-Length: -1"), kForbidden},
        {"GET / HTTP/1.1\r\nOrigin: http://example.com\r\n\r\n", kForbidden, "secret"},
        {"GET / HTTP/1.1\r\nOrigin: http://example.com\r\n", kIncomplete},
        {"GET / \xff\r\nOrigin: http://example.com\r\n\r\n", kBadRequest},
    });
}

// More than 40 bytes of head, or 100 in all.
TEST(RequestReader, RefusesWhatIsTooLarge) {
    struct SizeCase {
        std::string received;
        std::optional<std::string> expected;
    };
    const std::string head = "POST\r\nContent-Length: ";  // 22 bytes
    const std::string field = "GET /\r\nX: ";             // 10 bytes
    for (const SizeCase& c : std::vector<SizeCase>{
             {field + std::string(30, 'x') + "\r\n\r\n", kGet},
             {field + std::string(31, 'x') + "\r\n\r\n", kBadRequest},
             {std::string(43, 'x'), kIncomplete},
             {std::string(44, 'x'), kBadRequest},
             {head + "72\r\n\r\n" + std::string(72, ' '), kInvalidJson},
             {head + "72\r\n\r\n" + std::string(71, ' '), kIncomplete},
             {head + "73\r\n\r\n", kBadRequest},
         }) {
        RequestReader whole("", {40, 100});
        const bool complete = whole.examine(c.received);
        EXPECT_EQ(complete ? std::optional(whole.answer(c.received, handle)) : std::nullopt,
                  c.expected)
            << testing::PrintToString(c.received);

        RequestReader pieces("", {40, 100});
        std::size_t size = 0;
        while (size < c.received.size() && !pieces.examine(c.received.substr(0, size))) ++size;
        const std::string_view seen = std::string_view(c.received).substr(0, size);
        EXPECT_EQ(pieces.examine(seen) ? std::optional(pieces.answer(seen, handle)) : std::nullopt,
                  c.expected)
            << testing::PrintToString(c.received) << " byte by byte";
    }
}

}  // namespace
}  // namespace tovra::http
