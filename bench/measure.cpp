#include "bench/measure.h"

#include <algorithm>
#include <cmath>

namespace tovra::bench {

Seconds median(std::vector<Seconds> values) { return percentile(std::move(values), 50); }

Seconds percentile(std::vector<Seconds> values, double percent) {
    const double last = static_cast<double>(values.size() - 1);
    const auto place = values.begin() + std::lround(last * percent / 100);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

}  // namespace tovra::bench
