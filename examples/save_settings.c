/* SPDX-License-Identifier: Apache-2.0 */
/* Stores settings in the camera, closes it, opens it again and shows that they are back. */
#include <stdio.h>

#include <kxcam/kxcam.h>

static int fail(const char* action) {
  fprintf(stderr, "%s failed: code %d\n", action, last_error);
  return 1;
}

static int store(void) {
  if (CameraSetExposure(0, 200) != 0) return fail("setting the exposure");
  if (CameraSetGain(0, 32) != 0) return fail("setting the gain");
  if (CameraSetGamma(0, 1.8) != 0) return fail("setting the gamma");
  if (CameraSaveParameter(0, 0) != 0) return fail("saving"); /* slot 0 is the one loaded at open */
  return 0;
}

static int show(void) {
  int exposure, gain;
  double milliseconds, gamma;
  if (CameraGetExposure(0, &exposure) != 0 || CameraGetExposureTime(0, &milliseconds) != 0 ||
      CameraGetGain(0, &gain) != 0 || CameraGetGamma(0, &gamma) != 0)
    return fail("reading back");
  printf("exposure %d lines (%.2f ms), gain %d, gamma %.2f\n", exposure, milliseconds, gain, gamma);
  return 0;
}

static int with_camera(int (*action)(void)) {
  if (CameraInit(0) != 0) return fail("opening");
  int failed = action();
  CameraFree(0);
  return failed;
}

int main(void) {
  return with_camera(store) || with_camera(show);
}
