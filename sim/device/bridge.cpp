// SPDX-License-Identifier: Apache-2.0
#include "device/bridge.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "device/factory_program.h"
#include "device/sensor_trigger.h"
#include "device/vendor_request.h"

namespace kxsim {
namespace {

using Answer = Bridge::Answer;

constexpr uint16_t kCpuControl = 0xE600;
constexpr uint8_t kTriggerLine = 0x08;

// Registers of the image processor.
constexpr uint16_t kIspVersion = 0x00;
constexpr uint16_t kIspRestart = 0x01;
constexpr uint16_t kIspTriggerPolarity = 0x03;
constexpr uint16_t kIspStrobe = 0x04;
constexpr uint16_t kIspFrameCount = 0x05;
constexpr uint16_t kIspDebouncer = 0x06;
constexpr uint16_t kIspFixedRate = 0x08;
constexpr uint16_t kIspTenthsPerSecond = 0x09;
constexpr uint16_t kIspTriggerDelay = 0x0C;
constexpr uint16_t kIspStrobeDelay = 0x0D;
constexpr uint16_t kIspStrobeDuration = 0x0E;
constexpr uint16_t kIspLoop = 0x19;
constexpr uint16_t kIspLoopTarget = 0x1A;
constexpr uint16_t kIspGlobalReset = 0x1C;
/// With the shutter at 0x0A and 0x0B, and the length of a frame at 0x14, 0x15 and 0x1E.
constexpr std::array<uint16_t, 19> kIspRegisters = {
    kIspVersion,      kIspRestart,     kIspTriggerPolarity, kIspStrobe, kIspFrameCount,
    kIspDebouncer,    kIspFixedRate,   kIspTenthsPerSecond, 0x0A,       0x0B,
    kIspTriggerDelay, kIspStrobeDelay, kIspStrobeDuration,  0x14,       0x15,
    kIspLoop,         kIspLoopTarget,  kIspGlobalReset,     0x1E};
/// The first version with an exposure loop.
constexpr uint16_t kVersionWithLoop = 0x0104;
constexpr uint16_t kFeatureTriggerUnit = 0x01;
constexpr uint16_t kFeatureExposureLoop = 0x02;
constexpr uint8_t kLineScanMode = 3;
constexpr uint16_t kDigitalGain = 2;  // the one parameter of the firmware
constexpr uint16_t kLineHeight = 1;
constexpr uint16_t kLineTrigger = 3;
constexpr uint16_t kLineSnapCount = 4;
constexpr size_t kLongestFlashTransfer = 4096;

Answer stall() {
  return {.stalled = true};
}
Answer unknown_request() {
  return {.stalled = true, .unknown = true};
}
Answer acknowledge(Bridge::Effect effect = Bridge::Effect::kNone) {
  return {.reply = {1}, .effect = effect};
}

std::vector<uint8_t> little_endian(std::initializer_list<int> words) {
  std::vector<uint8_t> bytes;
  for (const int word : words) {
    bytes.insert(bytes.end(), {static_cast<uint8_t>(word), static_cast<uint8_t>(word >> 8)});
  }
  return bytes;
}

std::vector<uint8_t> big_endian(uint32_t word) {
  return {static_cast<uint8_t>(word >> 24), static_cast<uint8_t>(word >> 16), static_cast<uint8_t>(word >> 8),
          static_cast<uint8_t>(word)};
}

bool knows_isp_register(uint16_t address) {
  return std::ranges::find(kIspRegisters, address) != kIspRegisters.end();
}

std::optional<uint16_t> find(const std::map<uint16_t, uint16_t>& registers, uint16_t address) {
  const auto found = registers.find(address);
  return found == registers.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace

Bridge::Bridge(const CameraOptions& options)
    : options_(options),
      sensor_model_(find_sensor_model(options.model->sensor_id)),
      eeprom_(options.serial),
      geometry_(options) {
  restart();
  if (!options.blank) program_factory_settings(*options.model, factory_exposure(), eeprom_, flash_);
  if (!options.name.empty()) eeprom_.set_user_name(options.name);
  if (!options.eeprom_file.empty()) eeprom_.back_with(options.eeprom_file);
  eeprom_.write_protect(options.write_protect);
}

/// Shows white paper at 85 % of full scale in the light that suits the sensor.
uint32_t Bridge::factory_exposure() const {
  constexpr uint32_t kWithoutARegister = 5;
  const auto state = shutter();
  if (!state || state->line_ms <= 0) return kWithoutARegister;
  const double exposure_ms = Lighting::kNominalMs / (sensor_model_->light * sensor_model_->factory_gain);
  return static_cast<uint32_t>(std::lround(exposure_ms / state->line_ms));
}

void Bridge::restart() {
  geometry_ = ReadoutGeometry(options_);
  requested_region_.reset();
  files_ = sensor_model_ != nullptr ? sensor_model_->power_up : RegisterFiles{};
  if (const auto trigger = sensor_trigger(options_.model->sensor_id)) {
    files_.sensor[trigger->address] = trigger->power_up;
  }
  if (has_exposure_loop()) files_.bridge[kIspVersion] = kVersionWithLoop;
  loop_exposure_ms_.reset();
  line_settings_.clear();
  gpio_ = 0;
  readout_mode_ = 0;
  high_speed_ = false;
  bridge_triggered_ = false;
  restart_pending_ = false;
  cpu_held_ = false;
  streaming_ = !options_.model->newer_bridge();  // the older firmware streams from power-up on
}

Answer Bridge::execute(const ControlSetup& setup, std::span<const uint8_t> out_data) {
  // While its CPU is held only the hardware of the bridge answers, and that knows one request.
  if (cpu_held_ && setup.request != kFx2Memory) return stall();
  return setup.device_to_host() ? read(setup) : write(setup, out_data);
}

Answer Bridge::read(const ControlSetup& setup) {
  switch (setup.request) {
    case kStartStream:
      return switch_stream(true);
    case kStopStream:
      return switch_stream(false);
    case kSetGpio:
      return drive_gpio(setup.index, setup.value);
    case kGetGpio:
      return {.reply = {gpio_}};
    case kSensorRead:
      return register_reply(sensor_register(setup.index), knows_sensor_register(setup.index));
    case kFeatures:
      return options_.firmware > 0x8000 ? Answer{.reply = little_endian({options_.features})} : stall();
    case kTrueProductId:
      return {.reply = little_endian({static_cast<int>(options_.model->product_id)})};
    case kResolutionQuery:
      return query_resolution(setup.index, setup.value);
    case kResolutionSelect:
      return select_resolution(setup);
    case kRegionOfInterest:
      return confirm_region();
    case kEepromRead:
      return read_eeprom(setup.index);
    case kHighSpeed:
      high_speed_ = setup.value != 0;
      return acknowledge();
    case kFirmwareVersion:
      return {.reply = big_endian(options_.firmware)};
    case kTriggerMode:
      return set_trigger_mode(setup.value);
    case kLineSettings:
      return set_line(setup.index, setup.value);
    case kIspRead:
      return has_isp() ? register_reply(isp_register(setup.index), knows_isp_register(setup.index)) : stall();
    case kFlashRead:
      return {.reply = flash_.read(setup.index, std::min<size_t>(setup.length, kLongestFlashTransfer))};
    default:
      return unknown_request();
  }
}

Answer Bridge::write(const ControlSetup& setup, std::span<const uint8_t> data) {
  switch (setup.request) {
    case kFx2Memory:
      return write_fx2(setup.value, data);
    case kFirmwareCommand:
      return {};
    case kSensorWrite:
      return write_sensor(setup.index, setup.value);
    case kParameterWrite:
      files_.parameters[setup.index] = setup.value;
      return {.unknown = setup.index != kDigitalGain};
    case kRegionOfInterest:
      return request_region(setup, data);
    case kEepromWrite:
      return {.stalled = !eeprom_.write(setup.index, static_cast<uint8_t>(setup.value))};
    case kIspWrite:
      if (!has_isp()) return stall();
      return write_isp(setup.index, setup.value);
    case kFlashWrite:
      return write_flash(setup, data);
    case kFlashPrepare:
      return prepare_flash(setup);
    default:
      return unknown_request();
  }
}

Answer Bridge::switch_stream(bool on) {
  if (!options_.model->newer_bridge()) return stall();
  streaming_ = on;
  return acknowledge(Effect::kStreamChanged);
}

Answer Bridge::drive_gpio(uint16_t pins, uint16_t levels) {
  const auto mask = static_cast<uint8_t>(pins);
  const auto level = static_cast<uint8_t>(levels);
  // The trigger line gives a pulse and falls back by itself.
  const bool pulse = (mask & level & kTriggerLine) != 0;
  const auto latched = static_cast<uint8_t>(mask & ~kTriggerLine);
  gpio_ = static_cast<uint8_t>((gpio_ & ~latched) | (level & latched));
  return pulse ? pulse_trigger() : acknowledge();
}

Answer Bridge::pulse_trigger() {
  return std::exchange(restart_pending_, false) ? acknowledge() : acknowledge(Effect::kTriggerPulse);
}

Answer Bridge::register_reply(uint16_t value, bool known) const {
  if (options_.byte_replies) return {.unknown = !known, .reply = {static_cast<uint8_t>(value)}};
  return {.unknown = !known, .reply = {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)}};
}

Answer Bridge::query_resolution(uint16_t what, uint16_t value) {
  switch (what) {
    case 1:
      return {.reply = {ReadoutGeometry::kPresets}};
    case 2:
      return {.reply = little_endian({options_.model->width, options_.model->height})};
    case 3: {
      const auto preset = geometry_.preset(value);
      if (!preset) return stall();
      return {.reply = little_endian({preset->width, preset->height, geometry_.bytes_per_pixel()})};
    }
    case 4:
      readout_mode_ = static_cast<uint8_t>(value);
      return acknowledge();
    default:
      return stall();
  }
}

Answer Bridge::select_resolution(const ControlSetup& setup) {
  if (setup.index != 3 || !geometry_.select_preset(setup.value)) return stall();
  const auto& now = geometry_.current();
  return {.reply = little_endian({now.width, now.height, geometry_.bytes_per_pixel()}),
          .effect = Effect::kGeometryChanged};
}

Answer Bridge::request_region(const ControlSetup& setup, std::span<const uint8_t> data) {
  if (data.size() != 4) return stall();
  requested_region_ = Readout{
      .x = setup.value, .y = setup.index, .width = data[0] | data[1] << 8, .height = data[2] | data[3] << 8};
  return {};
}

Answer Bridge::confirm_region() {
  const auto region = std::exchange(requested_region_, std::nullopt);
  if (!region || !geometry_.select_window(region->x, region->y, region->width, region->height)) {
    return {.reply = {0}};
  }
  // Bytes per pixel: the firmware says one on every model here, even where a preset reports two.
  return {.reply = {1}, .effect = Effect::kGeometryChanged};
}

Answer Bridge::set_trigger_mode(uint16_t value) {
  const bool triggered = waits_for_trigger();
  bridge_triggered_ = value != 0;
  after_trigger_switch(triggered);
  return acknowledge(Effect::kStreamChanged);
}

Answer Bridge::set_line(uint16_t index, uint16_t value) {
  if (index != kLineHeight && index != kLineTrigger && index != kLineSnapCount) return stall();
  line_settings_[index] = value;
  return acknowledge();
}

Answer Bridge::read_eeprom(uint16_t address) const {
  const auto byte = eeprom_.read(address);
  return byte ? Answer{.reply = {*byte}} : stall();
}

Answer Bridge::write_fx2(uint16_t address, std::span<const uint8_t> data) {
  if (address == kCpuControl) {
    if (data.size() != 1) return stall();
    cpu_held_ = (data[0] & 1) != 0;
    return {};
  }
  for (const auto byte : data) fx2_ram_[address++] = byte;
  return {};
}

Answer Bridge::write_sensor(uint16_t address, uint16_t value) {
  const bool unknown = !knows_sensor_register(address);
  if (sensor_model_ != nullptr &&
      std::ranges::find(sensor_model_->apart, address) != sensor_model_->apart.end()) {
    files_.apart[address] = value;
    return {};
  }
  const bool triggered = waits_for_trigger();
  files_.sensor[address] = value;
  return {.unknown = unknown,
          .effect = after_trigger_switch(triggered) ? Effect::kStreamChanged : Effect::kNone};
}

bool Bridge::knows_sensor_register(uint16_t address) const {
  return sensor_model_ != nullptr &&
         std::ranges::find(sensor_model_->registers, address) != sensor_model_->registers.end();
}

Answer Bridge::write_isp(uint16_t address, uint16_t value) {
  files_.bridge[address] = value;
  if (address == kIspLoop) {
    loop_exposure_ms_.reset();
    const bool on = (value & 1) != 0 && has_exposure_loop();
    if (const auto now = shutter(); on && now) loop_exposure_ms_ = now->exposure_ms;
  }
  return {.unknown = !knows_isp_register(address)};
}

/// Whether the mode did change.
bool Bridge::after_trigger_switch(bool was_triggered) {
  const bool triggered = waits_for_trigger();
  if (triggered == was_triggered) return false;
  restart_pending_ = triggered && sensor_model_ != nullptr && sensor_model_->restarts_on_first_pulse;
  return true;
}

Answer Bridge::write_flash(const ControlSetup& setup, std::span<const uint8_t> data) {
  if (setup.index == 0 && setup.value == 1) {
    constexpr size_t kFirmwarePages = 0x400;
    firmware_erased_ = flash_.erase(0, kFirmwarePages);
    return {.stalled = !firmware_erased_};
  }
  if (setup.value != 0 || data.size() > kLongestFlashTransfer) return stall();
  return {.stalled = !flash_.write(setup.index, data)};
}

Answer Bridge::prepare_flash(const ControlSetup& setup) {
  // Erases the 64 KiB block that a table lives in: 4 = fixed pattern, 6 = lookup table.
  constexpr size_t kBlockPages = 0x100;
  if ((setup.index != 4 && setup.index != 6) || setup.value != 1) return stall();
  return {.stalled = !flash_.erase(setup.index * kBlockPages, kBlockPages)};
}

bool Bridge::has_isp() const {
  return options_.firmware >= 0x8300;
}

bool Bridge::has_trigger_unit() const {
  return has_isp() && (options_.features & kFeatureTriggerUnit) != 0;
}

bool Bridge::has_exposure_loop() const {
  const bool always = sensor_model_ != nullptr && sensor_model_->bridge_exposes;
  return has_isp() && (always || (options_.features & kFeatureExposureLoop) != 0);
}

bool Bridge::scans_lines() const {
  return readout_mode_ == kLineScanMode && sensor_model_ != nullptr && sensor_model_->scans_lines;
}

Readout Bridge::readout() const {
  Readout window = geometry_.current();
  window.scan = scans_lines();
  return window;
}

std::chrono::nanoseconds Bridge::frame_period() const {
  using Milliseconds = std::chrono::duration<double, std::milli>;
  if (options_.frame_rate <= 0) return {};
  double ms = 1000 / options_.frame_rate;
  if (has_isp() && (isp_register(kIspFixedRate) & 1) != 0) {
    ms = std::max(ms, 10'000.0 / std::max<int>(isp_register(kIspTenthsPerSecond), 1));
  }
  if (const auto state = shutter()) {
    ms += state->extra_lines * state->line_ms;
    // In line scan a frame is so many exposures of the same line.
    const int exposures = scans_lines() ? geometry_.current().height : 1;
    ms = std::max(ms, exposures * state->exposure_ms);
  }
  constexpr double kLongest = 3600e3;  // longer ones would overflow the arithmetic and nobody waits for them
  return std::chrono::duration_cast<std::chrono::nanoseconds>(Milliseconds(std::min(ms, kLongest)));
}

std::chrono::microseconds Bridge::trigger_delay() const {
  return std::chrono::microseconds(has_trigger_unit() ? 10 * isp_register(kIspTriggerDelay) : 0);
}

std::chrono::microseconds Bridge::debouncer_time() const {
  return std::chrono::microseconds(has_trigger_unit() ? isp_register(kIspDebouncer) : 0);
}

std::optional<Strobe> Bridge::strobe() const {
  if (!has_trigger_unit()) return std::nullopt;
  // Off, the line rests at the level that the polarity says.
  const uint16_t line = isp_register(kIspStrobe);
  if ((line & 0x8000) == 0) return std::nullopt;
  return Strobe{.active_high = (line & 1) != 0,
                .delay = std::chrono::microseconds(10 * isp_register(kIspStrobeDelay)),
                .duration = std::chrono::microseconds(10 * isp_register(kIspStrobeDuration))};
}

int Bridge::pulses_per_frame() const {
  if (!scans_lines() || line_setting(kLineTrigger).value_or(0) == 0) return 1;
  const int lines = std::max<int>(line_setting(kLineSnapCount).value_or(1), 1);
  return (geometry_.current().height + lines - 1) / lines;
}

void Bridge::follow_level(double mean) {
  if (!loop_exposure_ms_) return;
  constexpr double kFullScale = 4096;  // of the target
  constexpr double kLongestMs = 1000;
  const double target = isp_register(kIspLoopTarget) / kFullScale;
  const double step = std::clamp(target / std::max(mean, 0.001), 0.25, 4.0);
  const double line_ms = std::max(shutter()->line_ms, 0.001);
  *loop_exposure_ms_ = std::clamp(*loop_exposure_ms_ * step, line_ms, kLongestMs);
}

bool Bridge::waits_for_trigger() const {
  const auto trigger = sensor_trigger(options_.model->sensor_id);
  if (!trigger) return bridge_triggered_;
  return bridge_triggered_ || (sensor_register(trigger->address) & trigger->mask) == trigger->triggered;
}

PixelClock Bridge::pixel_clock() const {
  if (!options_.model->newer_bridge()) {
    return high_speed_ ? PixelClock::kOlderBridgeHighSpeed : PixelClock::kOlderBridge;
  }
  return options_.speed == UsbSpeed::kSuper ? PixelClock::kSuperSpeedLink : PixelClock::kHighSpeedLink;
}

std::optional<ShutterState> Bridge::shutter() const {
  if (sensor_model_ == nullptr) return std::nullopt;
  const Readout& window = geometry_.current();
  auto state = shutter_state(*sensor_model_, files_, window.width, window.height, pixel_clock());
  if (loop_exposure_ms_) state.exposure_ms = *loop_exposure_ms_;
  return state;
}

uint16_t Bridge::snap_count() const {
  if (pulses_per_frame() > 1) return 1;
  const auto lines = line_setting(kLineSnapCount);
  return std::max<uint16_t>(1, lines ? *lines : isp_register(kIspFrameCount));
}

uint16_t Bridge::sensor_register(uint16_t address) const {
  return find(files_.sensor, address).value_or(0);
}
uint16_t Bridge::isp_register(uint16_t address) const {
  return find(files_.bridge, address).value_or(0);
}
std::optional<uint16_t> Bridge::parameter(uint16_t index) const {
  return find(files_.parameters, index);
}
std::optional<uint16_t> Bridge::line_setting(uint16_t index) const {
  return find(line_settings_, index);
}

}  // namespace kxsim
