// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "device/simulated_camera.h"
#include "frame_books.h"

namespace kxcam::soak {

/// A simulated camera that numbers its frames through all its lives, and what is known of their deliveries.
class SoakCamera {
 public:
  /// `description` as for `kxsim run --camera`.
  SoakCamera(uint32_t number, const std::string& description);

  uint32_t number() const { return number_; }
  const kxsim::Model& model() const { return device_->model(); }
  const std::shared_ptr<kxsim::SimulatedCamera>& device() const { return device_; }

  /// A query of this camera has succeeded.
  void count_delivery() { ++deliveries_; }
  uint64_t deliveries() const { return deliveries_; }
  uint64_t frames_numbered() const { return frames_numbered_; }
  /// False when a frame with that number has been delivered before.
  bool deliver_once(uint64_t number);

  /// Of the rings that are gone.
  HostBook closed_book;

 private:
  /// More than can be on their way at the same time.
  static constexpr size_t kRemembered = 4096;

  const uint32_t number_;
  std::atomic<uint64_t> frames_numbered_ = 0;
  std::atomic<uint64_t> deliveries_ = 0;
  std::array<std::atomic<uint64_t>, kRemembered> delivered_{};  // by number, modulo
  std::shared_ptr<kxsim::SimulatedCamera> device_;
};

}  // namespace kxcam::soak
