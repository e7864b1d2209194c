#include <sys/epoll.h>
#include <sys/timerfd.h>

#include <cerrno>
#include <system_error>

#include "http/event_queue.h"

namespace tovra {
namespace {

bool ask(const Descriptor& queue, const Descriptor& descriptor, std::uint32_t what,
         std::uint64_t tag) {
    epoll_event event{};
    event.events = what | EPOLLONESHOT;
    event.data.u64 = tag;
    if (::epoll_ctl(queue.get(), EPOLL_CTL_ADD, descriptor.get(), &event) == 0) return true;
    return errno == EEXIST &&
           ::epoll_ctl(queue.get(), EPOLL_CTL_MOD, descriptor.get(), &event) == 0;
}

}  // namespace

EventQueue::EventQueue()
    : queue_(::epoll_create1(EPOLL_CLOEXEC)),
      clock_(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    // Asked once here, so that there is room for it later.
    if (!queue_.isOpen() || !clock_.isOpen() || !ask(queue_, clock_, EPOLLIN, 0)) {
        throw std::system_error(errno, std::generic_category(), "event queue");
    }
}

bool EventQueue::tellWhen(const Descriptor& descriptor, Direction direction, std::uint64_t tag) {
    return ask(queue_, descriptor, direction == Direction::in ? EPOLLIN : EPOLLOUT, tag);
}

void EventQueue::tellAfter(std::chrono::milliseconds time, std::uint64_t tag) {
    itimerspec once{};
    once.it_value.tv_sec = static_cast<time_t>(time.count() / 1000);
    once.it_value.tv_nsec = static_cast<long>(time.count() % 1000 * 1'000'000);
    ::timerfd_settime(clock_.get(), 0, &once, nullptr);
    ask(queue_, clock_, EPOLLIN, tag);
}

std::uint64_t EventQueue::next() {
    epoll_event event{};
    while (::epoll_wait(queue_.get(), &event, 1, -1) != 1) continue;
    return event.data.u64;
}

}  // namespace tovra
