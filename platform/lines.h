// Lines in, bytes out: the two standard streams of a process that talks line by line.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace tovra {

// Reads lines from a file descriptor, without a limit on their length. Not for several threads.
class LineReader {
  public:
    explicit LineReader(int descriptor) : descriptor_(descriptor) {}

    // The next line, without its line feed and a carriage return directly before that. The last
    // line need not end with a line feed. A line too long for memory is skipped. Nothing comes back
    // at the end of the input or when reading fails, and ever after. The view is valid until the
    // next call.
    std::optional<std::string_view> next();

  private:
    void keep(std::string_view piece);
    std::string_view lineEndingWith(std::string_view piece);
    bool readMore();

    int descriptor_;
    bool hasEnded_ = false;
    bool isTooLong_ = false;  // there was no memory for the current line
    std::string line_;        // the current line as far as `read_` does not hold it
    std::size_t begin_ = 0;   // where in `read_` the next line begins
    std::size_t end_ = 0;     // how much `read_` holds
    std::array<char, std::size_t{16} * 1024> read_{};
};

// Writes all of `bytes`, in as many writes as it takes. Gives the system's reason where that fails.
[[nodiscard]] std::error_code writeAll(int descriptor, std::string_view bytes);

}  // namespace tovra
