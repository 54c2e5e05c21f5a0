// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "scenes.h"

namespace kxcam::bench {

/// Something to be timed on one of several sets of buffers, which are used in turn.
struct Contender {
  std::string task;   ///< what is made
  std::string maker;  ///< by what: "opencv", "memcpy" or a level
  Scene scene;        ///< what the raw frame shows
  std::function<void(size_t set)> run;
  std::function<void(size_t set)> arrange =
      nullptr;  ///< not timed: brings the raw frame to where it is read from
};

struct Timing {
  double least;  ///< seconds of processor time
  double median;
  double spread;  ///< distance of the quartiles, as a part of the median
};

/// Runs all contenders in turn, `rounds` times, so that other work on the machine disturbs each alike.
/// `prepare` brings the caches into the state that the measurement is about.
std::vector<Timing> measure(const std::vector<Contender>& contenders, int rounds, size_t sets,
                            const std::function<void(const Contender&, size_t set)>& prepare);

}  // namespace kxcam::bench
