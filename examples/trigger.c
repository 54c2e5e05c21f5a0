/* SPDX-License-Identifier: Apache-2.0 */
/* Takes three pictures, each at the moment that the program says. */
#include <stdio.h>
#include <stdlib.h>

#include <kxcam/kxcam.h>

static int take_triggered(unsigned char* picture, int size) {
  for (int i = 1; i <= 3; ++i) {
    int mean;
    if (CameraTriggerShot(0) != 0) return 1;
    if (CameraQueryImage(0, picture, &size, KXCAM_FORMAT_GREY) != 0) return 1;
    if (CameraGetAvg(0, &mean) != 0) return 1;
    printf("picture %d: mean level %d\n", i, mean);
  }
  return 0;
}

static int run(void) {
  int size;
  if (CameraSetSnapMode(0, 2) != 0) return 1;    /* one picture per trigger */
  if (CameraSetTimeout(0, 10000) != 0) return 1; /* how long a query waits for it, in ms */
  if (CameraGetImageBufferSize(0, &size, KXCAM_FORMAT_GREY) != 0) return 1;
  unsigned char* picture = malloc((size_t)size);
  if (picture == NULL) return 1;
  int failed = take_triggered(picture, size);
  free(picture);
  CameraSetSnapMode(0, 1); /* free run again */
  return failed;
}

int main(void) {
  if (CameraInit(0) != 0) {
    fprintf(stderr, "cannot open camera 0: code %d\n", last_error);
    return 1;
  }
  int failed = run();
  if (failed) fprintf(stderr, "failed: code %d\n", last_error);
  CameraFree(0);
  return failed;
}
