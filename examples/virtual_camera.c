/* SPDX-License-Identifier: Apache-2.0 */
/* Develops a stored raw frame without a camera: virtual_camera PRODUCT_ID < frame.raw > picture.ppm
 * where PRODUCT_ID is that of the model that took it, in hexadecimal; `kxcam list` shows it. */
#include <stdio.h>
#include <stdlib.h>

#include <kxcam/kxcam.h>

static const ISPParam settings = {
    .ccm = {1, 0, 0, 0, 1, 0, 0, 0, 1},
    .gamma = 1.8,
    .saturation = 1.2,
    .contrast = 1.0,
    .wb_gain_r = 1.3,
    .wb_gain_g = 1.0,
    .wb_gain_b = 1.5,
    .black_level = 5,
};

static int develop(unsigned char* raw, int raw_size, unsigned char* picture, int picture_size) {
  int width, height;
  if (CameraGetImageSize(0, &width, &height) != 0) return 1;
  if (fread(raw, 1, (size_t)raw_size, stdin) != (size_t)raw_size) {
    fprintf(stderr, "a frame of this model has %d bytes\n", raw_size);
    return 1;
  }
  if (CameraISP(0, raw, picture, width, height, KXCAM_FORMAT_COLOR) != 0) return 1;
  printf("P6\n%d %d\n255\n", width, height);
  return fwrite(picture, 1, (size_t)picture_size, stdout) != (size_t)picture_size;
}

static int run(void) {
  int raw_size, picture_size;
  if (CameraGetImageBufferSize(0, &raw_size, KXCAM_FORMAT_RAW) != 0) return 1;
  if (CameraGetImageBufferSize(0, &picture_size, KXCAM_FORMAT_COLOR) != 0) return 1;
  unsigned char* raw = malloc((size_t)raw_size);
  unsigned char* picture = malloc((size_t)picture_size);
  int failed = raw == NULL || picture == NULL || develop(raw, raw_size, picture, picture_size);
  free(raw);
  free(picture);
  return failed;
}

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: virtual_camera PRODUCT_ID < frame.raw > picture.ppm\n");
    return 2;
  }
  if (CameraInitVirtual(0, (int)strtol(argv[1], NULL, 16), &settings) != 0) {
    fprintf(stderr, "no virtual camera: code %d\n", last_error);
    return 1;
  }
  int failed = run();
  CameraFree(0);
  return failed;
}
