#include "check/loose_json.h"

#include <algorithm>
#include <cstddef>

#include "files/file.h"
#include "json/write.h"

namespace tovra::check {
namespace {

// Reads JSON with comments, or TOML, from its beginning.
class LooseReader {
  public:
    LooseReader(std::string_view text, bool isToml) : rest_(text), isToml_(isToml) {}

    std::string read() {
        if (isToml_) out_ = "{\"\":{";
        while (!rest_.empty()) rest_.remove_prefix(std::min(step(), rest_.size()));
        if (isToml_) close("}}");
        return std::move(out_);
    }

  private:
    static constexpr std::string_view kBlanks = " \t\r\n";

    // Writes what the text begins with, and says how long that is.
    std::size_t step() {
        const char c = rest_.front();
        if (rest_.starts_with(isToml_ ? "#" : "//")) return rest_.find('\n');
        if (!isToml_ && rest_.starts_with("/*")) {
            return std::min(rest_.find("*/", 2), rest_.size()) + 2;
        }
        if (c == '"' || (isToml_ && c == '\'')) return quoted(c);
        if (c == '}' || c == ']') {
            --depth_;
            close(rest_.substr(0, 1));
        } else if (!isToml_) {
            out_ += c;
        } else {
            return stepInToml(c);
        }
        return 1;
    }

    std::size_t stepInToml(char c) {
        const bool isBehindLine = depth_ == 0 && (out_.ends_with('{') || out_.ends_with(','));
        if (c == '[' && isBehindLine) return table();
        if (c == '\n' && depth_ == 0 && !isBehindLine) out_ += ',';
        if (kBlanks.find(c) != std::string_view::npos) return 1;
        if (std::string_view("[{=,").find(c) == std::string_view::npos) return word();
        if (c == '[' || c == '{') ++depth_;
        out_ += c == '=' ? ':' : c;
        return 1;
    }

    // A text in quotes; between ' there are no escapes.
    std::size_t quoted(char quote) {
        std::size_t end = 1;
        while (end < rest_.size() && rest_[end] != quote) {
            end += quote == '"' && rest_[end] == '\\' ? 2 : 1;
        }
        if (quote == '"') {
            out_ += rest_.substr(0, end + 1);
        } else {
            json::appendString(out_, readablePath(rest_.substr(1, end - 1)));
        }
        return end + 1;
    }

    std::size_t table() {
        std::string name(rest_.substr(0, rest_.find_first_of("]\n")));
        std::erase_if(name, [](char c) { return std::string_view("[\"' \t\r").find(c) < 6; });
        close("}");
        out_ += ',';
        json::appendString(out_, readablePath(name));
        out_ += ":{";
        return rest_.find('\n');
    }

    std::size_t word() {
        const std::size_t size = rest_.find_first_of(" \t\r\n[]{}=,#\"'");
        json::appendString(out_, readablePath(rest_.substr(0, size)));
        return size;
    }

    // Closes brackets, without the comma before them.
    void close(std::string_view brackets) {
        const std::size_t end = out_.find_last_not_of(kBlanks);
        if (end < out_.size() && out_[end] == ',') out_.resize(end);
        out_ += brackets;
    }

    std::string_view rest_;
    bool isToml_;
    std::string out_;
    int depth_ = 0;
};

}  // namespace

std::string jsonOf(std::string_view text, Form form) {
    return form == Form::json ? std::string(text) : LooseReader(text, form == Form::toml).read();
}

}  // namespace tovra::check
