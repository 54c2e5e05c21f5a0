// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <random>
#include <span>
#include <thread>

#include "device/simulated_camera.h"

namespace kxcam::test {

/// Lets things go wrong with one camera, again and again, until it is destroyed; then the camera is on the
/// bus and nothing is wrong with it any more.
class Mischief {
 public:
  /// The cable is put back into one of eight ports from `first_port` on.
  Mischief(std::shared_ptr<kxsim::SimulatedCamera> camera, int first_port, uint64_t seed);
  ~Mischief();
  Mischief(const Mischief&) = delete;
  Mischief& operator=(const Mischief&) = delete;

  /// Does nothing for as long as this is on, and leaves the camera on the bus with nothing wrong. Of one
  /// thread.
  void rest(bool on);

 private:
  void act();
  void spoil_frames();
  void withhold_end();
  void spoil_requests();
  void break_transfers();
  void pull_cable();
  void loose_contact();
  int between(int low, int high) { return std::uniform_int_distribution(low, high)(random_); }
  template <class T, size_t N>
  T pick(const T (&choices)[N]) {
    return choices[between(0, static_cast<int>(N) - 1)];
  }
  kxsim::Ordinals next_few();

  const std::shared_ptr<kxsim::SimulatedCamera> camera_;
  const int first_port_;
  std::mt19937_64 random_;
  std::mutex acting_;  ///< held during each act, and while at rest
  std::atomic<bool> ending_ = false;
  std::thread thread_;
};

}  // namespace kxcam::test
