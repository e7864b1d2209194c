// An array that grows, in a block of the memory of documents. Only for json/.
#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <utility>

#include "json/memory.h"

namespace tovra::json {

// Reserved but unwritten pages cost nothing. Not for several threads.
template <typename T>
class GrowableArray {
  public:
    GrowableArray() = default;
    // The other one is then empty and without room.
    GrowableArray(GrowableArray&& other) noexcept
        : items_(std::move(other.items_)),
          end_(std::exchange(other.end_, nullptr)),
          limit_(std::exchange(other.limit_, nullptr)),
          highest_(std::exchange(other.highest_, 0)) {}
    GrowableArray& operator=(GrowableArray&& other) noexcept {
        items_ = std::move(other.items_);
        end_ = std::exchange(other.end_, nullptr);
        limit_ = std::exchange(other.limit_, nullptr);
        highest_ = std::exchange(other.highest_, 0);
        return *this;
    }
    ~GrowableArray() = default;

    [[nodiscard]] std::size_t size() const { return static_cast<std::size_t>(end_ - begin()); }
    // How many items have room behind the end.
    [[nodiscard]] std::size_t room() const { return static_cast<std::size_t>(limit_ - end_); }
    [[nodiscard]] std::size_t capacity() const { return size() + room(); }
    // How many bytes of memory it takes: pages that were never written take none.
    [[nodiscard]] std::size_t resident() const {
        const std::size_t written = std::max(highest_, size()) * sizeof(T);
        if (capacity() * sizeof(T) < kLargeBlock) return written;
        return (written + kLargePage - 1) / kLargePage * kLargePage;
    }
    [[nodiscard]] T* begin() const { return items_.get(); }
    [[nodiscard]] T* end() const { return end_; }

    // Makes room behind the end. Throws std::length_error where positions would not fit into 32
    // bits, and std::bad_alloc.
    void reserve(std::size_t count) {
        if (room() < count) grow(count);
    }
    // Takes what has been written behind the end. REQUIRES: count <= room().
    void extend(std::size_t count) {
        assert(count <= room());
        end_ += count;
    }
    // REQUIRES: size <= this->size().
    void shrink(std::size_t size) {
        assert(size <= this->size());
        highest_ = std::max(highest_, this->size());
        end_ = begin() + size;
    }

    void push(const T& item) {
        if (end_ == limit_) grow(1);
        *end_++ = item;
    }
    void append(const T* items, std::size_t count) {
        reserve(count);
        end_ = std::copy_n(items, count, end_);
    }

  private:
    [[gnu::noinline]] void grow(std::size_t count) {
        constexpr std::size_t kMost = std::numeric_limits<std::uint32_t>::max();
        if (kMost - size() < count) throw std::length_error("too much for one document");
        const std::size_t room = std::min(2 * size() + count, kMost);
        Block<T> larger = makeBlock<T>(room);
        end_ = std::copy(begin(), end(), larger.get());
        items_ = std::move(larger);
        limit_ = begin() + room;
        highest_ = 0;
    }

    Block<T> items_;
    T* end_ = nullptr;
    T* limit_ = nullptr;
    std::size_t highest_ = 0;  // the size before the last shrink(), or one before
};

}  // namespace tovra::json
