#include "http/request.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tovra::http {
namespace {

using namespace std::string_literals;

const std::string kEnd = "\r\nConnection: close\r\n\r\n";
const std::string kEmpty = "\r\nContent-Length: 0" + kEnd;
const std::string kJson = "\r\nContent-Type: application/json\r\nContent-Length: ";
const std::string kError = kJson + "24" + kEnd + "{\"error\":\"";
const std::string k405 =
    "HTTP/1.1 405 Method Not Allowed\r\nContent-Type: text/plain\r\nContent-Length: ";

const std::string kAnswered = "HTTP/1.1 200 OK" + kJson + "11" + kEnd + "{\"ok\":true}";
const std::string kNoAnswer = "HTTP/1.1 202 Accepted" + kEmpty;
const std::string kInvalidJson = "HTTP/1.1 400 Bad Request" + kError + "invalid json\"}";
const std::string kBadRequest = "HTTP/1.1 400 Bad Request" + kEmpty;
const std::string kUnauthorized = "HTTP/1.1 401 Unauthorized" + kError + "unauthorized\"}";
const std::string kForbidden = "HTTP/1.1 403 Forbidden" + kEmpty;
const std::string kHead = "HTTP/1.1 200 OK" + kEmpty;
const std::string kGet = k405 + "31" + kEnd + "POST JSON-RPC to this endpoint.";
const std::string kOtherMethod = k405 + "0" + kEnd;
const std::optional<std::string> kIncomplete;

// Answers every message that has an "id".
std::optional<std::string> handle(json::Value message) {
    return message.member("id").exists() ? std::optional(R"({"ok":true})"s) : std::nullopt;
}

using Texts = std::vector<std::string>;

void check(const std::optional<std::string>& expected, const Texts& requests,
           const std::optional<std::string>& token = std::nullopt) {
    for (const std::string& request : requests)
        EXPECT_EQ(processRequest(request, token, handle), expected)
            << testing::PrintToString(request) << " token " << testing::PrintToString(token);
}

// A POST of a message of 8 bytes with these lines as its head's fields.
std::string post(const std::string& fields) {
    return "POST / HTTP/1.1\r\n" + fields + "\r\n\r\n{\"id\":1}";
}

// The same for POSTs whose heads have these fields after that beginning; no token if it is empty.
void checkPosts(const std::string& expected, const std::string& token, const std::string& beginning,
                const Texts& fields) {
    for (const std::string& field : fields) check(expected, {post(beginning + field)}, token);
}

TEST(ProcessRequest, GivesTheFixedResponses) {
    const std::string length = "POST / HTTP/1.1\r\nContent-Length: ";
    check(kNoAnswer, {"POST /any/path HTTP/1.1\r\nContent-Length: 2\r\n\r\n{}"});
    check(kInvalidJson, {"POST /\r\n\r\n", "POST Content-Length:8\r\n\r\n{\"id\":1}",
                         length + "9\r\n\r\n{\"id\":1}\0"s, length + "8\r\n\r\n[{\"i\":1}]"});
    check(kHead, {"HEAD / HTTP/1.1\r\n\r\n"});
    check(kGet, {"GET / HTTP/1.1\r\n\r\n", "  GET   /\r\n\r\n", "GET\r\n\r\n"});
    check(kOtherMethod, {"GET\t/ HTTP/1.1\r\n\r\n", "post / HTTP/1.1\r\n\r\n", "\r\n\r\n",
                         "\r\nGET / HTTP/1.1\r\n\r\n", "Content-Length:8 /\r\n\r\n"});
    check(kBadRequest, {"GET / \xff\r\nOrigin: http://example.com\r\n\r\n",
                        length + "8\r\nX: \xed\xa0\x80\r\n\r\n"});
}

TEST(ProcessRequest, WaitsForTheBodyBeforeItAnswers) {
    check(kIncomplete, {"GET / HTTP/1.1\n\n"});
    check(kAnswered, {post("Content-Length: 8") + " and more"});
    const std::string length = "\r\nContent-Length: 3\r\n\r\n123";
    const std::pair<std::string, std::string> cases[] = {
        {post("X: 1\r\n\tcontent-length:8\r\nAuthorization: Bearer a"), kAnswered},
        {"GET / HTTP/1.1\r\nAuthorization: Bearer a" + length, kGet},
        {"GET / HTTP/1.1" + length, kUnauthorized}};
    for (const auto& [whole, answer] : cases)
        for (std::size_t size = 0; size <= whole.size(); ++size)
            check(size == whole.size() ? std::optional(answer) : kIncomplete,
                  {whole.substr(0, size)}, "a");
}

TEST(ProcessRequest, ReadsTheLengthOfTheBody) {
    checkPosts(
        kAnswered, "", "",
        {"CONTENT-LENGTH:8", "\u2003\tContent-Length\u00a0:\u3000 8\u205f\u1680",
         "no colon\r\nContent-Length: 8\r\nnor here", "Content-Length: 3\r\ncontent-length: 8",
         "Content-Length: +8", "Content-Length: " + std::string(60, '0') + "8"});
    checkPosts(
        kInvalidJson, "", "Content-Length: ",
        {"8\u200b", "8\r", "", "+", "+-8", "8.0", "0x8", "\uff18", "-0", "9223372036854775808",
         "-9223372036854775809", "8\r\nContent-Length: eight", "\r\n\u0085Content-Length: 8",
         "\r\n\ufeffContent-Length: 8", "\nContent-Length: 8"});
    checkPosts(kBadRequest, "secret",
               "Content-Length: ", {"-1", "-9223372036854775808", "9223372036854775807"});
}

TEST(ProcessRequest, AsksForTheToken) {
    const std::string field = "Content-Length: 8\r\nAuthorization:";
    check(kAnswered, {post(field + " Bearer other")});
    checkPosts(kAnswered, "secret", field,
               {" Bearer secret", "\u00a0Bearer secret\t", " no\r\nAUTHORIZATION: Bearer secret"});
    checkPosts(
        kUnauthorized, "secret", field,
        {" Bearer secret\r\nAuthorization: no", "", " secret", " bearer secret", " Bearer  secret",
         " Bearer\u00a0secret", " Bearer secre", " Bearer secrets", " Bearer secretBearer secret"});
    checkPosts(kUnauthorized, "a ", field, {" Bearer a "});
}

TEST(ProcessRequest, RefusesWebPagesFromElsewhere) {
    checkPosts(kAnswered, "", "Content-Length: 8\r\norigin: ",
               {"http://localhost", "https://LocalHost:3000", "http://127.0.0.1:8765",
                "http://[::1]", "app://[::1]:1"});
    checkPosts(kForbidden, "secret", "Content-Length: -1\r\nOrigin: ",
               {"https://example.com", "null", "", "localhost", "://localhost",
                "http://localhost.example", "http://example.localhost:80", "http://localhost:",
                "http://localhost:80@example.com", "http://127.0.0.1.example", "http://[::1",
                "http://[::1].example", "http://::1", "http://example.com/://localhost"});
    check(kForbidden, {"GET /\r\nOrigin: http://a.example\r\nContent-Length: 8\r\n\r\n"}, "secret");
}

// More than 40 bytes of head, or 100 in all.
TEST(RequestReader, RefusesWhatIsTooLarge) {
    const std::pair<std::string, std::optional<std::string>> cases[] = {
        {"GET /\r\nX: " + std::string(30, 'x') + "\r\n\r\n", kGet},
        {"GET /\r\nX: " + std::string(31, 'x') + "\r\n\r\n", kBadRequest},
        {std::string(43, 'x'), kIncomplete},
        {std::string(44, 'x'), kBadRequest},
        {"POST\r\nContent-Length: 72\r\n\r\n" + std::string(72, ' '), kInvalidJson},
        {"POST\r\nContent-Length: 72\r\n\r\n" + std::string(71, ' '), kIncomplete},
        {"POST\r\nContent-Length: 73\r\n\r\n", kBadRequest}};
    for (const auto& [received, expected] : cases)
        for (const std::size_t step : {std::size_t{1}, received.size()}) {
            RequestReader reader("", {40, 100});
            std::optional<std::string> answer;
            for (std::size_t size = step; size <= received.size() && !answer; size += step)
                if (const auto seen = received.substr(0, size); reader.examine(seen))
                    answer = reader.answer(seen, handle);
            EXPECT_EQ(answer, expected) << testing::PrintToString(received) << " step " << step;
        }
}

}  // namespace
}  // namespace tovra::http
