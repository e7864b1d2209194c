// Lines in, bytes out: the two standard streams of a process that talks line by line.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tovra {

// Reads lines from a file descriptor, without a limit on their length. Not for several threads.
class LineReader {
  public:
    explicit LineReader(int descriptor) : descriptor_(descriptor) {}

    // The next line without its line feed and without a carriage return directly before that; also
    // the last one that no line feed ends. Nothing at the end of the input or when reading fails.
    // The view is valid until the next call.
    std::optional<std::string_view> next();

  private:
    void dropLinesBefore();
    bool readMore();

    int descriptor_;
    std::string buffer_;
    std::size_t begin_ = 0;  // of the line that comes next
};

// Writes all of `bytes`, however the system cuts it up. False when it cannot be written.
[[nodiscard]] bool writeAll(int descriptor, std::string_view bytes);

}  // namespace tovra
