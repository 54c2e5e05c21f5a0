// SPDX-License-Identifier: Apache-2.0

// Cameras that do not answer, or wrongly.

#include <kxcam/kxcam.h>

#include "bench.h"
#include "check.h"

namespace vm {
namespace {

void no_answer() {
  OpenCamera camera(kFiveMegapixels);
  camera.numbered_frames(2);
  tell_host("fault camera 1 request all timeout");
  int lines = 0;
  eventually([&] { return CameraGetGPIO(camera.index(), &lines) != 0; });
  const auto begin = Clock::now();
  require_equal(code_of_failure(CameraGetGPIO(camera.index(), &lines), "CameraGetGPIO"),
                KXCAM_ERROR_READ_REQUEST, "code");
  // Two attempts of 100 ms.
  require_between(milliseconds_since(begin), 195, 5000, "milliseconds until a request fails");
  measured("a request that is not answered", milliseconds_since(begin), "ms");
  camera.numbered_frames(8);
  tell_host("mend");
  require(eventually([&] { return CameraGetGPIO(camera.index(), &lines) == 0; }), "no answer any more");
}

void refused() {
  OpenCamera camera(kFiveMegapixels);
  tell_host("fault camera 1 request all of A5 stall");
  int lines = 0;
  require(eventually([&] { return CameraGetGPIO(camera.index(), &lines) != 0; }), "no request is refused");
  require_equal(last_error, KXCAM_ERROR_READ_REQUEST, "code");
  camera.set_exposure(50);
  camera.numbered_frames(2);
  tell_host("mend");
}

void no_frames() {
  OpenCamera camera(kFiveMegapixels);
  tell_host("fault camera 1 stream ends after 2");
  const double waited = camera.wait_for_no_frame();
  require_between(waited, 495, 5000, "milliseconds until a query fails");
  measured("a query without a frame", waited, "ms");
  tell_host("mend");
  camera.numbered_frames(2);
}

/// After the error the library resets the device, which stops its stream, until it is reconnected.
void stream_error(const std::string& kind) {
  OpenCamera camera(kFiveMegapixels);
  camera.numbered_frames(2);
  const int before = kernel_resets();
  tell_host("fault camera 1 bulk 1 " + kind);
  camera.wait_for_no_frame();
  require(kernel_resets() > before, "the device was not reset");
  camera.reconnect();
  camera.numbered_frames(3);
}

}  // namespace

const std::vector<Case> refusals = {
    {"a camera that answers no request fails in time", no_answer},
    {"a refused request fails, and others do not", refused},
    {"a query without a frame fails in time", no_frames},
    {"a stalled stream is reset and reconnected", [] { stream_error("stall"); }},
    {"a stream with an overflow is reset and reconnected", [] { stream_error("overflow"); }},
};

}  // namespace vm
