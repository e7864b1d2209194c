#include "http/request.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <utility>

#include "http/head.h"

namespace tovra::http {
namespace {

using Verdict = Request::Verdict;

constexpr std::string_view kHeadEnd = "\r\n\r\n";
constexpr std::string_view kJson = "application/json";
constexpr std::string_view kPlainText = "text/plain";

// Looks at every byte of `given`, whatever they are. The time then does not tell how much of a
// guessed token was right.
bool equalsInConstantTime(std::string_view given, std::string_view expected) {
    std::size_t difference = given.size() ^ expected.size();
    for (std::size_t i = 0; i < given.size(); ++i) {
        const char other = expected[i % expected.size()];
        difference |= static_cast<unsigned char>(given[i] ^ other);
    }
    return difference == 0;
}

bool isAuthorized(const std::optional<std::string_view>& authorization, std::string_view token) {
    if (token.empty()) return true;
    std::string expected = "Bearer ";
    expected += token;
    return authorization && equalsInConstantTime(*authorization, expected);
}

Verdict verdictOnMethod(std::string_view method) {
    if (method == "POST") return Verdict::post;
    if (method == "GET") return Verdict::get;
    if (method == "HEAD") return Verdict::headMethod;
    return Verdict::otherMethod;
}

void appendHead(std::string& out, std::string_view status,
                std::optional<std::string_view> contentType, std::size_t bodySize) {
    const std::string length = std::to_string(bodySize);  // so short that it needs no memory
    out.append("HTTP/1.1 ").append(status).append("\r\n");
    if (contentType) out.append("Content-Type: ").append(*contentType).append("\r\n");
    out.append("Content-Length: ").append(length).append("\r\n");
    out.append("Connection: close\r\n\r\n");
}

std::string respondToMessage(std::string_view body, const Handler& handle) {
    const std::optional<json::Document> message = json::parse(body);
    if (!message || !message->root().is(json::Kind::object)) {
        return httpResponse("400 Bad Request", kJson, R"({"error":"invalid json"})");
    }
    std::string head;
    head.reserve(kHeadRoom);
    // From here on no memory may be needed: what the call has done is to be answered.
    std::optional<std::string> response = handle(message->root());
    if (response) {
        appendHead(head, "200 OK", kJson, response->size());
        response->insert(0, head);
        return std::move(*response);
    }
    appendHead(head, "202 Accepted", std::nullopt, 0);
    return head;
}

}  // namespace

std::optional<Request> RequestReader::examine(std::string_view received) {
    if (!verdict_) findHead(received);
    if (!verdict_ || received.size() < size_) return std::nullopt;
    return Request{*verdict_, received.substr(bodyStart_, size_ - bodyStart_)};
}

void RequestReader::findHead(std::string_view received) {
    // Looks no further than a head may reach. The answer then does not depend on how much came at
    // once.
    const std::string_view window = received.substr(0, limits_.head + kHeadEnd.size());
    const std::size_t end = window.find(kHeadEnd, searched_);
    if (end != std::string_view::npos) {
        bodyStart_ = size_ = end + kHeadEnd.size();
        judge(window.substr(0, end));
    } else if (window.size() == limits_.head + kHeadEnd.size()) {
        verdict_ = Verdict::badRequest;
    } else {
        searched_ = window.size() - std::min(window.size(), kHeadEnd.size() - 1);
    }
}

// Some heads are answered at once: broken ones, those of a web page elsewhere, and those that
// announce too much. Every other answer waits for the body, even if nobody looks at it.
void RequestReader::judge(std::string_view headerBlock) {
    const std::optional<Head> head = parseHead(headerBlock);
    if (head && head->origin && !isOwnOrigin(*head->origin, port_)) {
        verdict_ = Verdict::forbidden;
    } else if (!head || head->contentLength < 0 ||
               std::cmp_greater(head->contentLength, limits_.request - bodyStart_)) {
        verdict_ = Verdict::badRequest;
    } else {
        size_ += static_cast<std::size_t>(head->contentLength);
        verdict_ = isAuthorized(head->authorization, token_) ? verdictOnMethod(head->method)
                                                             : Verdict::unauthorized;
    }
}

std::string processRequest(const Request& request, const Handler& handle) {
    switch (request.verdict) {
        case Verdict::post:
            return respondToMessage(request.body, handle);
        case Verdict::headMethod:
            return httpResponse("200 OK", std::nullopt, "");
        case Verdict::get:
            return httpResponse("405 Method Not Allowed", kPlainText,
                                "POST JSON-RPC to this endpoint.");
        case Verdict::otherMethod:
            return httpResponse("405 Method Not Allowed", kPlainText, "");
        case Verdict::unauthorized:
            return httpResponse("401 Unauthorized", kJson, R"({"error":"unauthorized"})");
        case Verdict::forbidden:
            return httpResponse("403 Forbidden", std::nullopt, "");
        case Verdict::badRequest:
            break;
    }
    return httpResponse("400 Bad Request", std::nullopt, "");
}

std::string httpResponse(std::string_view status, std::optional<std::string_view> contentType,
                         std::string_view body) {
    std::string response;
    response.reserve(kHeadRoom + body.size());
    appendHead(response, status, contentType, body.size());
    return response.append(body);
}

}  // namespace tovra::http
