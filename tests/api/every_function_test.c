/* SPDX-License-Identifier: Apache-2.0 */
/* Every exported function from C99: at an index that cannot be, where nothing is open, on a camera and on a
 * virtual one. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <kxcam/kxcam.h>

#include "simulated_bus.h"

enum { WIDTH = 720, HEIGHT = 540, PRODUCT_ID = 0x3600, UNTOUCHED = -77 };
#define CAMERA_OPTIONS "3600,serial=EVERYONE0001,name=bench,features=5,fps=0,noise=0"

/* How a call ends: 0, or the code of its failure; KXCAM_ERROR_NONE_YET when it fails without one. */
enum outcome {
  DONE = 0,
  SILENT = KXCAM_ERROR_NONE_YET,
  INDEX = KXCAM_ERROR_INDEX,
  ARGUMENT = KXCAM_ERROR_ARGUMENT,
  NOT_OPEN = KXCAM_ERROR_NOT_OPEN,
  NO_DEVICE = KXCAM_ERROR_NO_DEVICE,
  IN_USE = KXCAM_ERROR_IN_USE,
  UNSUPPORTED = KXCAM_ERROR_NOT_SUPPORTED
};

enum stage { IMPOSSIBLE, CLOSED, LIVE, VIRTUAL };
static const char* const stage_names[] = {"impossible", "closed", "live", "virtual"};

static enum stage stage;
static int failures = 0;

static void expect(bool condition, const char* function, const char* what) {
  if (condition) return;
  printf("%s camera: %s: %s (last_error %d)\n", stage_names[stage], function, what, last_error);
  ++failures;
}

/* The result of a call, with no code from before. */
#define FRESH(call) (last_error = KXCAM_ERROR_NONE_YET, (call))

static bool ended(uint32_t result, enum outcome outcome) {
  return outcome == DONE ? result == 0 : result == 1 && last_error == (int)outcome;
}

/* What is expected at this stage: `live` and `without_device` where something is open. */
static enum outcome at_stage(enum outcome live, enum outcome without_device) {
  if (stage == IMPOSSIBLE) return INDEX;
  if (stage == CLOSED) return NOT_OPEN;
  return stage == LIVE ? live : without_device;
}

/* --- Settings: what was set is what one gets, twice, so that it was not there by chance. --- */

static uint32_t CameraSetStrobe(int camera, bool on) {
  return CameraEnableStrobe(camera, on);
}

/* Type of the setter, of the getter and name; the two values; how setter and getter end without a device;
 * whether a failed getter says off instead of leaving its output alone. */
#define SETTINGS(X)                                         \
  X(int, int, ResolutionMode, 0, 1, NO_DEVICE, DONE, 0)     \
  X(int, int, LineHeight, 3, 2, DONE, DONE, 0)              \
  X(int, int, LineTrigger, 1, 0, DONE, DONE, 0)             \
  X(int, int, Timeout, 700, 50000, DONE, DONE, 0)           \
  X(int, int, Interpolation, 1, 0, DONE, DONE, 0)           \
  X(int, int, BlackLevel, 9, 0, DONE, DONE, 0)              \
  X(int, int, Exposure, 40, 90, NO_DEVICE, DONE, 0)         \
  X(int, int, Gain, 20, 16, DONE, DONE, 0)                  \
  X(int, int, AdvancedGain, 2, 0, DONE, DONE, 0)            \
  X(int, int, AETarget, 90, 70, DONE, DONE, 0)              \
  X(int, int, AntiFlicker, 1, 2, DONE, DONE, 0)             \
  X(int, int, Delay, 5, 0, NO_DEVICE, NO_DEVICE, 0)         \
  X(int, int, SnapNum, 3, 1, NO_DEVICE, DONE, 0)            \
  X(int, int, StrobePolarity, 0, 1, DONE, DONE, 0)          \
  X(int, int, TriggerDelay, 120, 0, DONE, UNSUPPORTED, 0)   \
  X(int, int, StrobeDelay, 130, 0, DONE, UNSUPPORTED, 0)    \
  X(int, int, StrobeDuration, 140, 0, DONE, UNSUPPORTED, 0) \
  X(int, int, DebouncerTime, 15, 0, DONE, UNSUPPORTED, 0)   \
  X(int, int, SnapMode, 2, 1, NO_DEVICE, DONE, 0)           \
  X(int, bool, TriggerPolarity, 0, 1, NO_DEVICE, DONE, 0)   \
  X(double, double, Gamma, 1.5, 1.0, DONE, DONE, 0)         \
  X(double, double, Contrast, 1.5, 1.0, DONE, DONE, 0)      \
  X(double, double, Saturation, 1.5, 1.0, DONE, DONE, 0)    \
  X(bool, bool, MirrorX, 1, 0, DONE, DONE, 1)               \
  X(bool, bool, MirrorY, 1, 0, DONE, DONE, 1)               \
  X(bool, bool, AEC, 1, 0, DONE, DONE, 1)                   \
  X(bool, bool, AGC, 1, 0, DONE, DONE, 1)                   \
  X(bool, bool, AWB, 1, 0, DONE, DONE, 1)                   \
  X(bool, bool, Enhancement, 1, 0, DONE, DONE, 1)           \
  X(bool, bool, Highspeed, 1, 0, NO_DEVICE, DONE, 1)        \
  X(bool, bool, GlobalReset, 1, 0, DONE, UNSUPPORTED, 1)    \
  X(bool, bool, Denoise, 1, 0, DONE, DONE, 0)               \
  X(bool, bool, FPN, 1, 0, DONE, DONE, 0)                   \
  X(bool, bool, Strobe, 1, 0, DONE, SILENT, 0)

