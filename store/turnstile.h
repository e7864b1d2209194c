// Lets threads in one at a time, in the order in which they came.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace tovra {

// Used by any number of threads.
class Turnstile {
  public:
    // Waits for everyone who came before. False once it is closed; then leave() is not called.
    [[nodiscard]] bool enter();
    // REQUIRES: enter() returned true, and leave() was not called since.
    void leave();
    // Lets nobody in any more, and returns when nobody is inside.
    void close();
    [[nodiscard]] bool isClosed();

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::uint64_t next_ = 0;     // the number that the next one draws
    std::uint64_t serving_ = 0;  // the number of the one who is inside, or may come in
    bool isInside_ = false;
    bool isClosed_ = false;
};

// Somebody's stay inside, which ends with this.
class Turn {
  public:
    explicit Turn(Turnstile& turnstile) : turnstile_(turnstile), isInside_(turnstile.enter()) {}
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() {
        if (isInside_) turnstile_.leave();
    }

    // False where the turnstile was closed.
    [[nodiscard]] bool isInside() const { return isInside_; }

  private:
    Turnstile& turnstile_;
    bool isInside_;
};

}  // namespace tovra
