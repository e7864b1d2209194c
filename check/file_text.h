// The text of a data file, read piece by piece.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "files/file.h"
#include "json/json.h"

namespace tovra::check {

// The bytes of an open file, from the one behind a byte-order mark on. Keeps a reference to the
// file. Not for several threads.
class FileText {
  public:
    explicit FileText(const OpenFile& file);

    // At most so many bytes from there on, fewer where the file ends. Valid until the next call.
    std::string_view at(std::size_t offset, std::size_t room);

    // Where the first character is that is no blank; the text's size where there is none.
    [[nodiscard]] std::size_t begin();

    // The text for the parser, up to the first U+0000. No JSON holds one, and a parser would take
    // long for the many that a crash leaves. Stays valid as long as this; for one reading.
    [[nodiscard]] json::Source source();

  private:
    const OpenFile& file_;
    std::size_t begin_ = 0;
    std::string piece_;
};

}  // namespace tovra::check
