// SPDX-License-Identifier: Apache-2.0
#include "camera_calls.h"

#include <array>
#include <cstring>
#include <vector>

#include "any_value.h"
#include "control_table.h"
#include "kxcam/kxcam.h"
#include "require.h"
#include "scripted_usb.h"
#include "virtual_time.h"

namespace kxcam {
namespace {

constexpr auto kCommands = std::to_array<uint32_t (*)(int)>({
    CameraInit,
    CameraInitIO,
    CameraFree,
    CameraReset,
    CameraReconnect,
    CameraClearHostBuffer,
    CameraTriggerShot,
    CameraOnePushWB,
});

constexpr auto kMemoryCommands =
    std::to_array<uint32_t (*)(int, int)>({CameraSaveParameter, CameraLoadParameter, CameraSetRotate});

/// Larger frames are streamed, but not made into pictures: that would take the fuzzer's time.
constexpr int64_t kMostPixels = 1 << 16;
/// Raw frames are only copied; these are larger than some sensors.
constexpr int64_t kMostRawPixels = 1 << 20;
constexpr int64_t kLongestQueryMs = 60'000;
constexpr int64_t kQueryOverheadMs = 20;

template <size_t N, class Function>
Function chosen(const std::array<Function, N>& functions, Input& input) {
  return functions[input.byte() % N];
}

int any_format(Input& input) {
  const int choice = input.byte();
  const int kind = 1 << choice % 4;
  return (kind & 7) | ((choice & 0x10) != 0 ? KXCAM_FORMAT_BGR : 0) |
         ((choice & 0x20) != 0 ? KXCAM_FORMAT_32BIT : 0) |
         ((choice & 0x40) != 0 ? KXCAM_FORMAT_UNCORRECTED : 0);
}

void identify(int camera) {
  std::array<char, 16> serial{};
  std::array<char, 36> name{};
  int row = 0;
  int product = 0;
  if (CameraGetName(camera, serial.data(), name.data()) == 0)
    require(std::memchr(name.data(), 0, name.size()) != nullptr, "a name ends");
  CameraGetID(camera, &row, &product);
  std::vector<char> shortest(12);
  CameraReadSerialNumber(camera, shortest.data(), static_cast<int>(shortest.size()));
}

void ask_geometry(Input& input, int camera) {
  int width = 0;
  int height = 0;
  CameraGetResolutionMax(camera, &width, &height);
  CameraGetResolution(camera, any_int(input), &width, &height);
  CameraGetImageSize(camera, &width, &height);
  CameraGetISPImageBufferSize(camera, &width, any_int(input), any_int(input), any_format(input));
}

void set_roi(Input& input, int camera) {
  // By eights, which every sensor takes.
  const int x = 8 * input.byte();
  const int y = 8 * input.byte();
  CameraSetROI(camera, x, y, 8 * input.byte(), 8 * input.byte());
}

void set_any_roi(Input& input, int camera) {
  const int x = any_int(input);
  const int y = any_int(input);
  const int width = any_int(input);
  CameraSetROI(camera, x, y, width, any_int(input));
}

void use_lut(Input& input, int camera) {
  std::vector<uint8_t> table(1 + static_cast<size_t>(input.word()) % 5000, input.byte());
  int length = static_cast<int>(table.size());
  CameraSetLUT(camera, table.data(), length);
  CameraGetLUT(camera, table.data(), &length);
}

void use_user_data(Input& input, int camera) {
  const int length = any_int(input);
  std::vector<char> data(length > 0 && length <= 63 ? static_cast<size_t>(length) : 1);
  CameraReadUserData(camera, data.data(), length);
  CameraWriteUserData(camera, data.data(), length);
}

/// Whether pictures of the camera are small and waited for no longer than a minute.
bool worth_querying(int camera, int format) {
  int width = 0;
  int height = 0;
  double exposure_ms = 0;
  if (CameraGetImageSize(camera, &width, &height) != 0) return false;
  CameraGetExposureTime(camera, &exposure_ms);
  const int64_t most = (format & KXCAM_FORMAT_RAW) != 0 ? kMostRawPixels : kMostPixels;
  return int64_t{width} * height <= most && exposure_ms < kLongestQueryMs;
}

int64_t longest_wait(int camera) {
  int time_out = 0;
  double exposure_ms = 0;
  CameraGetTimeout(camera, &time_out);
  CameraGetExposureTime(camera, &exposure_ms);
  return std::max(int64_t{time_out}, static_cast<int64_t>(exposure_ms)) + kQueryOverheadMs;
}

void query(Input& input, int camera) {
  const int format = any_format(input);
  int size = 0;
  if (!worth_querying(camera, format) || CameraGetImageBufferSize(camera, &size, format) != 0) return;
  std::vector<uint8_t> picture(static_cast<size_t>(size));
  const int64_t limit = longest_wait(camera);
  const int64_t begin = virtual_now();
  int place = 0;
  const bool delivered = CameraQueryImage2(camera, picture.data(), &size, &place, format) == 0;
  require(!delivered || (place >= 0 && place < 5), "a frame has its place in the ring");
  require(delivered || virtual_now() - begin <= limit, "a query ends in time");
}

void query_lv(int camera) {
  int size = 0;
  constexpr int kFormat = KXCAM_FORMAT_COLOR | KXCAM_FORMAT_32BIT;
  if (!worth_querying(camera, kFormat) || CameraGetImageBufferSize(camera, &size, kFormat) != 0) return;
  int pixels = size / 4;
  std::vector<uint32_t> picture(static_cast<size_t>(pixels));
  CameraQueryImageLV(camera, picture.data(), &pixels, KXCAM_FORMAT_COLOR);
}

void process(Input& input, int camera) {
  int width = 0;
  int height = 0;
  int size = 0;
  const int format = any_format(input);
  if (!worth_querying(camera, format) || CameraGetImageSize(camera, &width, &height) != 0 ||
      CameraGetISPImageBufferSize(camera, &size, width, height, format) != 0)
    return;
  int depth = 0;
  CameraGetImageDepth(camera, &depth);
  std::vector<uint8_t> raw(static_cast<size_t>(width) * static_cast<size_t>(height) * (depth > 8 ? 2 : 1),
                           input.byte());
  std::vector<uint8_t> picture(static_cast<size_t>(size));
  CameraISP(camera, raw.data(), picture.data(), width, height, format);
}

void open_virtual(Input& input, int camera) {
  ISPParam param{};
  const int product = input.word();
  const auto record = input.take(sizeof param);
  std::memcpy(&param, record.data(), record.size());
  CameraInitVirtual(camera, product, record.empty() ? nullptr : &param);
}

const Control& any_control(Input& input) {
  return control_table()[input.byte() % control_table().size()];
}

void set_wb_gains(Input& input, int camera) {
  const double r = any_real(input);
  const double g = any_real(input);
  CameraSetWBGain(camera, r, g, any_real(input));
}

void ask_what_is_no_control(int camera) {
  int number = 0;
  double gains[3] = {};
  CameraGetFirmVersion(camera, &number);
  CameraGetResolutionCount(camera, &number);
  CameraGetAvg(camera, &number);
  CameraGetGPIO(camera, &number);
  CameraGetWBGain(camera, &gains[0], &gains[1], &gains[2]);
}

}  // namespace

void make_call(Input& input, ScriptedBus& bus, int& camera) {
  switch (input.byte() % 32) {
    case 0:
      camera = any_int(input);
      return;
    case 1:
      bus.toggle_cable(input.byte());
      return;
    case 2:
      pass_time(input.word() % 2000);
      return;
    case 3:
      refuse_next_reader(true);
      return;
    case 4: {
      int count = 0;
      CameraGetCount(&count);
      return;
    }
    case 5:
      return identify(camera);
    case 6:
      return ask_geometry(input, camera);
    case 7:
      return set_roi(input, camera);
    case 8:
      return set_any_roi(input, camera);
    case 9:
      return use_lut(input, camera);
    case 10:
      return use_user_data(input, camera);
    case 11:
      return query_lv(camera);
    case 12:
      return process(input, camera);
    case 13:
      return open_virtual(input, camera);
    case 14:
    case 15:
      any_control(input).get(camera);
      return;
    case 16:
      return ask_what_is_no_control(camera);
    case 17:
      chosen(kMemoryCommands, input)(camera, any_int(input));
      return;
    case 18:
      return set_wb_gains(input, camera);
    case 19: {
      const Control& control = any_control(input);
      control.set(camera, control.whole() ? any_int(input) : any_real(input));
      return;
    }
    case 20: {
      const int mask = any_int(input);
      CameraSetGPIO(camera, mask, input.byte());
      return;
    }
    case 21: {
      int width = 0;
      int height = 0;
      CameraSetResolution(camera, any_int(input), &width, &height);
      return;
    }
    case 22:
    case 23: {
      const Control& control = any_control(input);
      control.set(camera, input.byte() % 2);
      return;
    }
    case 24:
    case 25:
      chosen(kCommands, input)(camera);
      return;
    case 26:
    case 27:
      return query(input, camera);
    default: {
      const Control& control = any_control(input);
      control.set(camera, any_int(input));
      return;
    }
  }
}

}  // namespace kxcam
