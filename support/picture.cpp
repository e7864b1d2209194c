#include <algorithm>
#include <utility>

#include "support/exchange.h"

namespace tovra::support {
namespace {

constexpr int kWidth = 760;
constexpr int kMargin = 30;
constexpr int kLine = 19;
constexpr int kMostLines = 7;  // of an answer

constexpr std::string_view kStyle = R"(
  <style>
    text { font: 15px system-ui, -apple-system, "Segoe UI", "DejaVu Sans", sans-serif; fill: #1f2328 }
    .code text { font: 13px ui-monospace, Menlo, Consolas, "DejaVu Sans Mono", monospace; white-space: pre }
    .code .call { fill: #59636e }
    .name { fill: #1a7f37 }
    .page { fill: #ffffff; stroke: #d0d7de }
    .tool { fill: #f3f5f7; stroke: #d0d7de }
    .person { fill: #dceeff }
    @media (prefers-color-scheme: dark) {
      text { fill: #e6edf3 }
      .code .call { fill: #9aa4af }
      .name { fill: #5cc96f }
      .page { fill: #0d1117; stroke: #3d444d }
      .tool { fill: #1a2029; stroke: #3d444d }
      .person { fill: #12395f }
    }
  </style>
)";

std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c == '<') {
            result += "&lt;";
        } else if (c == '&') {
            result += "&amp;";
        } else {
            result += c;
        }
    }
    return result;
}

std::string attribute(std::string_view name, int value) {
    return " " + std::string(name) + "=\"" + std::to_string(value) + "\"";
}

class Drawing {
  public:
    void question(std::string_view text) {
        // Room enough for every letter of the widest usual font.
        const int width = 32 + static_cast<int>(text.size()) * 8;
        y_ += kMargin;
        box("person", kWidth - kMargin - width, width, 36);
        body_ += "  <text" + attribute("x", kWidth - kMargin - 16) + attribute("y", y_ + 23) +
                 " text-anchor=\"end\">" + escaped(text) + "</text>\n";
        y_ += 36 + 14;
    }

    void answer(const Exchange& exchange) {
        std::string lines;
        int count = 1;
        std::string_view rest = exchange.answer;
        while (!rest.empty() && count <= kMostLines) {
            const std::string_view text = rest.substr(0, rest.find('\n'));
            rest.remove_prefix(std::min(text.size() + 1, rest.size()));
            const bool isCut = count == kMostLines && !rest.empty();
            lines += line(count++, isCut ? "  …" : escaped(text), "");
        }
        box("tool", kMargin, kWidth - 2 * kMargin, 20 + count * kLine);
        const std::string call =
            "<tspan class=\"name\">" + exchange.tool + "</tspan> " + escaped(exchange.arguments);
        body_ += "  <g class=\"code\">\n" + line(0, call, " class=\"call\"") + lines + "  </g>\n";
        y_ += 20 + count * kLine;
    }

    [[nodiscard]] std::string finish(std::string_view title) const {
        const int height = y_ + kMargin;
        return "<svg xmlns=\"http://www.w3.org/2000/svg\"" + attribute("width", kWidth) +
               attribute("height", height) + " viewBox=\"0 0 " + std::to_string(kWidth) + " " +
               std::to_string(height) + "\" role=\"img\" aria-labelledby=\"title\">\n" +
               "  <title id=\"title\">" + escaped(title) + "</title>" + std::string(kStyle) +
               "  <rect class=\"page\" x=\"0.5\" y=\"0.5\"" + attribute("width", kWidth - 1) +
               attribute("height", height - 1) + " rx=\"10\"/>\n" + body_ + "</svg>\n";
    }

  private:
    void box(std::string_view kind, int x, int width, int height) {
        body_ += "  <rect class=\"" + std::string(kind) + "\"" + attribute("x", x) +
                 attribute("y", y_) + attribute("width", width) + attribute("height", height) +
                 " rx=\"10\"/>\n";
    }

    // The line with that number in the box that begins at y_.
    [[nodiscard]] std::string line(int number, const std::string& text,
                                   const std::string& kind) const {
        return "    <text" + kind + attribute("x", kMargin + 16) +
               attribute("y", y_ + 24 + number * kLine) + ">" + text + "</text>\n";
    }

    std::string body_;
    int y_ = 0;
};

}  // namespace

std::string picture(std::string_view title, std::span<const Exchange> exchanges) {
    Drawing drawing;
    for (const Exchange& exchange : exchanges) {
        drawing.question(exchange.question);
        drawing.answer(exchange);
    }
    return drawing.finish(title);
}

}  // namespace tovra::support
