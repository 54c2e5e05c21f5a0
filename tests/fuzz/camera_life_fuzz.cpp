// SPDX-License-Identifier: Apache-2.0
// Lives of cameras whose replies, descriptors and memories come from the input, as does what is called:
// nothing may be touched outside a buffer, waited for without end or left open.
#include <cstdlib>
#include <sstream>

#include "camera_calls.h"
#include "core/registry/contexts.h"
#include "core/registry/discovery.h"
#include "core/registry/model_table.h"
#include "kxcam/kxcam.h"
#include "memory_file.h"
#include "require.h"
#include "scripted_usb.h"
#include "virtual_time.h"

namespace kxcam {
namespace {

constexpr int kMostCalls = 200;

/// Lists as many models as the library's table takes; the last ones are reached with the generic id.
std::string configuration() {
  std::ostringstream file;
  file << std::hex << "<VPD>\n" << kForeignVendor << ' ' << kForeignProduct << " foreign\n";
  file << kCameraVendor << ' ' << kGenericProduct << " generic\n";
  for (const CameraModel& model : model_table) file << kCameraVendor << ' ' << model.PID << " camera\n";
  file << "</VPD>\n";
  return file.str();
}

/// Whatever a camera says of its frames, they fit what was allocated for them.
void check_geometry(int index) {
  if (index < 0 || index >= kMaxCameras) return;
  const ContextRef camera = context_at(index);
  if (camera == nullptr || camera->stream.ring == nullptr) return;
  const FrameGeometry geometry = camera->stream.geometry;
  require(geometry.pixels() >= 1 && geometry.pixels() <= camera->model().SENSOR_ARRAY.pixels(),
          "a frame is no larger than the sensor");
  require(geometry.bytes_per_pixel == 1 || geometry.bytes_per_pixel == 2, "a sample has one byte or two");
}

void live(Input input) {
  ScriptedBus bus(input);
  int camera = 0;
  CameraInit(camera);
  for (int calls = 0; calls < kMostCalls && !input.empty(); ++calls) {
    make_call(input, bus, camera);
    check_geometry(camera);
  }
  for (int i = 0; i < kMaxCameras; ++i) {
    if (CameraReset(i) == 0) CameraFree(i);
  }
  refuse_next_reader(false);
  require(!any_reader(), "every reader is joined");
}

}  // namespace
}  // namespace kxcam

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  static const kxcam::MemoryFile file;
  const std::string text = kxcam::configuration();
  file.write({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
  setenv("KXUSB_CONF", file.path().c_str(), 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kxcam::live(kxcam::Input({data, size}));
  return 0;
}
