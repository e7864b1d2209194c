// Threads that serve: each waits for an event and works on it, over and over.
//
// A thread announces work that may take long. Where no other thread would serve meanwhile, one more
// is started, so that nobody waits for that work. May be called from several threads.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>

namespace tovra {

class ServingThreads {
  public:
    // `serveOnce` waits for one event and works on it; false ends the thread that called it.
    explicit ServingThreads(std::function<bool()> serveOnce) : serveOnce_(std::move(serveOnce)) {}
    ServingThreads(const ServingThreads&) = delete;
    ServingThreads& operator=(const ServingThreads&) = delete;

    // Starts one more. False where the system has no thread, or no memory for it, to give.
    bool start();
    // Waits until all have ended. REQUIRES: nobody calls start() from now on.
    void join();

    // While one exists, the thread that made it does not count among those that serve. Where the
    // system has no other thread to give, events wait for the end of the work.
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
    std::size_t serving_ = 0;  // without those at long work
    std::size_t threads_ = 0;
};

}  // namespace tovra
