// One question of the demonstration: what a person asks, the call that an assistant makes of it,
// and what the server answers.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace tovra::support {

struct Exchange {
    std::string question;
    std::string tool;
    std::string arguments;  // JSON text
    std::string answer;     // lines of text
};

// The exchanges as an SVG picture, answers of more than a few lines cut short. `title` describes it
// for those who do not see it.
[[nodiscard]] std::string picture(std::string_view title, std::span<const Exchange> exchanges);

}  // namespace tovra::support
