/* SPDX-License-Identifier: Apache-2.0 */
/* For a program that is slower than its camera: always the newest picture, and what became of the others.
 * newest_frame SERIAL */
#define _POSIX_C_SOURCE 199309L /* of clock_gettime() and nanosleep() */
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include <kxcam/extra.h>

static double age_ms(const struct kxcam_frame* frame) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return ((double)now.tv_sec * 1e9 + (double)now.tv_nsec - (double)frame->arrived_ns) / 1e6;
}

static int look(int camera, unsigned char* picture, int size) {
  struct kxcam_frame frame;
  const int cause = kxcam_query(camera, picture, (size_t)size, KXCAM_FORMAT_COLOR, 5000, KXCAM_QUERY_NEWEST,
                                &frame, sizeof frame);
  if (cause != 0) {
    fprintf(stderr, "query: %s. %s\n", kxcam_error_text(cause), kxcam_error_remedy(cause));
    return 1;
  }
  printf("picture %llu, %.1f ms old\n", (unsigned long long)frame.sequence, age_ms(&frame));
  return 0;
}

int main(int argc, char** argv) {
  const struct timespec work = {.tv_sec = 0, .tv_nsec = 300000000};
  struct kxcam_statistics frames;
  unsigned char* picture;
  int camera = -1;
  int size = 0;
  int status = 0;
  if (argc != 2) {
    fprintf(stderr, "usage: %s SERIAL\n", argv[0]);
    return 2;
  }
  status = kxcam_open(argv[1], &camera);
  if (status != 0) {
    fprintf(stderr, "open: %s. %s\n", kxcam_error_text(status), kxcam_error_remedy(status));
    return 1;
  }
  CameraGetImageBufferSize(camera, &size, KXCAM_FORMAT_COLOR);
  picture = malloc((size_t)size);
  for (int n = 0; n < 10 && status == 0; ++n) {
    status = look(camera, picture, size);
    nanosleep(&work, NULL);
  }
  if (kxcam_get_statistics(camera, &frames, sizeof frames) == 0) {
    printf("%llu of %llu frames delivered, %llu passed over; nothing was read for %.0f ms\n",
           (unsigned long long)frames.delivered, (unsigned long long)frames.ended,
           (unsigned long long)frames.passed_over, (double)frames.ring_full_ns / 1e6);
  }
  CameraFree(camera);
  free(picture);
  return status;
}
