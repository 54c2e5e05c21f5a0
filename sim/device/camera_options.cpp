// SPDX-License-Identifier: Apache-2.0
#include "device/camera_options.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <optional>
#include <set>

#include "device/eeprom.h"
#include "device/sensors/sensor_model.h"

namespace kxsim {
namespace {

constexpr std::string_view kNamePrefix = "Model ";
constexpr double kBrightest = 1e6;

[[noreturn]] void refuse(std::string_view key, std::string_view value, std::string_view expected) {
  throw BadCameraOptions("option '" + std::string(key) + "=" + std::string(value) + "': expected " +
                         std::string(expected));
}

template <class Number>
std::optional<Number> read_integer(std::string_view text, int base = 10) {
  if (text.starts_with("0x") || text.starts_with("0X")) {
    text.remove_prefix(2);
    base = 16;
  }
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

template <class Number>
Number integer(std::string_view key, std::string_view value) {
  const auto number = read_integer<Number>(value);
  if (!number) refuse(key, value, "a whole number in range, decimal or 0x-hexadecimal");
  return *number;
}

/// With K or M behind it in units of 1024 or of their square.
size_t byte_count(std::string_view key, std::string_view value) {
  constexpr uint32_t kMost = 1U << 30;
  uint32_t unit = 1;
  if (value.ends_with('K')) unit = 1U << 10;
  if (value.ends_with('M')) unit = 1U << 20;
  const auto number = read_integer<uint32_t>(unit == 1 ? value : value.substr(0, value.size() - 1));
  if (!number || *number == 0 || *number > kMost / unit)
    refuse(key, value, "1 to 1024M bytes, such as 65536 or 64K");
  return size_t{*number} * unit;
}

double real(std::string_view key, std::string_view value, double maximum) {
  double number = 0;
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
  const bool read = error == std::errc() && end == value.data() + value.size();
  if (!read || !std::isfinite(number) || number < 0 || number > maximum) {
    refuse(key, value, "a number from 0 to " + std::to_string(static_cast<long>(maximum)));
  }
  return number;
}

/// A key without a value switches on.
bool flag(std::string_view key, std::string_view value) {
  if (value.empty() || value == "1") return true;
  if (value != "0") refuse(key, value, "0 or 1");
  return false;
}

std::string text_up_to(size_t length, std::string_view key, std::string_view value) {
  if (value.empty() || value.size() > length) {
    refuse(key, value, "1 to " + std::to_string(length) + " characters");
  }
  return std::string(value);
}

Lighting& lighting_of(CameraOptions& options) {
  if (!options.lighting) options.lighting = CameraOptions::default_lighting(*options.model);
  return *options.lighting;
}

void set_light(CameraOptions& options, std::string_view key, std::string_view value) {
  if (value == "off") return options.lighting.reset();
  lighting_of(options).level = real(key, value, kBrightest);
}

/// Mains frequency of a lamp that goes out in between.
Lamp flicker(std::string_view key, std::string_view value) {
  return {.mains_hz = real(key, value, 1000), .ripple = 1};
}

/// "FRAME:LEVEL".
Lighting::Step step(std::string_view key, std::string_view value) {
  const auto colon = value.find(':');
  if (colon == std::string_view::npos) refuse(key, value, "FRAME:LEVEL");
  return {.frame = integer<uint64_t>(key, value.substr(0, colon)),
          .level = real(key, value.substr(colon + 1), kBrightest)};
}

UsbSpeed speed(std::string_view key, std::string_view value) {
  if (value == "high") return UsbSpeed::kHigh;
  if (value != "super") refuse(key, value, "high or super");
  return UsbSpeed::kSuper;
}

struct CameraOption {
  std::string_view key;
  std::string_view form;  ///< of the value, as in the manual
  std::string_view help;
  void (*set)(CameraOptions&, std::string_view key, std::string_view value);
};

using O = CameraOptions;
using S = std::string_view;

constexpr CameraOption kOptions[] = {
    {"serial", "=TEXT", "serial number, up to 12 characters",
     [](O& o, S k, S v) { o.serial = text_up_to(Eeprom::kSerialNumberLength, k, v); }},
    {"name", "=TEXT", "name given by the user, up to 30 characters",
     [](O& o, S k, S v) { o.name = text_up_to(Eeprom::kUserNameMaximum, k, v); }},
    {"fw", "=NUMBER", "firmware version", [](O& o, S k, S v) { o.firmware = integer<uint32_t>(k, v); }},
    {"features", "=NUMBER", "feature bits", [](O& o, S k, S v) { o.features = integer<uint16_t>(k, v); }},
    {"generic", "[=0|1]", "enumerate with the generic product id",
     [](O& o, S k, S v) { o.generic_id = flag(k, v); }},
    {"fps", "=NUMBER", "frames a second; 0 = as fast as the program reads",
     [](O& o, S k, S v) { o.frame_rate = real(k, v, 100000); }},
    {"fifo", "=BYTES", "room for what the sensor sends meanwhile, such as 64K (default: a frame)",
     [](O& o, S k, S v) { o.fifo = byte_count(k, v); }},
    {"speed", "=high|super", "speed of the USB link", [](O& o, S k, S v) { o.speed = speed(k, v); }},
    {"eeprom", "=FILE", "keep the EEPROM in a file",
     [](O& o, S k, S v) { o.eeprom_file = text_up_to(4096, k, v); }},
    {"blank", "[=0|1]", "nothing is stored but the serial number",
     [](O& o, S k, S v) { o.blank = flag(k, v); }},
    {"wp", "[=0|1]", "write-protect the EEPROM", [](O& o, S k, S v) { o.write_protect = flag(k, v); }},
    {"bytes", "[=0|1]", "answer register reads with one byte instead of two",
     [](O& o, S k, S v) { o.byte_replies = flag(k, v); }},
    {"half", "[=0|1]", "12-bit model: the bridge ends a frame after half of its bytes",
     [](O& o, S k, S v) { o.half_frames = flag(k, v); }},
    {"noise", "=0|1", "sensor noise", [](O& o, S k, S v) { o.noise = flag(k, v); }},
    {"fpn", "=NUMBER", "fixed pattern: deviation of row and column gains, e.g. 0.02",
     [](O& o, S k, S v) { o.fixed_pattern = real(k, v, 1); }},
    {"dead", "=NUMBER", "number of dead pixels",
     [](O& o, S k, S v) { o.dead_pixels = integer<uint16_t>(k, v); }},
    {"light", "=LEVEL|off", "brightness of the scene; off = exposure and gain have no effect", set_light},
    {"flicker", "=HZ", "mains frequency of a flickering lamp",
     [](O& o, S k, S v) { lighting_of(o).lamp = flicker(k, v); }},
    {"step", "=FRAME:LEVEL", "another level of light from that frame on",
     [](O& o, S k, S v) { lighting_of(o).step = step(k, v); }},
    {"seed", "=NUMBER", "another specimen: other noise, pattern and dead pixels",
     [](O& o, S k, S v) { o.seed = integer<uint64_t>(k, v); }},
};

std::string all_keys() {
  std::string keys;
  for (const auto& option : kOptions) keys += (keys.empty() ? "" : ", ") + std::string(option.key);
  return keys;
}

std::string all_names() {
  std::set<std::string> names;
  for (const auto& row : all_models()) names.insert(std::string(row.name).substr(kNamePrefix.size()));
  std::string list;
  for (const auto& name : names) list += (list.empty() ? "" : ", ") + name;
  return list;
}

std::string_view next_item(std::string_view& rest) {
  const auto comma = rest.find(',');
  const auto item = rest.substr(0, comma);
  rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
  return item;
}

const Model* model_by_name(std::string_view name) {
  if (name.starts_with(kNamePrefix)) name.remove_prefix(kNamePrefix.size());
  const Model* found = nullptr;
  for (const auto& row : all_models()) {
    if (std::string_view(row.name).substr(kNamePrefix.size()) != name) continue;
    if (row.newer_bridge()) return &row;
    if (found == nullptr) found = &row;
  }
  return found;
}

const Model& model_of(uint32_t product_id) {
  if (const auto* row = find_model(product_id)) return *row;
  throw BadCameraOptions("no camera has the product id " + std::to_string(product_id));
}

}  // namespace

CameraOptions::CameraOptions(const Model& chosen)
    : model(&chosen),
      firmware(default_firmware(chosen)),
      speed(chosen.newer_bridge() ? UsbSpeed::kSuper : UsbSpeed::kHigh),
      lighting(default_lighting(chosen)) {}

const Model* CameraOptions::default_model() {
  return find_model(0x3500);
}

CameraOptions::CameraOptions(uint32_t product_id) : CameraOptions(model_of(product_id)) {}

uint32_t CameraOptions::default_firmware(const Model& model) {
  return model.newer_bridge() ? 0x8310 : 0x4700;
}

Lighting CameraOptions::default_lighting(const Model& model) {
  const auto* const sensor = find_sensor_model(model.sensor_id);
  return {.level = sensor != nullptr ? sensor->light : 1};
}

const Model& find_model_by_text(std::string_view text) {
  if (const auto id = read_integer<uint16_t>(text, 16)) {
    if (const auto* row = find_model(*id)) return *row;
  }
  if (const auto* row = model_by_name(text)) return *row;
  throw BadCameraOptions("unknown model '" + std::string(text) +
                         "': expected a product id such as 0x3500 or one of " + all_names());
}

CameraOptions parse_camera_options(std::string_view text) {
  CameraOptions options(find_model_by_text(next_item(text)));
  while (!text.empty()) {
    const auto item = next_item(text);
    const auto equals = item.find('=');
    const auto key = item.substr(0, equals);
    const auto value = equals == std::string_view::npos ? std::string_view() : item.substr(equals + 1);
    const auto* const option = std::ranges::find(kOptions, key, &CameraOption::key);
    if (option == std::end(kOptions)) {
      throw BadCameraOptions("unknown camera option '" + std::string(key) + "': expected one of " +
                             all_keys());
    }
    option->set(options, key, value);
  }
  return options;
}

std::optional<Lighting> with_light(CameraOptions options, std::string_view value) {
  set_light(options, "light", value);
  return options.lighting;
}

std::string camera_options_help() {
  constexpr size_t kColumn = 24;
  std::string text = "Options of a camera:\n";
  for (const auto& option : kOptions) {
    std::string line = "  " + std::string(option.key) + std::string(option.form);
    line.resize(std::max(line.size() + 1, kColumn), ' ');
    text += line + std::string(option.help) + "\n";
  }
  return text;
}

}  // namespace kxsim
