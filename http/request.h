// Requests: the bytes of one HTTP request in, the bytes of its response out.
//
// Nothing here does I/O or keeps state between requests. Calls for different requests may run at
// once on any number of threads; a RequestReader belongs to one request.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "json/json.h"

namespace tovra::http {

// The head of a response takes fewer bytes.
inline constexpr std::size_t kHeadRoom = 128;

// Answers one message, a JSON object: the response as compact JSON, or nothing where the message
// gets none. Where the text has room for kHeadRoom bytes more, it is sent even when memory is out
// by then. May be called from several threads at once. Throws std::bad_alloc, and nothing else.
using Handler = std::function<std::optional<std::string>(json::Value message)>;

// How large a request may be, in bytes. A larger one is answered "400 Bad Request" as soon as that
// is known. REQUIRES: head + 4 <= request.
struct RequestLimits {
    std::size_t head = std::size_t{64} * 1024;            // without the empty line that ends it
    std::size_t request = std::size_t{16} * 1024 * 1024;  // head, empty line and body
};

// A whole request, as far as its answer depends on it.
struct Request {
    enum class Verdict { badRequest, forbidden, unauthorized, headMethod, get, post, otherMethod };

    Verdict verdict;        // which answer it will be; settled by the head
    std::string_view body;  // in the bytes that were received
};

// Follows one request while its bytes come in. The time is linear in the bytes, in however many
// pieces they come: the head's end is searched in new bytes only, and the body is counted.
class RequestReader {
  public:
    // `port` is the server's own. An empty token means that none is asked for. The token must
    // outlive the reader.
    RequestReader(std::uint16_t port, std::string_view token, const RequestLimits& limits = {})
        : port_(port), token_(token), limits_(limits) {
        assert(limits.head + 4 <= limits.request);
    }

    // Is given all bytes received so far, each time from the first byte of the request. The request
    // comes back once they hold all that the answer depends on; what follows is ignored.
    [[nodiscard]] std::optional<Request> examine(std::string_view received);

    // The size of the request, head included. Until the head is whole, the largest size that is
    // accepted.
    [[nodiscard]] std::size_t expectedSize() const { return verdict_ ? size_ : limits_.request; }

  private:
    using Verdict = Request::Verdict;

    void findHead(std::string_view received);
    void judge(std::string_view headerBlock);

    std::uint16_t port_;
    std::string_view token_;
    RequestLimits limits_;
    std::size_t searched_ = 0;  // bytes known to hold no end of the head
    std::optional<Verdict> verdict_;
    std::size_t bodyStart_ = 0;
    std::size_t size_ = 0;  // bytes that must be there before the answer is given
};

// The response to a request, whole. Calls `handle` where the request carries a message.
[[nodiscard]] std::string processRequest(const Request& request, const Handler& handle);

// A whole response that closes the connection; `status` is like "200 OK".
[[nodiscard]] std::string httpResponse(std::string_view status,
                                       std::optional<std::string_view> contentType,
                                       std::string_view body);

}  // namespace tovra::http
