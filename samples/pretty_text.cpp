#include "samples/pretty_text.h"

#include <array>
#include <charconv>

#include "json/write.h"

namespace tovra::support {

void PrettyText::open(std::string_view bracket, std::string_view key) {
    beginValue(key);
    text_ += bracket;
    closers_ += bracket == "{" ? '}' : ']';
    isEmpty_ = true;
}

void PrettyText::close() {
    const char closer = closers_.back();
    closers_.pop_back();
    if (isEmpty_) text_ += '\n';
    newLine();
    text_ += closer;
    isEmpty_ = false;
}

void PrettyText::string(std::string_view value, std::string_view key) {
    beginValue(key);
    json::appendString(text_, value, json::Slash::escaped);
}

void PrettyText::number(double value, std::string_view key) {
    beginValue(key);
    std::array<char, 352> digits{};  // the largest double has 309 digits before the point
    const auto end =
        std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed)
            .ptr;
    text_.append(digits.data(), end);
}

void PrettyText::boolean(bool value, std::string_view key) {
    beginValue(key);
    text_ += value ? "true" : "false";
}

void PrettyText::beginValue(std::string_view key) {
    if (closers_.empty()) return;
    if (!isEmpty_) text_ += ',';
    isEmpty_ = false;
    newLine();
    if (key.empty()) return;
    json::appendString(text_, key, json::Slash::escaped);
    text_ += " : ";
}

void PrettyText::newLine() {
    text_ += '\n';
    text_.append(2 * closers_.size(), ' ');
}

}  // namespace tovra::support
