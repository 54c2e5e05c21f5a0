// SPDX-License-Identifier: Apache-2.0
#include "measurement.h"

#include <algorithm>
#include <ctime>

namespace kxcam::bench {
namespace {

double processor_seconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

Timing timing_of(std::vector<double> seconds) {
  std::ranges::sort(seconds);
  const auto quantile = [&](size_t quarter) { return seconds[quarter * (seconds.size() - 1) / 4]; };
  return {seconds.front(), quantile(2), (quantile(3) - quantile(1)) / quantile(2)};
}

}  // namespace

std::vector<Timing> measure(const std::vector<Contender>& contenders, int rounds, size_t sets,
                            const std::function<void(const Contender&, size_t set)>& prepare) {
  std::vector<std::vector<double>> seconds(contenders.size());
  for (int round = 0; round < rounds; ++round) {
    const size_t set = static_cast<size_t>(round) % sets;
    for (size_t i = 0; i < contenders.size(); ++i) {
      prepare(contenders[i], set);
      const double start = processor_seconds();
      contenders[i].run(set);
      seconds[i].push_back(processor_seconds() - start);
    }
  }
  std::vector<Timing> timings;
  std::ranges::transform(seconds, std::back_inserter(timings), timing_of);
  return timings;
}

}  // namespace kxcam::bench
