#include <sys/event.h>

#include <cerrno>
#include <system_error>

#include "http/event_queue.h"

namespace tovra {
namespace {

bool ask(const Descriptor& queue, std::uintptr_t what, std::int16_t filter, std::intptr_t data,
         std::uint64_t tag) {
    struct kevent wish {};
    EV_SET(&wish, what, filter, EV_ADD | EV_ONESHOT, 0, data, reinterpret_cast<void*>(tag));
    return ::kevent(queue.get(), &wish, 1, nullptr, 0, nullptr) == 0;
}

}  // namespace

EventQueue::EventQueue() : queue_(::kqueue()) {
    if (!queue_.isOpen()) throw std::system_error(errno, std::generic_category(), "event queue");
}

bool EventQueue::tellWhen(const Descriptor& descriptor, Direction direction, std::uint64_t tag) {
    return ask(queue_, static_cast<std::uintptr_t>(descriptor.get()),
               direction == Direction::in ? EVFILT_READ : EVFILT_WRITE, 0, tag);
}

void EventQueue::tellAfter(std::chrono::milliseconds time, std::uint64_t tag) {
    ask(queue_, 0, EVFILT_TIMER, static_cast<std::intptr_t>(time.count()), tag);
}

std::uint64_t EventQueue::next() {
    struct kevent event {};
    while (::kevent(queue_.get(), nullptr, 0, &event, 1, nullptr) != 1) continue;
    return reinterpret_cast<std::uint64_t>(event.udata);
}

}  // namespace tovra
