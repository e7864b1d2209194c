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

// Room that is never used costs no memory beyond the last page in use. Not for several threads.
template <typename T>
class GrowableArray {
  public:
    GrowableArray(std::size_t room, Reuse reuse)
        : items_(makeBlock<T>(room, reuse)), end_(items_.get()), limit_(end_ + room) {}

    GrowableArray(const GrowableArray&) = delete;
    GrowableArray& operator=(const GrowableArray&) = delete;
    ~GrowableArray() {
        if (items_) noteTouched();
    }

    [[nodiscard]] std::size_t size() const { return static_cast<std::size_t>(end_ - begin()); }
    // How many items have room behind the end.
    [[nodiscard]] std::size_t room() const { return static_cast<std::size_t>(limit_ - end_); }
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
        noteTouched();
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

    // Gives the block away; the array is then empty and without room.
    Block<T> release() {
        noteTouched();
        end_ = limit_ = nullptr;
        return std::move(items_);
    }

  private:
    void noteTouched() { items_.get_deleter().touch(size() * sizeof(T)); }

    [[gnu::noinline]] void grow(std::size_t count) {
        constexpr std::size_t kMost = std::numeric_limits<std::uint32_t>::max();
        if (kMost - size() < count) throw std::length_error("too much for one document");
        const std::size_t room = std::min(2 * size() + count, kMost);
        Block<T> larger = makeBlock<T>(room, items_.get_deleter().reuse);
        end_ = std::copy(begin(), end(), larger.get());
        items_.get_deleter().touched = 0;  // not pooled: the next document would outgrow it as well
        items_ = std::move(larger);
        limit_ = begin() + room;
    }

    Block<T> items_;
    T* end_;
    T* limit_;
};

}  // namespace tovra::json
