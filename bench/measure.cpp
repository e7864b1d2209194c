#include "bench/measure.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace tovra::bench {
namespace {

template <typename Value>
Value atPercent(std::vector<Value> values, double percent) {
    assert(!values.empty());
    const auto last = static_cast<double>(values.size() - 1);
    const auto place = values.begin() + std::lround(last * percent / 100);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

}  // namespace

Seconds median(std::vector<Seconds> values) { return percentile(std::move(values), 50); }

Seconds percentile(std::vector<Seconds> values, double percent) {
    return atPercent(std::move(values), percent);
}

Comparison compareTimes(const std::vector<Seconds>& firsts, const std::vector<Seconds>& seconds) {
    assert(firsts.size() == seconds.size());
    std::vector<double> ratios;
    for (std::size_t i = 0; i < firsts.size(); ++i) ratios.push_back(firsts[i] / seconds[i]);
    return {median(firsts), median(seconds), atPercent(std::move(ratios), 50)};
}

}  // namespace tovra::bench
