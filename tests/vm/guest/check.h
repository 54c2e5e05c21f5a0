// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace vm {

using Clock = std::chrono::steady_clock;

/// Why a case failed.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

inline void require(bool condition, const std::string& what) {
  if (!condition) throw Failure(what);
}

/// Compares two numbers.
inline void require_equal(long long is, long long wanted, const std::string& what) {
  require(is == wanted, what + " is " + std::to_string(is) + ", not " + std::to_string(wanted));
}

inline void require_between(double is, double least, double most, const std::string& what) {
  require(least <= is && is <= most, what + " is " + std::to_string(is) + ", not " + std::to_string(least) +
                                         " to " + std::to_string(most));
}

inline double milliseconds_since(Clock::time_point begin) {
  return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

/// Waits until it holds; false when it does not in good time.
bool eventually(const std::function<bool()>& holds, std::chrono::seconds longest = std::chrono::seconds(10));

/// Something measured, for the report.
void measured(std::string_view what, double value, std::string_view unit);

/// One thing that is to work.
struct Case {
  const char* name;
  void (*run)();
};

// One list a subject, to be run in this order.
extern const std::vector<Case> one_camera;
extern const std::vector<Case> cables;
extern const std::vector<Case> refusals;
extern const std::vector<Case> several_cameras;
extern const std::vector<Case> tool;
extern const std::vector<Case> aftermath;

}  // namespace vm
