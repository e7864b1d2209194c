// Time: what something takes, beside something else that is measured in the same moments.
#pragma once

#include <chrono>
#include <cstddef>
#include <vector>

namespace tovra::bench {

using Seconds = std::chrono::duration<double>;
using Clock = std::chrono::steady_clock;

template <typename Work>
Seconds timed(Work&& work) {
    const auto begin = Clock::now();
    work();
    return Clock::now() - begin;
}

// REQUIRES: at least one value.
[[nodiscard]] Seconds median(std::vector<Seconds> values);
// The value that `percent` of all values do not exceed. REQUIRES: at least one value.
[[nodiscard]] Seconds percentile(std::vector<Seconds> values, double percent);

// What two works took, each in its median, and the median of what the first took beside the second
// in the same round.
struct Comparison {
    Seconds first;
    Seconds second;
    double ratio;
};

// REQUIRES: as many values in both, at least one; those of one round in the same place.
[[nodiscard]] Comparison compareTimes(const std::vector<Seconds>& firsts,
                                      const std::vector<Seconds>& seconds);

// For how long, and how often, two works are run in turn.
struct Rounds {
    Seconds time{2};
    std::size_t fewest = 7;
    std::size_t most = 200;
};

// Runs the two works in turn, after one round that does not count: whatever else the machine does
// meanwhile slows both. `prepare` comes before each first work and is not timed.
template <typename First, typename Second, typename Prepare = void (*)()>
Comparison compare(
    First&& first, Second&& second, const Rounds& rounds = {}, Prepare&& prepare = [] {}) {
    prepare();
    first();
    second();
    std::vector<Seconds> firsts;
    std::vector<Seconds> seconds;
    const auto end = Clock::now() + rounds.time;
    while (firsts.size() < rounds.fewest || (firsts.size() < rounds.most && Clock::now() < end)) {
        prepare();
        firsts.push_back(timed(first));
        seconds.push_back(timed(second));
    }
    return compareTimes(firsts, seconds);
}

}  // namespace tovra::bench
