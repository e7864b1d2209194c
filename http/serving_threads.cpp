#include "http/serving_threads.h"

#include <exception>
#include <thread>

namespace tovra {
namespace {

// So many stay when there is less to do, since a start costs more than a short request.
constexpr std::size_t kMostIdle = 2;

}  // namespace

bool ServingThreads::start() {
    {
        const std::lock_guard lock(mutex_);
        ++serving_;
        ++threads_;
    }
    try {
        std::thread([this] { serve(); }).detach();
        return true;
    } catch (const std::exception&) {
        const std::lock_guard lock(mutex_);
        --serving_;
        --threads_;
        return false;
    }
}

void ServingThreads::join() {
    std::unique_lock lock(mutex_);
    ended_.wait(lock, [&] { return threads_ == 0; });
}

void ServingThreads::serve() {
    for (bool goesOn = true; goesOn;) {
        const bool mayGoOn = serveOnce_();
        const std::lock_guard lock(mutex_);
        goesOn = mayGoOn && serving_ <= kMostIdle;
        if (goesOn) continue;
        --serving_;
        --threads_;
        ended_.notify_all();
    }
}

ServingThreads::LongWork::LongWork(ServingThreads& threads) : threads_(threads) {
    bool isLast = false;
    {
        const std::lock_guard lock(threads_.mutex_);
        isLast = --threads_.serving_ == 0;
    }
    if (isLast) threads_.start();
}

ServingThreads::LongWork::~LongWork() {
    const std::lock_guard lock(threads_.mutex_);
    ++threads_.serving_;
}

}  // namespace tovra
