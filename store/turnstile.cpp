#include "store/turnstile.h"

#include <cassert>

namespace tovra {

bool Turnstile::enter() {
    std::unique_lock guard(mutex_);
    const std::uint64_t mine = next_++;
    changed_.wait(guard, [&] { return isClosed_ || serving_ == mine; });
    if (isClosed_) return false;
    isInside_ = true;
    return true;
}

void Turnstile::leave() {
    const std::scoped_lock guard(mutex_);
    assert(isInside_);
    isInside_ = false;
    ++serving_;
    changed_.notify_all();
}

void Turnstile::close() {
    std::unique_lock guard(mutex_);
    isClosed_ = true;
    changed_.notify_all();
    changed_.wait(guard, [&] { return !isInside_; });
}

bool Turnstile::isClosed() {
    const std::scoped_lock guard(mutex_);
    return isClosed_;
}

}  // namespace tovra
