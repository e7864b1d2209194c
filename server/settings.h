// The process-wide values: fixed by the environment and the command line at start-up, only read
// afterwards.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace tovra {

struct Settings {
    bool readOnly = false;                  // the recording tools are refused
    std::optional<std::uint16_t> httpPort;  // HTTP mode on this port; else standard input
    std::optional<std::string> authToken;   // the bearer token of HTTP mode; empty counts as none
};

// Reads the arguments that follow the program's name, left to right; the last occurrence of an
// option wins and whatever is not known is ignored. `environmentToken` is the value of
// TOVRA_MCP_TOKEN, which --token overrides.
[[nodiscard]] Settings readSettings(std::span<const std::string_view> arguments,
                                    std::optional<std::string> environmentToken);

}  // namespace tovra
