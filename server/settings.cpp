#include "server/settings.h"

#include <charconv>
#include <system_error>
#include <utility>

namespace tovra {
namespace {

constexpr std::uint16_t kDefaultPort = 8765;

// A port from 0 to 65535: decimal digits after an optional sign, which is "-" only before zero.
std::optional<std::uint16_t> parsePort(std::string_view text) {
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    std::uint16_t port = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, port);
    if (error != std::errc() || stop != end || (negative && port != 0)) return std::nullopt;
    return port;
}

}  // namespace

Settings readSettings(std::span<const std::string_view> arguments,
                      std::optional<std::string> environmentToken) {
    Settings settings;
    settings.authToken = std::move(environmentToken);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const bool hasNext = i + 1 < arguments.size();
        if (arguments[i] == "--http") {
            const auto port = hasNext ? parsePort(arguments[i + 1]) : std::nullopt;
            settings.httpPort = port.value_or(kDefaultPort);
            if (port) ++i;
        } else if (arguments[i] == "--token" && hasNext) {
            settings.authToken = arguments[++i];
        } else if (arguments[i] == "--read-only") {
            settings.readOnly = true;
        } else {
            settings.ignored.push_back(arguments[i]);
        }
    }
    return settings;
}

}  // namespace tovra
