// Threads that serve: each waits for an event and works on it, over and over.
//
// Work that may take long is announced, and where nobody would serve meanwhile one more thread is
// started: no such work keeps another one waiting. May be called from several threads.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>

namespace tovra {

class ServingThreads {
  public:
    // `serveOnce` waits for one event and works on it; false when the thread is to end.
    explicit ServingThreads(std::function<bool()> serveOnce) : serveOnce_(std::move(serveOnce)) {}
    ServingThreads(const ServingThreads&) = delete;
    ServingThreads& operator=(const ServingThreads&) = delete;

    // Starts one more. False where the system has no thread, or no memory for it, to give.
    bool start();
    // Waits for the end of all. REQUIRES: no thread will be started by anybody else.
    void join();

    // While one exists, the thread that made it does not count among those that serve. Where the
    // system has no other thread to give, the others wait.
    class LongWork {
      public:
        explicit LongWork(ServingThreads& threads);
        LongWork(const LongWork&) = delete;
        LongWork& operator=(const LongWork&) = delete;
        ~LongWork();

      private:
        ServingThreads& threads_;
    };

  private:
    void serve();

    const std::function<bool()> serveOnce_;
    std::mutex mutex_;
    std::condition_variable ended_;
    std::size_t serving_ = 0;  // but for those at long work
    std::size_t threads_ = 0;
};

}  // namespace tovra