struct setting {
  const char* name;
  uint32_t (*set)(int, double);
  uint32_t (*get)(int, double*);
  double values[2];
  double untouched;
  enum outcome set_without_device;
  enum outcome get_without_device;
  bool off_on_failure;
};

#define FUNCTIONS(SET, GET, NOUN, FIRST, SECOND, SET_WITHOUT, GET_WITHOUT, OFF) \
  static uint32_t set_##NOUN(int camera, double value) {                        \
    return CameraSet##NOUN(camera, (SET)value);                                 \
  }                                                                             \
  static uint32_t get_##NOUN(int camera, double* value) {                       \
    GET stored = (GET)UNTOUCHED;                                                \
    const uint32_t result = CameraGet##NOUN(camera, &stored);                   \
    *value = (double)stored;                                                    \
    return result;                                                              \
  }
SETTINGS(FUNCTIONS)

#define ROW(SET, GET, NOUN, FIRST, SECOND, SET_WITHOUT, GET_WITHOUT, OFF) \
  {#NOUN, set_##NOUN, get_##NOUN, {FIRST, SECOND}, (double)(GET)UNTOUCHED, SET_WITHOUT, GET_WITHOUT, OFF},
static const struct setting settings[] = {SETTINGS(ROW)};

static void check_setting(int camera, const struct setting* setting) {
  const enum outcome set = at_stage(DONE, setting->set_without_device);
  const enum outcome get = at_stage(DONE, setting->get_without_device);
  for (int i = 0; i < 2; ++i) {
    double value = 0;
    expect(ended(FRESH(setting->set(camera, setting->values[i])), set), setting->name, "set");
    expect(ended(FRESH(setting->get(camera, &value)), get), setting->name, "get");
    if (set == DONE && get == DONE) expect(value == setting->values[i], setting->name, "another value");
    /* The strobe says how it stands, and fails all the same. */
    if (get == DONE || get == SILENT) continue;
    expect(value == (setting->off_on_failure ? 0 : setting->untouched), setting->name,
           "output of a failed getter");
  }
}

/* --- All else: each function makes its call, checks its outputs and returns the result. --- */

static void expect_output(uint32_t result, int value, int right, const char* function) {
  expect(value == (result == 0 ? right : UNTOUCHED), function, "output");
}

static uint32_t frame_rate(int camera) {
  return CameraSetFrameRate(camera, false, 12.5);
}

static uint32_t get_frame_rate(int camera) {
  bool fixed = true;
  double fps = UNTOUCHED;
  const uint32_t result = CameraGetFrameRate(camera, &fixed, &fps);
  if (stage == LIVE) expect(!fixed && fps == 12.5, __func__, "another rate");
  return result;
}

static uint32_t region(int camera) {
  const uint32_t result = CameraSetROI(camera, 64, 32, 320, 256);
  return result != 0 ? result : CameraSetResolution(camera, 0, NULL, NULL);
}

static uint32_t quarter_turn(int camera) {
  return CameraSetRotate(camera, 90) + CameraSetRotate(camera, 90) != 0;
}

static uint32_t image_buffer_size(int camera) {
  int size = UNTOUCHED;
  const uint32_t result = CameraGetImageBufferSize(camera, &size, KXCAM_FORMAT_COLOR);
  expect_output(result, size, WIDTH * HEIGHT * 3, __func__);
  return result;
}

static uint32_t isp_image_buffer_size(int camera) {
  int size = UNTOUCHED;
  const uint32_t result =
      CameraGetISPImageBufferSize(camera, &size, 100, 50, KXCAM_FORMAT_COLOR | KXCAM_FORMAT_32BIT);
  expect_output(result, size, 100 * 50 * 4, __func__);
  return result;
}

static uint8_t raw[WIDTH * HEIGHT];

static bool has_content(const uint8_t* bytes, size_t size) {
  for (size_t i = 1; i < size; ++i) {
    if (bytes[i] != bytes[0]) return true;
  }
  return false;
}

static uint32_t query_raw(int camera) {
  int size = WIDTH * HEIGHT;
  const uint32_t result = CameraQueryImage(camera, raw, &size, KXCAM_FORMAT_RAW);
  expect(has_content(raw, sizeof raw) == (result == 0), __func__, "the frame");
  return result;
}

static uint32_t query_in_ring(int camera) {
  int size = WIDTH * HEIGHT;
  int place = UNTOUCHED;
  const uint32_t result = CameraQueryImage2(camera, raw, &size, &place, KXCAM_FORMAT_GREY);
  expect(result == 0 ? place >= 0 && place <= 4 : place == UNTOUCHED, __func__, "place in the ring");
  memset(raw, 0, sizeof raw);
  return result;
}

static uint32_t query_words(int camera) {
  static uint32_t words[WIDTH * HEIGHT];
  int pixels = WIDTH * HEIGHT;
  return CameraQueryImageLV(camera, words, &pixels, KXCAM_FORMAT_COLOR);
}

static uint32_t develop(int camera) {
  static uint8_t picture[WIDTH * HEIGHT * 3];
  memset(raw, 200, sizeof raw);
  const uint32_t result = CameraISP(camera, raw, picture, WIDTH, HEIGHT, KXCAM_FORMAT_COLOR);
  expect((picture[0] > 100) == (stage >= LIVE), __func__, "the picture");
  memset(raw, 0, sizeof raw);
  return result;
}

static uint32_t exposure_time(int camera) {
  int lines = 0;
  double unit = 0;
  double milliseconds = UNTOUCHED;
  const uint32_t result = CameraGetExposureTime(camera, &milliseconds);
  if (result != 0) return result;
  CameraGetExposure(camera, &lines);
  CameraGetExposureUnit(camera, &unit);
  expect(unit >= 0 && milliseconds == lines * unit, __func__, "not lines times unit");
  return result;
}

static uint32_t white_balance_gains(int camera) {
  return CameraSetWBGain(camera, 1.5, 1.0, 2.0);
}

static uint32_t get_white_balance_gains(int camera) {
  double r = UNTOUCHED;
  double g = UNTOUCHED;
  double b = UNTOUCHED;
  const uint32_t result = CameraGetWBGain(camera, &r, &g, &b);
  expect(result == 0 ? r == 1.5 && g == 1.0 && b == 2.0 : r == UNTOUCHED, __func__, "output");
  return result;
}

static uint32_t lookup_table(int camera) {
  static const uint8_t table[] = {3, 1, 4};
  return CameraSetLUT(camera, table, 3);
}

static uint32_t get_lookup_table(int camera) {
  uint8_t table[] = {0, 0, 0, 9};
  int length = 3;
  const uint32_t result = CameraGetLUT(camera, table, &length);
  static const uint8_t stored[] = {3, 1, 4, 9};
  expect((memcmp(table, stored, sizeof stored) == 0) == (result == 0), __func__, "output");
  return result;
}

static uint32_t software_trigger(int camera) {
  CameraSetSnapMode(camera, 2);
  const uint32_t result = FRESH(CameraTriggerShot(camera));
  const int code = last_error;
  CameraSetSnapMode(camera, 1);
  last_error = code;
  return result;
}

static uint32_t drive_lines(int camera) {
  return CameraSetGPIO(camera, 0x03, 0x01);
}

static uint32_t save_settings(int camera) {
  return CameraSaveParameter(camera, 1);
}

static uint32_t load_settings(int camera) {
  int gain = 0;
  CameraSetGain(camera, 55);
  const uint32_t result = FRESH(CameraLoadParameter(camera, 1));
  if (result != 0) return result;
  CameraGetGain(camera, &gain);
  expect(gain == 16, __func__, "the stored gain is not back");
  return result;
}

static uint32_t serial_number(int camera) {
  char serial[13] = "";
  const uint32_t result = CameraReadSerialNumber(camera, serial, sizeof serial);
  const char* right = result == 0 && stage == LIVE ? "EVERYONE0001" : "";
  expect(strcmp(serial, right) == 0, __func__, "output");
  return result;
}

static uint32_t user_data(int camera) {
  return CameraWriteUserData(camera, "bay 7", 5);
}

static uint32_t read_user_data(int camera) {
  char data[6] = "";
  const uint32_t result = CameraReadUserData(camera, data, 5);
  expect(strcmp(data, result == 0 ? "bay 7" : "") == 0, __func__, "output");
  return result;
}

/* --- Numbers that the camera tells, within bounds. --- */

struct number {
  const char* name;
  uint32_t (*get)(int, int*);
  int least;
  int greatest;
  enum outcome without_device;
};

static const struct number numbers[] = {
    {"FirmVersion", CameraGetFirmVersion, 0, 0x8310, DONE},
    {"ResolutionCount", CameraGetResolutionCount, 1, 100, NO_DEVICE},
    {"ImageDepth", CameraGetImageDepth, 8, 8, DONE},
    {"Avg", CameraGetAvg, 0, 255, DONE},
    {"GPIO", CameraGetGPIO, 0, 255, NO_DEVICE},
};

static void check_number(int camera, const struct number* number) {
  const enum outcome outcome = at_stage(DONE, number->without_device);
  int value = UNTOUCHED;
  expect(ended(FRESH(number->get(camera, &value)), outcome), number->name, "get");
  const bool in_range = value >= number->least && value <= number->greatest;
  expect(outcome == DONE ? in_range : value == UNTOUCHED, number->name, "output");
}

static uint32_t preset_size(int camera, int* width, int* height) {
  return CameraGetResolution(camera, 0, width, height);
}

static uint32_t select_preset(int camera, int* width, int* height) {
  return CameraSetResolution(camera, 0, width, height);
}

struct extent {
  const char* name;
  uint32_t (*get)(int, int*, int*);
  enum outcome without_device;
};

static const struct extent extents[] = {
    {"ResolutionMax", CameraGetResolutionMax, NO_DEVICE},
    {"Resolution", preset_size, NO_DEVICE},
    {"SetResolution", select_preset, NO_DEVICE},
    {"ImageSize", CameraGetImageSize, DONE},
};

static void check_extent(int camera, const struct extent* extent) {
  int width = UNTOUCHED;
  int height = UNTOUCHED;
  const uint32_t result = FRESH(extent->get(camera, &width, &height));
  expect(ended(result, at_stage(DONE, extent->without_device)), extent->name, "result");
  expect_output(result, width, WIDTH, extent->name);
  expect_output(result, height, HEIGHT, extent->name);
}

struct operation {
  const char* name;
  uint32_t (*call)(int);
  enum outcome without_device;
};

static const struct operation operations[] = {
    {"Reset", CameraReset, DONE},
    {"SetFrameRate", frame_rate, NO_DEVICE},
    {"GetFrameRate", get_frame_rate, DONE},
    {"SetROI", region, NO_DEVICE},
    {"SetRotate", quarter_turn, DONE},
    {"GetImageBufferSize", image_buffer_size, DONE},
    {"GetISPImageBufferSize", isp_image_buffer_size, DONE},
    {"QueryImage", query_raw, NO_DEVICE},
    {"QueryImage2", query_in_ring, NO_DEVICE},
    {"QueryImageLV", query_words, NO_DEVICE},
    {"ISP", develop, DONE},
    {"GetExposureTime", exposure_time, DONE},
    {"SetWBGain", white_balance_gains, DONE},
    {"GetWBGain", get_white_balance_gains, DONE},
    {"OnePushWB", CameraOnePushWB, DONE},
    {"SetLUT", lookup_table, DONE},
    {"GetLUT", get_lookup_table, DONE},
    {"ClearHostBuffer", CameraClearHostBuffer, NO_DEVICE},
    {"TriggerShot", software_trigger, NO_DEVICE},
    {"SetGPIO", drive_lines, NO_DEVICE},
    {"SaveParameter", save_settings, NO_DEVICE},
    {"LoadParameter", load_settings, NO_DEVICE},
    {"ReadSerialNumber", serial_number, DONE},
    {"WriteUserData", user_data, NO_DEVICE},
    {"ReadUserData", read_user_data, NO_DEVICE},
    {"Reconnect", CameraReconnect, NO_DEVICE},
};

#define COUNT(table) (sizeof(table) / sizeof *(table))

static void check_camera(int camera) {
  for (size_t i = 0; i < COUNT(settings); ++i) check_setting(camera, &settings[i]);
  for (size_t i = 0; i < COUNT(numbers); ++i) check_number(camera, &numbers[i]);
  for (size_t i = 0; i < COUNT(extents); ++i) check_extent(camera, &extents[i]);
  for (size_t i = 0; i < COUNT(operations); ++i) {
    const uint32_t result = FRESH(operations[i].call(camera));
    const enum outcome outcome = at_stage(DONE, operations[i].without_device);
    /* The queries say nothing of the index. */
    const bool silent = outcome == INDEX && strncmp(operations[i].name, "QueryImage", 10) == 0;
    expect(ended(result, silent ? SILENT : outcome), operations[i].name, "result");
  }
}

/* The camera on the bus is the same at every stage. */
static void check_discovery(void) {
  char serial[16] = "";
  char name[64] = "";
  int count = 0;
  int row = UNTOUCHED;
  int product_id = UNTOUCHED;
  int code = UNTOUCHED;
  expect(CameraGetCount(&count) == 0 && count == 1, "GetCount", "one camera");
  expect(CameraGetName(0, serial, name) == 0, "GetName", "result");
  expect(strcmp(serial, "EVERYONE0001") == 0 && strcmp(name, "bench(0)") == 0, "GetName", "outputs");
  expect(CameraGetID(0, &row, &product_id) == 0, "GetID", "result");
  expect(row == 41 && product_id == PRODUCT_ID, "GetID", "outputs");
  expect(CameraGetName(1, serial, name) == 1, "GetName", "there is no second camera");
  expect(CameraGetID(-1, &row, &product_id) == 1 && last_error == KXCAM_ERROR_INDEX, "GetID", "index");
  expect(CameraGetLastError(&code) == 0 && code == KXCAM_ERROR_INDEX, "GetLastError", "copy");
}

static void expect_occupied(int camera) {
  expect(ended(FRESH(CameraInit(camera)), IN_USE), "Init", "the index is taken");
  expect(ended(FRESH(CameraInitIO(camera)), IN_USE), "InitIO", "the index is taken");
  expect(ended(FRESH(CameraInitVirtual(camera, PRODUCT_ID, NULL)), IN_USE), "InitVirtual",
         "the index is taken");
}

int main(void) {
  int major = 0;
  int minor = 0;
  plug_in_camera(CAMERA_OPTIONS);

  stage = IMPOSSIBLE;
  check_camera(-1);
  check_camera(256);

  stage = CLOSED;
  expect(CameraGetVersion(&major, &minor) == 0 && major == 2019 && minor == 1013, "GetVersion", "version");
  expect(logfile[0] == '\0' && pidfile[0] == '\0', "logfile, pidfile", "nothing was configured");
  check_discovery();
  check_camera(0);
  expect(CameraFree(0) == 0, "Free", "freeing nothing");

  stage = LIVE;
  expect(CameraInit(0) == 0, "Init", "result");
  expect_occupied(0);
  check_camera(0);
  expect(CameraFree(0) == 0, "Free", "result");

  expect(CameraInitIO(0) == 0, "InitIO", "result");
  expect_occupied(0);
  expect(CameraFree(0) == 0, "Free", "result");

  stage = VIRTUAL;
  expect(CameraInitVirtual(7, PRODUCT_ID, NULL) == 0, "InitVirtual", "result");
  expect_occupied(7);
  check_camera(7);
  expect(CameraFree(7) == 0, "Free", "result");

  check_discovery();
  expect(unplug_cameras() == 0, "Free", "a node is left open, or a request was none of the camera's");
  return failures == 0 ? 0 : 1;
}
