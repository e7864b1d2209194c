// A hash that stands for the bytes of a whole file.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tovra {

// Takes bytes in pieces of any size; how they are cut makes no difference. Not for several threads.
//
// Other bytes have another hash, but for once in 2^64 times by chance. It is no defence against
// somebody who looks for such bytes. Names on the disk hold it (files/leftovers.h), so it has to
// stay as it is. Machines with another order of bytes have other hashes.
class ByteHash {
  public:
    void add(std::string_view bytes);
    [[nodiscard]] std::uint64_t value() const;

  private:
    static constexpr std::size_t kBlock = 32;  // one word for each lane
    using Lanes = std::array<std::uint64_t, kBlock / sizeof(std::uint64_t)>;

    static void stir(Lanes& lanes, const char* block);

    Lanes lanes_{1, 2, 3, 4};
    std::array<char, kBlock> rest_{};  // the last bytes, which do not fill a block yet
    std::uint64_t size_ = 0;
};

}  // namespace tovra
