// The head of a request: its method and the three fields that matter here.
//
// Pure functions; any number of threads may call them.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tovra::http {

// What the head says, as views into the block that was parsed.
struct Head {
    std::string_view method;         // as it was sent; may be empty
    std::int64_t contentLength = 0;  // in bytes; 0 where it is missing or no 64-bit integer
    std::optional<std::string_view> authorization;
    std::optional<std::string_view> origin;
};

// Reads a header block: everything before the first empty line. Nothing comes back where it is not
// valid UTF-8; every other block is a head.
[[nodiscard]] std::optional<Head> parseHead(std::string_view block);

// Whether the value of an Origin field names the server that listens on that port: http, and
// localhost, 127.0.0.1 or [::1]. A page on any other port of this machine is as foreign as one from
// elsewhere. False for everything else, "null" and malformed values included.
[[nodiscard]] bool isOwnOrigin(std::string_view origin, std::uint16_t port);

}  // namespace tovra::http
