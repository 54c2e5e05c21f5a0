/* SPDX-License-Identifier: Apache-2.0 */
/* Pictures of two cameras in one thread: poll() waits for whichever has one. live_loop SERIAL SERIAL */
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>

#include <kxcam/extra.h>

enum { kCameras = 2, kPictures = 20 };

struct view {
  int camera;
  int size;
  unsigned char* picture;
};

static int failed(const char* action, int cause) {
  fprintf(stderr, "%s: %s. %s\n", action, kxcam_error_text(cause), kxcam_error_remedy(cause));
  return 1;
}

static int open_view(const char* serial, struct view* view, struct pollfd* wanted) {
  int cause = kxcam_open(serial, &view->camera);
  if (cause != 0) return failed(serial, cause);
  if (CameraGetImageBufferSize(view->camera, &view->size, KXCAM_FORMAT_COLOR) != 0)
    return failed("size", kxcam_thread_error());
  view->picture = malloc((size_t)view->size);
  wanted->events = POLLIN;
  cause = kxcam_frame_fd(view->camera, &wanted->fd);
  return cause == 0 && view->picture != NULL ? 0 : failed("descriptor", cause);
}

/* Takes the picture that poll() announced. */
static int take(const struct view* view) {
  struct kxcam_frame frame;
  const int cause = kxcam_query(view->camera, view->picture, (size_t)view->size, KXCAM_FORMAT_COLOR, 0, 0,
                                &frame, sizeof frame);
  if (cause == KXCAM_ERROR_NO_FRAME) return 0; /* somebody else was faster */
  if (cause != 0) return failed("query", cause);
  printf("camera %d: picture %llu, %d x %d\n", view->camera, (unsigned long long)frame.sequence, frame.width,
         frame.height);
  return 0;
}

int main(int argc, char** argv) {
  struct view views[kCameras] = {{0}};
  struct pollfd wanted[kCameras] = {{0}};
  int status = 0;
  if (argc != 1 + kCameras) {
    fprintf(stderr, "usage: %s SERIAL SERIAL\n", argv[0]);
    return 2;
  }
  for (int i = 0; i < kCameras && status == 0; ++i) status = open_view(argv[1 + i], &views[i], &wanted[i]);
  for (int pictures = 0; pictures < kPictures && status == 0; ++pictures) {
    if (poll(wanted, kCameras, 5000) < 1) status = failed("poll", KXCAM_ERROR_NO_FRAME);
    for (int i = 0; i < kCameras && status == 0; ++i) {
      if ((wanted[i].revents & POLLIN) != 0) status = take(&views[i]);
    }
  }
  for (int i = 0; i < kCameras; ++i) {
    if (views[i].picture != NULL) CameraFree(views[i].camera);
    free(views[i].picture);
  }
  return status;
}
