// The least that any answer from the data file costs: what this project is measured against.
// Everything that can be kept between two runs is kept, so no memory is asked for.
#pragma once

#include <simdjson.h>

#include <filesystem>
#include <memory>
#include <string>

namespace tovra::bench {

class Floor {
  public:
    explicit Floor(std::filesystem::path file);

    // Reads the file and parses it. Throws std::runtime_error where that is not possible.
    void readAndParse();
    // The same, then writes the bytes into a new file, makes them durable, and replaces the file.
    void readAndReplace();

  private:
    void read();

    std::filesystem::path file_;
    std::unique_ptr<char[]> buffer_;
    std::size_t capacity_ = 0;
    std::size_t size_ = 0;
    simdjson::dom::parser parser_;
};

}  // namespace tovra::bench
