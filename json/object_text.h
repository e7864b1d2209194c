// JSON objects that are put together by hand.
#pragma once

#include <string>
#include <string_view>

#include "json/write.h"

namespace tovra::json {

// The compact text of an object, member by member in the order of the calls. Not for several
// threads. REQUIRES: names and strings are valid UTF-8.
class ObjectText {
  public:
    // A member whose value is that JSON text.
    ObjectText& add(std::string_view name, std::string_view json) {
        text_ += text_.empty() ? '{' : ',';
        appendString(text_, name);
        text_ += ':';
        text_ += json;
        return *this;
    }
    // A member whose value is that string.
    ObjectText& addString(std::string_view name, std::string_view value) {
        std::string quoted;
        appendString(quoted, value);
        return add(name, quoted);
    }
    // The whole object.
    [[nodiscard]] std::string close() const { return text_.empty() ? "{}" : text_ + '}'; }

  private:
    std::string text_;
};

}  // namespace tovra::json
