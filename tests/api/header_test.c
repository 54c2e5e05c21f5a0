/* SPDX-License-Identifier: Apache-2.0 */
/* The header as a C99 program sees it: every kind of function on a camera that is not open. */
#include <stdio.h>

#include <kxcam/kxcam.h>

static int failures = 0;

static void expect(int condition, const char* what) {
  if (!condition) {
    printf("failed: %s\n", what);
    ++failures;
  }
}

int main(void) {
  int value = 77;
  int other = 0;
  double real = 0.5;
  bool on = true;
  uint8_t byte = 0;

  expect(CameraGetLastError(&value) == 0 && value == KXCAM_ERROR_NONE_YET, "no error yet");
  expect(CameraGetVersion(&value, &other) == 0 && value == 2019 && other == 1013, "version");
  value = 77;
  expect(CameraGetLineHeight(5, &value) == 1 && value == 77, "a failed getter leaves its output alone");
  expect(last_error == KXCAM_ERROR_NOT_OPEN, "not open");
  expect(CameraGetMirrorX(5, &on) == 1 && !on, "a failed switch getter says off");
  expect(CameraGetGamma(5, &real) == 1 && real == 0.5, "a failed real getter leaves its output alone");
  expect(CameraSetGamma(5, 3.0) == 1 && last_error == KXCAM_ERROR_ARGUMENT,
         "the argument is checked before the slot");
  expect(CameraSetGamma(256, 3.0) == 1 && last_error == KXCAM_ERROR_INDEX,
         "the index is checked before the argument");
  expect(CameraSetGPIO(-1, 0, 0) == 1 && last_error == KXCAM_ERROR_INDEX, "a negative index is out of range");
  value = 1;
  last_error = KXCAM_ERROR_NONE_YET;
  expect(CameraQueryImage(300, &byte, &value, KXCAM_FORMAT_RAW) == 1 && last_error == KXCAM_ERROR_NONE_YET,
         "a query on an index out of range sets no code");
  expect(CameraISP(5, &byte, &byte, 1, 1, KXCAM_FORMAT_RAW) == 1 && last_error == KXCAM_ERROR_NOT_OPEN,
         "isp");
  expect(CameraFree(5) == 0, "freeing nothing succeeds");
  expect(CameraSetRotate(5, 90) == 1 && CameraReset(5) == 1 && CameraClearHostBuffer(5) == 1,
         "operations fail");
  return failures == 0 ? 0 : 1;
}
