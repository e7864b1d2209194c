// HTTP: the answer to a request depends on its bytes alone, not on how many of them come at once
// nor on what follows them; before it is whole there is none.
#include <algorithm>

#include "fuzz/support.h"
#include "http/request.h"

namespace {

namespace http = tovra::http;
namespace json = tovra::json;
using tovra::fuzz::require;
using Answer = std::optional<std::string>;

Answer echo(json::Value message) {
    const json::Value id = message.member("id");
    if (!id.exists()) return std::nullopt;
    std::string text;
    json::appendCompact(text, id);
    return text;
}

Answer answerTo(std::string_view received, std::string_view token,
                const http::RequestLimits& limits) {
    http::RequestReader reader(8765, token, limits);
    const auto request = reader.examine(received);
    if (!request) return std::nullopt;
    return http::processRequest(*request, echo);
}

void checkForm(std::string_view answer) {
    constexpr std::string_view kHeadEnd = "\r\n\r\n";
    const std::size_t head = answer.find(kHeadEnd);
    require(answer.starts_with("HTTP/1.1 ") && head != std::string_view::npos, "it is a response");
    const std::string length = std::to_string(answer.size() - head - kHeadEnd.size());
    require(
        answer.substr(0, head).ends_with("\r\nContent-Length: " + length + "\r\nConnection: close"),
        "it tells its length and ends the connection");
}

// Gives the reader the request in pieces of `piece` bytes.
void checkPieces(std::string_view request, std::string_view token,
                 const http::RequestLimits& limits, const Answer& whole, std::size_t piece) {
    http::RequestReader reader(8765, token, limits);
    for (std::size_t size = 0; size <= request.size(); size += piece) {
        const std::string copy(request.substr(0, size));  // so that reading too far shows
        const auto taken = reader.examine(copy);
        require(taken.has_value() == answerTo(copy, token, limits).has_value(),
                "pieces do not matter");
        require(reader.expectedSize() <= limits.request, "no request is larger than the limit");
        if (!taken) continue;
        require(reader.expectedSize() <= size, "a whole request has its size");
        require(http::processRequest(*taken, echo) == whole, "what follows does not matter");
        return;
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view request = tovra::fuzz::textOf(data, size);
    for (const std::string_view token : {"", "secret"}) {
        for (const http::RequestLimits& limits :
             {http::RequestLimits(), http::RequestLimits{.head = 96, .request = 192}}) {
            const Answer whole = answerTo(request, token, limits);
            if (whole) checkForm(*whole);
            if (size <= 512) checkPieces(request, token, limits, whole, 1);
            checkPieces(request, token, limits, whole, size / 16 + 2);
            checkPieces(request, token, limits, whole, std::max<std::size_t>(size, 1));
        }
    }
    return 0;
}
