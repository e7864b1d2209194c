#include "check/loose_json.h"

#include <algorithm>
#include <cstddef>

#include "json/utf8.h"
#include "json/write.h"

namespace tovra::check {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// The length of the text in quotes that begins there, the quotes included.
std::size_t quotedSize(std::string_view text, bool hasEscapes) {
    std::size_t at = 1;
    while (at < text.size() && text[at] != text[0]) at += hasEscapes && text[at] == '\\' ? 2 : 1;
    return std::min(at + 1, text.size());
}

void closeBracket(std::string& out, char bracket) {
    std::size_t end = out.size();
    while (end > 0 && isBlank(out[end - 1])) --end;
    if (end > 0 && out[end - 1] == ',') out.resize(end - 1);
    out += bracket;
}

std::size_t lineSize(std::string_view text) { return std::min(text.find('\n'), text.size()); }

void appendText(std::string& out, std::string_view text) {
    json::appendString(out, json::isValidUtf8(text) ? text : "?");
}

// Reads TOML from its beginning.
class TomlReader {
  public:
    explicit TomlReader(std::string_view text) : rest_(text) {}

    std::string read() {
        while (!rest_.empty()) step();
        closeBracket(out_, '}');
        closeBracket(out_, '}');
        return std::move(out_);
    }

  private:
    void step() {
        const char c = rest_.front();
        if (c == '#') return drop(lineSize(rest_));
        if (c == '[' && depth_ == 0 && isLineStart_) return openTable();
        if (c == '"') {
            const std::size_t size = quotedSize(rest_, true);
            out_ += rest_.substr(0, size);
            return drop(size);
        }
        if (c == '\'') {
            const std::size_t size = quotedSize(rest_, false);
            appendText(out_, rest_.substr(1, size < 2 ? 0 : size - 2));
            return drop(size);
        }
        if (c == '\n' && depth_ == 0) {
            if (!out_.ends_with('{') && !out_.ends_with(',')) out_ += ',';
            drop(1);
            isLineStart_ = true;
            return;
        }
        if (std::string_view("[]{}=,").find(c) == std::string_view::npos) return word();
        if (c == '[' || c == '{') ++depth_;
        if (c == ']' || c == '}') {
            --depth_;
            closeBracket(out_, c);
        } else {
            out_ += c == '=' ? ':' : c;
        }
        drop(1);
    }

    void openTable() {
        std::string name;
        for (const char c : rest_.substr(0, lineSize(rest_))) {
            if (c == ']') break;
            if (c != '[' && c != '"' && c != '\'' && !isBlank(c)) name += c;
        }
        closeBracket(out_, '}');
        out_ += ',';
        appendText(out_, name);
        out_ += ":{";
        drop(lineSize(rest_));
    }

    void word() {
        constexpr std::string_view kEnds = " \t\r\n[]{}=,#\"'";
        const std::size_t size = std::min(rest_.find_first_of(kEnds), rest_.size());
        if (size == 0) return drop(1);
        appendText(out_, rest_.substr(0, size));
        drop(size);
    }

    void drop(std::size_t size) {
        isLineStart_ = isLineStart_ && isBlank(rest_.front());
        rest_.remove_prefix(size);
    }

    std::string_view rest_;
    std::string out_ = "{\"\":{";
    int depth_ = 0;
    bool isLineStart_ = true;
};

}  // namespace

std::string withoutComments(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        std::size_t size = 1;
        if (text.front() == '"') {
            size = quotedSize(text, true);
            out += text.substr(0, size);
        } else if (text.starts_with("//")) {
            size = lineSize(text);
        } else if (text.starts_with("/*")) {
            size = std::min(text.find("*/", 2), text.size() - 2) + 2;
        } else if (text.front() == '}' || text.front() == ']') {
            closeBracket(out, text.front());
        } else {
            out += text.front();
        }
        text.remove_prefix(size);
    }
    return out;
}

std::string jsonOfToml(std::string_view text) { return TomlReader(text).read(); }

}  // namespace tovra::check
