#include "files/byte_hash.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace tovra {
namespace {

// For each lane this is a permutation of words, and for each word one of lanes. So a single word
// that differs always leads to another hash. The factor is odd, with its bits spread evenly.
std::uint64_t stirred(std::uint64_t lane, std::uint64_t word) {
    constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15;
    return std::rotl(lane ^ word, 29) * kFactor;
}

}  // namespace

void ByteHash::stir(Lanes& lanes, const char* block) {
    Lanes words;
    std::memcpy(words.data(), block, kBlock);
    for (std::size_t i = 0; i < lanes.size(); ++i) lanes[i] = stirred(lanes[i], words[i]);
}

// Several lanes, since the processor works on them side by side.
void ByteHash::add(std::string_view bytes) {
    const std::size_t carried = size_ % kBlock;
    size_ += bytes.size();
    if (carried > 0) {
        const std::size_t count = bytes.copy(rest_.data() + carried, kBlock - carried);
        bytes.remove_prefix(count);
        if (carried + count < kBlock) return;
        stir(lanes_, rest_.data());
    }
    Lanes lanes = lanes_;  // in registers
    for (; bytes.size() >= kBlock; bytes.remove_prefix(kBlock)) stir(lanes, bytes.data());
    lanes_ = lanes;
    bytes.copy(rest_.data(), kBlock);
}

std::uint64_t ByteHash::value() const {
    Lanes lanes = lanes_;
    std::array<char, kBlock> last{};
    std::copy_n(rest_.begin(), size_ % kBlock, last.begin());
    stir(lanes, last.data());
    std::uint64_t value = size_;
    for (const std::uint64_t lane : lanes) value = stirred(value, lane);
    return value ^ value >> 32;
}

}  // namespace tovra
