// SPDX-License-Identifier: Apache-2.0
#include "device/sensors/sensor_model.h"

#include <algorithm>

#include "device/sensors/gain_codes.h"

namespace kxsim {

namespace {

/// Pixel clocks in MHz for each PixelClock; 0 where no such camera was built.
struct Clocks {
  double older = 0;
  double older_high_speed = 0;
  double high_speed_link = 0;
  double super_speed_link = 0;
};

double pick(const Clocks& clocks, PixelClock clock) {
  switch (clock) {
    case PixelClock::kOlderBridge:
      return clocks.older;
    case PixelClock::kOlderBridgeHighSpeed:
      return clocks.older_high_speed;
    case PixelClock::kHighSpeedLink:
      return clocks.high_speed_link;
    case PixelClock::kSuperSpeedLink:
      return clocks.super_speed_link;
  }
  return 0;
}

double clocked(double clocks, double mhz) {
  return mhz > 0 ? clocks / (1000 * mhz) : 0;
}

/// Lines of the readout's width and a blanking of `fixed` clocks more than register 0x05 holds.
double blanked_line(const LineConditions& at, int fixed, double mhz) {
  return clocked(at.width + fixed + sensor_value(at.files, 0x05), mhz);
}

double line_0030(const LineConditions& at) {
  return blanked_line(at, 0, pick({27, 27, 27, 54}, at.clock));
}

double line_0130(const LineConditions& at) {
  return blanked_line(at, 225, pick({24, 48}, at.clock));
}

double line_0300(const LineConditions& at) {
  return blanked_line(at, 369, pick({24, 48}, at.clock));
}

double line_0500(const LineConditions& at) {
  return clocked(at.width + 894, pick({24, 48, 48, 96}, at.clock));
}

/// The clocks of a line as a register has them.
double line_in_300c(const LineConditions& at) {
  return sensor_value(at.files, 0x300C);
}

double line_in_320c(const LineConditions& at) {
  return sensor_value(at.files, 0x320C) << 8 | sensor_value(at.files, 0x320D);
}

double line_0120(const LineConditions& at) {
  return clocked(line_in_300c(at), pick({24, 48, 50, 100}, at.clock));
}

double line_0200(const LineConditions& at) {
  return clocked(line_in_300c(at), pick({24, 48}, at.clock));
}

double line_0E00(const LineConditions& at) {
  return clocked(line_in_300c(at), pick({24, 48, 43, 86}, at.clock));
}

double line_0510(const LineConditions& at) {
  return clocked(line_in_300c(at), 200);
}

double line_0180(const LineConditions& at) {
  return clocked(line_in_300c(at) / 2, 180);
}

double line_0A00(const LineConditions& at) {
  return clocked(line_in_300c(at) / 2, pick({24, 42.6667, 40, 80}, at.clock));
}

double line_0E60(const LineConditions& at) {
  return clocked(16.0 * sensor_value(at.files, 0x04), pick({0, 0, 28.5, 114}, at.clock));
}

double line_0E70(const LineConditions& at) {
  return clocked(16.0 * sensor_value(at.files, 0x04), pick({0, 0, 34, 132}, at.clock));
}

double line_3130(const LineConditions& at) {
  return clocked(line_in_320c(at) / 4, 12.5);
}

double line_0400(const LineConditions& at) {
  return clocked(line_in_320c(at), 60.75);
}

double line_0410(const LineConditions& at) {
  const uint32_t divider = sensor_value(at.files, 0x36EA) & 0xF;
  return divider < 2 ? 0 : clocked(line_in_320c(at), 675.0 / (divider - 1));
}

double line_0DC0(const LineConditions& at) {
  return clocked(sensor_value(at.files, 0x20) << 8 | sensor_value(at.files, 0x21), 96);
}

template <int kNanoseconds>
double fixed_line(const LineConditions& /*at*/) {
  return kNanoseconds * 1e-6;
}

/// Some clocks come once an exposure and are shared by its lines.
double shared_line(const LineConditions& at, double shared, double fixed, double mhz) {
  return clocked(shared / std::max(at.lines, 1.0) + fixed, mhz);
}

double line_0860(const LineConditions& at) {
  return shared_line(at, 121, 336, 43.2);
}

double line_0910(const LineConditions& at) {
  return shared_line(at, 119.2, 584, 57.6);
}

double line_0920(const LineConditions& at) {
  return shared_line(at, 125.6, 720, 57.6);
}

double above(double value, double least) {
  return std::max(value - least, 0.0);
}

double pause_in_06(const RegisterFiles& files, int /*width*/, int /*height*/) {
  return above(sensor_value(files, 0x06), 45);
}

template <int kLeast>
double pause_in_300a(const RegisterFiles& files, int /*width*/, int height) {
  return above(sensor_value(files, 0x300A), height + kLeast);
}

double pause_in_04(const RegisterFiles& files, int /*width*/, int /*height*/) {
  return above(value_in(files.apart, 0x04) & 0xFFF, 112);
}

double pause_3130(const RegisterFiles& files, int /*width*/, int /*height*/) {
  return above(sensor_value(files, 0x320E) << 8 | sensor_value(files, 0x320F), 526);
}

double pause_0410(const RegisterFiles& files, int width, int height) {
  const int wide = std::max(width - 2048, 0) * 556 / 640;
  const int least = height == 1520 ? 1786 + wide : height > 1200 ? 1786 : 1658;
  return above(sensor_value(files, 0x320E) << 8 | sensor_value(files, 0x320F), least);
}

/// The whole frame in lines of a microsecond; in line scan each line has its own.
double pause_in_c8(const RegisterFiles& files, int width, int height) {
  const int whole_columns = width / 8 * 8;
  return above(sensor_value(files, 0xC8), whole_columns * height * 0.003515625 + 80);
}

const RegisterNumber kBridgeFrame = {{0x14, 0, true}, {0x1E, 16, true}};
template <int kLeast>
double pause_of_frame(const RegisterFiles& files, int /*width*/, int /*height*/) {
  return above(number_in(files, kBridgeFrame), kLeast);
}

const RegisterNumber kBridgeShutter = {{0x0A, 0, true}, {0x0B, 16, true}};

// Every sensor powers up at an exposure of a few hundred lines.
const std::vector<SensorModel> kModels = {
    {.ids = {0x030},
     .registers = {0x05, 0x06, 0x07, 0x0B, 0x1B, 0x35, 0xAF},
     .power_up = {.sensor = {{0x05, 94}, {0x0B, 481}, {0x35, 16}}},
     .lines = {{0x0B}},
     .lines_offset = -1,
     .gain = gain_in_sixteenths,
     .line_ms = line_0030,
     .extra_lines = pause_in_06},
    {.ids = {0x130},
     .registers = {0x05, 0x06, 0x09, 0x0B, 0x1E, 0x35},
     .power_up = {.sensor = {{0x05, 19}, {0x09, 400}, {0x35, 8}}},
     .lines = {{0x09}},
     .gain = gain_in_three_ranges,
     .line_ms = line_0130,
     .extra_lines = pause_in_06},
    {.ids = {0x300},
     .registers = {0x05, 0x06, 0x09, 0x0A, 0x0B, 0x0D, 0x1E, 0x35},
     .power_up = {.sensor = {{0x05, 142}, {0x09, 400}, {0x35, 8}}},
     .lines = {{0x09}},
     .gain = gain_with_doubler,
     .line_ms = line_0300,
     .extra_lines = pause_in_06},
    {.ids = {0x500},
     .registers = {0x06, 0x09, 0x0B, 0x1E, 0x35},
     .power_up = {.sensor = {{0x09, 400}, {0x35, 8}}},
     .lines = {{0x09}},
     .gain = gain_with_doubler,
     .line_ms = line_0500,
     .extra_lines = pause_in_06},
    {.ids = {0x120},
     .registers = {0x300C, 0x3012, 0x301A, 0x3046, 0x305E, 0x30B0},
     .power_up = {.sensor = {{0x300C, 1650}, {0x3012, 400}, {0x305E, 32}}},
     .lines = {{0x3012}},
     .gain = gain_in_32nds,
     .factory_gain = 0.5,
     .line_ms = line_0120},
    {.ids = {0x200},
     .registers = {0x300C, 0x3012, 0x301A, 0x305E, 0x3060},
     .power_up = {.sensor = {{0x300C, 2200}, {0x3012, 400}, {0x305E, 128}}},
     .lines = {{0x3012}},
     .gain = gain_in_128ths,
     .line_ms = line_0200},
    {.ids = {0xA00},
     .registers = {0x300A, 0x300C, 0x3012, 0x301A, 0x305E},
     .power_up = {.sensor = {{0x300C, 9352}, {0x3012, 400}, {0x305E, 6208}}},
     .lines = {{0x3012}},
     .gain = gain_of_columns,
     .line_ms = line_0A00,
     .extra_lines = pause_in_300a<143>},
    {.ids = {0xE00},
     .registers = {0x300A, 0x300C, 0x3012, 0x305E},
     .power_up = {.sensor = {{0x300C, 5024}, {0x3012, 400}, {0x305E, 6208}}},
     .lines = {{0x3012}},
     .gain = gain_of_columns,
     .line_ms = line_0E00,
     .extra_lines = pause_in_300a<146>},
    {.ids = {0x180},
     .registers = {0x0340, 0x300A, 0x300C, 0x3012, 0x301A, 0x305E},
     .power_up = {.sensor = {{0x300C, 10664}, {0x3012, 400}, {0x305E, 0x2040}}},
     .lines = {{0x3012}},
     .gain = gain_of_range_and_digits,
     .line_ms = line_0180,
     .extra_lines = pause_in_300a<116>},
    {.ids = {0x510},
     .registers = {0x300A, 0x300C, 0x3012, 0x301A, 0x305E},
     .power_up = {.sensor = {{0x300C, 3204}, {0x3012, 400}, {0x305E, 0x3000}}},
     .lines = {{0x3012}},
     .gain = gain_of_product,
     .factory_gain = 1.47,
     .line_ms = line_0510,
     .extra_lines = pause_in_300a<100>},
    {.ids = {0xE60},
     .registers = {0x04, 0x0B, 0x0E, 0x11},
     .power_up = {.sensor = {{0x04, 105}, {0x0E, 400}, {0x11, 0x080}}},
     .lines = {{0x0E}},
     .gain = gain_from_128,
     .factory_gain = 1.06,
     .line_ms = line_0E60,
     .extra_lines = pause_in_04,
     .apart = {0x04}},
    {.ids = {0xE70},
     .registers = {0x04, 0x0B, 0x0E, 0x11},
     .power_up = {.sensor = {{0x04, 125}, {0x0E, 400}, {0x11, 0x080}}},
     .lines = {{0x0E}},
     .gain = gain_from_128,
     .factory_gain = 1.06,
     .line_ms = line_0E70,
     .extra_lines = pause_in_04,
     .apart = {0x04}},
    {.ids = {0x3130},
     .registers = {0x320C, 0x320D, 0x320E, 0x320F, 0x3234, 0x3E01, 0x3E02, 0x3E08, 0x3E09},
     .power_up = {.sensor = {{0x320C, 0x06}, {0x320D, 0x40}, {0x3E01, 25}, {0x3E08, 3}, {0x3E09, 32}}},
     .lines = {{0x3E01, 4}, {0x3E02, -4}},
     .gain = gain_of_powers,
     .factory_gain = 1.22,
     .line_ms = line_3130,
     .extra_lines = pause_3130,
     .restarts_on_first_pulse = true},
    {.ids = {0x400},
     .registers = {0x320C, 0x320D, 0x3222, 0x3230, 0x3231, 0x3800, 0x3E00, 0x3E01, 0x3E02, 0x3E06, 0x3E07,
                   0x3E08, 0x3E09},
     .power_up = {.sensor = {{0x320C, 0x05}, {0x320D, 0x46}, {0x3E01, 25}, {0x3E08, 3}, {0x3E09, 64}}},
     .lines = {{0x3E00, 12}, {0x3E01, 4}, {0x3E02, -4}},
     .gain = gain_of_stages,
     .factory_gain = 1.47,
     .line_ms = line_0400,
     .restarts_on_first_pulse = true},
    {.ids = {0x410},
     .registers = {0x320C, 0x320D, 0x320E, 0x320F, 0x3222, 0x3230, 0x3231, 0x36EA, 0x3800, 0x3E00, 0x3E01,
                   0x3E02, 0x3E08, 0x3E09},
     .power_up =
         {.sensor =
              {{0x320C, 0x05}, {0x320D, 0x46}, {0x36EA, 0x0A}, {0x3E01, 25}, {0x3E08, 0}, {0x3E09, 168}}},
     .lines = {{0x3E00, 12}, {0x3E01, 4}, {0x3E02, -4}},
     .gain = gain_in_168ths,
     .line_ms = line_0410,
     .extra_lines = pause_0410,
     .restarts_on_first_pulse = true},
    {.ids = {0xA30, 0xB10, 0xB20, 0xB50},
     .registers = {0xC0, 0xC8, 0xC9, 0xCD},
     .power_up = {.sensor = {{0xC9, 2000}, {0xCD, 192}}},
     .lines = {{0xC9}},
     .gain = gain_in_192nds,
     .line_ms = fixed_line<1000>,
     .extra_lines = pause_in_c8,
     .rolling = false,
     .light = 4,
     .scans_lines = true},
    {.ids = {0x600, 0x610, 0x620, 0x630, 0x650, 0x680, 0x710},
     .registers = {0x3204, 0x3205},
     .power_up = {.bridge = {{0x0A, 4000}}},
     .lines = kBridgeShutter,
     .lines_divisor = 10,
     .gain = gain_in_decibels_3204,
     .factory_gain = 1.19,
     .line_ms = fixed_line<10000>,
     .rolling = false},
    {.ids = {0xC30, 0xC50, 0xC80},
     .registers = {0x13, 0x14, 0x15, 0x17, 0x19, 0x1B},
     .power_up = {.bridge = {{0x0A, 4000}}},
     .lines = kBridgeShutter,
     .lines_divisor = 10,
     .gain = gain_of_ramp_1024,
     .line_ms = fixed_line<10000>,
     .rolling = false,
     .bridge_exposes = true},
    {.ids = {0x860},
     .registers = {0x3007, 0x301B, 0x301F, 0x3034, 0x3035, 0x3036},
     .power_up = {.sensor = {{0x3034, 0x23}, {0x3035, 0x07}}, .bridge = {{0x14, 2227}, {0x15, 2227}}},
     .lines = kBridgeFrame,
     .idle_lines = {{0x3034}, {0x3035, 8}, {0x3036, 16}},
     .gain = gain_in_decibels_301f,
     .factory_gain = 1.19,
     .line_ms = line_0860,
     .extra_lines = pause_of_frame<2227>},
    {.ids = {0x3200},
     .registers = {0x3014, 0x3020, 0x3021},
     .power_up = {.sensor = {{0x3020, 0xD7}, {0x3021, 0x02}}, .bridge = {{0x14, 1128}, {0x15, 1128}}},
     .lines = kBridgeFrame,
     .idle_lines = {{0x3020}, {0x3021, 8}},
     .lines_offset = -1,
     .gain = gain_in_decibels_3014,
     .factory_gain = 1.23,
     .line_ms = fixed_line<7385>,
     .extra_lines = pause_of_frame<1128>},
    {.ids = {0x910},
     .registers = {0x09, 0x0A, 0x0B, 0x0C, 0x11, 0x0352, 0x0353},
     .power_up = {.sensor = {{0x0B, 0x19}, {0x0C, 0x0C}}, .bridge = {{0x14, 3500}}},
     .lines = kBridgeFrame,
     .idle_lines = {{0x0B}, {0x0C, 8}},
     .lines_offset = -3,
     .gain = gain_of_ramp_2048,
     .line_ms = line_0910,
     .extra_lines = pause_of_frame<3500>},
    // The bridge ends the exposure of this one.
    {.ids = {0x920},
     .registers = {0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x11, 0x45},
     .power_up = {.bridge = {{0x0A, 399}, {0x14, 4705}, {0x15, 4705}}},
     .lines = kBridgeShutter,
     .lines_offset = 1,
     .gain = gain_of_ramp_2048,
     .line_ms = line_0920,
     .extra_lines = pause_of_frame<4705>},
    {.ids = {0xDC0},
     .registers = {0x0E, 0x0F, 0x15, 0x16, 0x18, 0x1A, 0x1C, 0x1E, 0x1F, 0x20, 0x21},
     .power_up = {.sensor = {{0x0E, 0x01}, {0x0F, 0x90}, {0x15, 0}, {0x20, 0x12}, {0x21, 0xC0}}},
     .lines = {{0x0E, 8}, {0x0F}},
     .gain = gain_of_ramp_256,
     .factory_gain = 1.07,
     .line_ms = line_0DC0},
};

}  // namespace

uint32_t number_in(const RegisterFiles& files, const RegisterNumber& parts) {
  uint32_t number = 0;
  for (const RegisterPart& part : parts) {
    const uint32_t value = value_in(part.in_bridge ? files.bridge : files.sensor, part.address);
    number += part.shift < 0 ? value >> -part.shift : value << part.shift;
  }
  return number;
}

const SensorModel* find_sensor_model(uint32_t sensor_id) {
  constexpr uint32_t kMonoVariant = 0xB;
  const uint32_t id = (sensor_id & 0xF) == kMonoVariant ? sensor_id - kMonoVariant : sensor_id;
  const auto found = std::ranges::find_if(
      kModels, [id](const SensorModel& m) { return std::ranges::find(m.ids, id) != m.ids.end(); });
  return found == kModels.end() ? nullptr : &*found;
}

ShutterState shutter_state(const SensorModel& model, const RegisterFiles& files, int width, int height,
                           PixelClock clock) {
  const double count =
      static_cast<double>(number_in(files, model.lines)) - number_in(files, model.idle_lines);
  const double lines = std::max(count / model.lines_divisor + model.lines_offset, 0.0);
  const double line_ms = model.line_ms({.files = files, .width = width, .clock = clock, .lines = lines});
  return {.line_ms = line_ms,
          .exposure_ms = lines * line_ms,
          .gain = model.gain(files),
          .extra_lines = model.extra_lines != nullptr ? model.extra_lines(files, width, height) : 0,
          .rolling = model.rolling};
}

}  // namespace kxsim
