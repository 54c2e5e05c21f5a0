// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "device/camera_options.h"
#include "device/eeprom.h"
#include "device/readout_geometry.h"
#include "device/sensors/sensor_model.h"
#include "device/spi_flash.h"
#include "device/transfer.h"

namespace kxsim {

/// What the strobe line does with each frame.
struct Strobe {
  bool active_high = false;
  std::chrono::microseconds delay{0};  ///< after the exposure has begun
  std::chrono::microseconds duration{0};

  bool operator==(const Strobe&) const = default;
};

/// The bridge's firmware: executes vendor requests on its own state, the sensor's registers, the image
/// processor, the EEPROM and the flash. Knows no time and no frames. Not thread-safe.
class Bridge {
 public:
  /// What a request means for the image stream.
  enum class Effect { kNone, kStreamChanged, kGeometryChanged, kTriggerPulse };

  struct Answer {
    bool stalled = false;
    bool unknown = false;             ///< there is no such request or register
    std::vector<uint8_t> reply = {};  ///< of an IN request; the host may have asked for less
    Effect effect = Effect::kNone;
  };

  explicit Bridge(const CameraOptions& options);

  Answer execute(const ControlSetup& setup, std::span<const uint8_t> out_data);

  /// A bus reset or a fresh supply: everything but the EEPROM and the flash is as after power-up.
  void restart();

  bool streaming() const { return streaming_; }
  bool waits_for_trigger() const;
  /// Frames per trigger pulse, at least 1.
  uint16_t snap_count() const;
  const ReadoutGeometry& geometry() const { return geometry_; }
  Readout readout() const;

  /// Nothing for a sensor whose exposure is fixed.
  std::optional<ShutterState> shutter() const;
  /// From one frame to the next; 0 when the host decides.
  std::chrono::nanoseconds frame_period() const;
  /// From the trigger's pulse to the exposure.
  std::chrono::microseconds trigger_delay() const;
  /// Shorter pulses on the external line are disturbances.
  std::chrono::microseconds debouncer_time() const;
  /// Nothing while it is off.
  std::optional<Strobe> strobe() const;
  /// Trigger pulses that make up a frame, one for each line that it counts.
  int pulses_per_frame() const;
  bool exposes_itself() const { return loop_exposure_ms_.has_value(); }
  /// The bridge's own exposure loop looks at a frame of that mean level, 0 to 1.
  void follow_level(double mean);
  /// As of a sensor and a bridge that have nothing in their registers.
  void erase_registers() { files_ = {}; }
  /// What the sensor itself has in a register.
  void preset_sensor(uint16_t address, uint16_t value) { files_.sensor[address] = value; }

  uint16_t sensor_register(uint16_t address) const;
  uint16_t isp_register(uint16_t address) const;
  std::optional<uint16_t> parameter(uint16_t index) const;
  std::optional<uint16_t> line_setting(uint16_t index) const;
  uint8_t readout_mode() const { return readout_mode_; }
  bool high_speed() const { return high_speed_; }
  uint8_t gpio() const { return gpio_; }
  void set_gpio_inputs(uint8_t levels) { gpio_ = levels; }
  bool firmware_erased() const { return firmware_erased_; }
  bool cpu_held() const { return cpu_held_; }
  /// RAM bytes loaded through request 0xA0, by address.
  const std::map<uint16_t, uint8_t>& fx2_ram() const { return fx2_ram_; }

  Eeprom& eeprom() { return eeprom_; }
  const Eeprom& eeprom() const { return eeprom_; }
  SpiFlash& flash() { return flash_; }
  const SpiFlash& flash() const { return flash_; }

 private:
  Answer read(const ControlSetup& setup);
  Answer write(const ControlSetup& setup, std::span<const uint8_t> data);

  Answer switch_stream(bool on);
  Answer drive_gpio(uint16_t pins, uint16_t levels);
  Answer register_reply(uint16_t value, bool known) const;
  Answer query_resolution(uint16_t what, uint16_t value);
  Answer select_resolution(const ControlSetup& setup);
  Answer confirm_region();
  Answer set_trigger_mode(uint16_t value);
  Answer set_line(uint16_t index, uint16_t value);
  Answer read_eeprom(uint16_t address) const;

  Answer write_fx2(uint16_t address, std::span<const uint8_t> data);
  Answer pulse_trigger();
  PixelClock pixel_clock() const;
  Answer write_sensor(uint16_t address, uint16_t value);
  Answer write_isp(uint16_t address, uint16_t value);
  Answer request_region(const ControlSetup& setup, std::span<const uint8_t> data);
  Answer write_flash(const ControlSetup& setup, std::span<const uint8_t> data);
  Answer prepare_flash(const ControlSetup& setup);

  bool has_isp() const;
  bool has_trigger_unit() const;
  bool has_exposure_loop() const;
  bool scans_lines() const;
  bool knows_sensor_register(uint16_t address) const;
  uint32_t factory_exposure() const;
  bool after_trigger_switch(bool was_triggered);

  CameraOptions options_;
  const SensorModel* sensor_model_;  ///< null: none that is known
  Eeprom eeprom_;
  SpiFlash flash_;
  bool firmware_erased_ = false;
  std::map<uint16_t, uint8_t> fx2_ram_;
  bool cpu_held_ = false;

  ReadoutGeometry geometry_;
  std::optional<Readout> requested_region_;
  RegisterFiles files_;
  Registers line_settings_;
  uint8_t gpio_ = 0;
  uint8_t readout_mode_ = 0;
  bool high_speed_ = false;
  bool streaming_ = false;
  bool bridge_triggered_ = false;
  std::optional<double> loop_exposure_ms_;  ///< while the bridge's exposure loop runs
  bool restart_pending_ = false;            ///< the sensor takes the next trigger pulse for itself
};

}  // namespace kxsim
