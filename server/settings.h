// The values that the environment and the command line fix when the program starts.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tovra {

struct Settings {
    bool readOnly = false;                  // the recording tools are refused
    std::optional<std::uint16_t> httpPort;  // HTTP mode on this port; else standard input
    std::optional<std::string> authToken;   // the bearer token of HTTP mode; empty counts as none
    std::vector<std::string_view> ignored;  // arguments that are not known
};

// Reads the arguments that follow the program's name, from left to right. The last occurrence of an
// option wins, and an argument that is not known is ignored. `environmentToken` is the value of
// TOVRA_MCP_TOKEN, which --token overrides.
[[nodiscard]] Settings readSettings(std::span<const std::string_view> arguments,
                                    std::optional<std::string> environmentToken);

}  // namespace tovra
