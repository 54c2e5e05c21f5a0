/* SPDX-License-Identifier: Apache-2.0 */
/* Takes a colour picture with the first camera: first_picture > picture.ppm */
#include <stdio.h>
#include <stdlib.h>

#include <kxcam/kxcam.h>

static int take_picture(void) {
  int width, height, size;
  if (CameraGetImageSize(0, &width, &height) != 0) return 1;
  if (CameraGetImageBufferSize(0, &size, KXCAM_FORMAT_COLOR) != 0) return 1;
  unsigned char* picture = malloc((size_t)size);
  if (picture == NULL) return 1;
  CameraSetTimeout(0, 10000); /* how long it may take, in ms */
  int failed = CameraQueryImage(0, picture, &size, KXCAM_FORMAT_COLOR) != 0;
  if (!failed) {
    printf("P6\n%d %d\n255\n", width, height);
    fwrite(picture, 1, (size_t)size, stdout); /* rows of R, G, B */
  }
  free(picture);
  return failed;
}

int main(void) {
  if (CameraInit(0) != 0) {
    fprintf(stderr, "cannot open camera 0: code %d\n", last_error);
    return 1;
  }
  int failed = take_picture();
  if (failed) fprintf(stderr, "no picture: code %d\n", last_error);
  CameraFree(0);
  return failed;
}
