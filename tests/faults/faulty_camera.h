// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "camera_bus.h"

namespace kxcam::faults {

inline constexpr int kCamera = 0;

/// The only camera of this process, at index 0, made to fail and to be whole again. Its frames hold bytes
/// that no mixture of frames imitates. At the end nothing of it may be left open.
class FaultyCamera : private test::TestBus {
 public:
  /// A description as for parse_camera_options(). The camera is open and whole then.
  explicit FaultyCamera(const std::string& description);
  ~FaultyCamera();

  kxsim::SimulatedCamera& device() { return *device_; }
  void pull();
  /// A new device on the bus from then on, as after a loose cable.
  void pull_and_plug();
  /// Unless a fault has pulled it, nothing.
  void plug_in_if_pulled();

  /// Takes the next raw frame: true when it is one that the camera sent, from the first byte to the last.
  static bool delivers();
  /// The same with patience: a machine that runs dozens of cameras may not let one of its threads run for a
  /// second, and then there is no frame in time.
  static bool delivers_in_the_end();
  /// Makes the next picture of a frame.
  static bool makes_picture();

  /// From whatever a fault has made of it to open and whole, with what it left factory with in its memory.
  /// Expects nothing to be left open in between, and a good frame at the end.
  void restore();

  /// The bytes of its EEPROM now, and as it left factory.
  std::vector<uint8_t> stored() const;
  const std::vector<uint8_t>& factory_settings() const { return factory_settings_; }

 private:
  void close();
  void program_factory_settings();

  std::shared_ptr<kxsim::SimulatedCamera> device_;
  std::vector<uint8_t> factory_settings_;
  size_t threads_when_closed_ = 0;  ///< libusb's and the simulated camera's; 0 until they are known
};

}  // namespace kxcam::faults
