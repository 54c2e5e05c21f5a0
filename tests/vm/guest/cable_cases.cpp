// SPDX-License-Identifier: Apache-2.0

// Cables pulled and put in again.

#include <array>
#include <atomic>

#include <kxcam/kxcam.h>

#include "bench.h"
#include "check.h"

namespace vm {
namespace {

void unplugged_while_streaming() {
  {
    OpenCamera camera(kFiveMegapixels);
    camera.numbered_frames(3);
    tell_host("unplug 1");
    int lines = 0;
    eventually([&] { return CameraGetGPIO(camera.index(), &lines) != 0; });
    const auto begin = Clock::now();
    require_equal(code_of_failure(CameraGetGPIO(camera.index(), &lines), "CameraGetGPIO"),
                  KXCAM_ERROR_READ_REQUEST, "code");
    measured("a request to a camera that has left", milliseconds_since(begin), "ms");
    require_between(milliseconds_since(begin), 0, 5000, "milliseconds until a request fails");
    // Frames that were complete before are still delivered.
    camera.wait_for_no_frame();
    require_equal(code_of_failure(CameraWriteUserData(camera.index(), "x", 1), "CameraWriteUserData"),
                  KXCAM_ERROR_WRITE_REQUEST, "code of CameraWriteUserData");
    require_equal(code_of_failure(CameraReconnect(camera.index()), "CameraReconnect"), KXCAM_ERROR_NO_DEVICE,
                  "code of CameraReconnect");
  }
  wait_for_cameras(0);
  tell_host("plug 1");
  wait_for_cameras(1);
  OpenCamera camera(kFiveMegapixels);
  camera.numbered_frames(3);
}

void reconnected() {
  OpenCamera camera(kFiveMegapixels);
  camera.set_exposure(432);
  camera.numbered_frames(3);
  tell_host("unplug 1");
  wait_for_cameras(0);
  tell_host("plug 1");
  const auto begin = Clock::now();
  camera.reconnect();
  measured("reconnecting, from the plug on", milliseconds_since(begin), "ms");
  require_equal(camera.exposure(), 432, "exposure");
  camera.numbered_frames(5);
}

void shaken() {
  OpenCamera camera(kFiveMegapixels);
  tell_host("fault camera 1 unplug after 4 frames back after 20ms");
  eventually([&] {
    int lines = 0;
    return CameraGetGPIO(camera.index(), &lines) != 0;
  });
  camera.reconnect();
  camera.numbered_frames(3);
}

void unplugged_during_a_request() {
  OpenCamera camera(kFiveMegapixels);
  tell_host("fault camera 1 request 1 of B0 timeout; camera 1 unplug after 1 requests");
  std::array<char, 10> bytes{};
  uint32_t result = 0;
  const auto begin = Clock::now();
  // The command may take a moment to arrive.
  eventually([&] { return (result = CameraReadUserData(camera.index(), bytes.data(), bytes.size())) != 0; });
  require_equal(code_of_failure(result, "CameraReadUserData"), KXCAM_ERROR_READ_REQUEST, "code");
  require_between(milliseconds_since(begin), 0, 5000, "milliseconds until the request failed");
  wait_for_cameras(0);
  tell_host("mend");
  tell_host("plug 1");
  camera.reconnect();
  camera.numbered_frames(2);
}

void other_side_killed() {
  OpenCamera camera(kFiveMegapixels);
  camera.numbered_frames(2);
  tell_host("kill");
  wait_for_cameras(0);
  tell_host("start");
  // A process of its own has a camera with settings of its own, but the serial number is the same.
  camera.reconnect();
  camera.numbered_frames(3);
}

/// Last of all: transfers without a claimed interface, for one, the kernel carries out, but reports.
void no_complaints() {
  for (const char* complaint : {"did not claim", "WARNING:", "BUG:", "rejected"}) {
    const auto reports = kernel_reports(complaint);
    if (!reports.empty())
      throw Failure(std::to_string(reports.size()) + " reports, first " + reports.front());
  }
  require(!kernel_reports("idVendor=a7b7").empty(), "the kernel's reports cannot be read");
}

}  // namespace

const std::vector<Case> cables = {
    {"a camera is unplugged while frames stream", unplugged_while_streaming},
    {"a camera is unplugged, plugged in and reconnected", reconnected},
    {"a loose plug is survived", shaken},
    {"a camera is unplugged during a request", unplugged_during_a_request},
};

const std::vector<Case> aftermath = {
    {"the simulation is killed and started again", other_side_killed},
    {"the kernel has nothing to complain of", no_complaints},
};

}  // namespace vm
