/* SPDX-License-Identifier: Apache-2.0 */
/* The loop that overhead.py compares with: the same calls, from C. */
#define _POSIX_C_SOURCE 200809L

#include <poll.h>
#include <time.h>

#include <kxcam/extra.h>

static double cpu_us(void) {
  struct timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return (double)now.tv_sec * 1e6 + (double)now.tv_nsec / 1e3;
}

/* CPU time of the calling thread for each frame, in microseconds; below 0 when one fails. */
KXCAM_API double frame_us(int camera, void* image, size_t size, int format, int frames) {
  struct pollfd wanted = {.fd = -1, .events = POLLIN};
  if (kxcam_frame_fd(camera, &wanted.fd) != 0) return -1;
  const double begin = cpu_us();
  for (int taken = 0; taken < frames;) {
    struct kxcam_frame frame;
    if (poll(&wanted, 1, 5000) != 1) return -1;
    const int cause = kxcam_query(camera, image, size, format, 0, 0, &frame, sizeof frame);
    if (cause != 0 && cause != KXCAM_ERROR_NO_FRAME) return -1;
    if (cause == 0) ++taken;
  }
  return (cpu_us() - begin) / frames;
}
