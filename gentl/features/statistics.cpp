// SPDX-License-Identifier: Apache-2.0
#include <array>

#include "features/feature_table.h"

namespace kxcam::gentl {

namespace {

struct Counter {
  const char* name;
  const char* tooltip;
  uint64_t kxcam_statistics::*member;
  const char* unit = "";
};

constexpr std::array kCounters = {
    Counter{"kxcamFramesEnded", "Frames whose end arrived, the lost ones too", &kxcam_statistics::ended},
    Counter{"kxcamFramesDelivered", "Frames that were delivered", &kxcam_statistics::delivered},
    Counter{"kxcamLostTooShort", "Frames with too few bytes: a bad cable, an overloaded bus",
            &kxcam_statistics::too_short},
    Counter{"kxcamLostTooLong", "Frames with too many bytes", &kxcam_statistics::too_long},
    Counter{"kxcamLostTimedOut", "Frames that stopped on their way", &kxcam_statistics::timed_out},
    Counter{"kxcamLostOldGeometry", "Frames from before a change of the region",
            &kxcam_statistics::old_geometry},
    Counter{"kxcamLostFlushed", "Frames dropped by a trigger, a change of mode or a reset",
            &kxcam_statistics::flushed},
    Counter{"kxcamLostPassedOver", "Frames dropped for a newer one", &kxcam_statistics::passed_over},
    Counter{"kxcamLostFailed", "Frames of which no picture could be made", &kxcam_statistics::failed},
    Counter{"kxcamBytesReceived", "Bytes of the image stream", &kxcam_statistics::bytes, "B"},
    Counter{"kxcamTransferErrors", "Reads of the image stream that failed",
            &kxcam_statistics::transfer_errors},
    Counter{"kxcamResets", "Times the camera was reset after such a failure", &kxcam_statistics::resets},
    Counter{"kxcamReconnects", "Times the camera was taken again", &kxcam_statistics::reconnects},
    Counter{"kxcamRingFullTime", "Time in which no frame could be read, as nobody took those that waited",
            &kxcam_statistics::ring_full_ns, "ns"},
};

}  // namespace

void add_statistics(FeatureTable& table) {
  Camera& camera = table.camera();
  for (const Counter& counter : kCounters) {
    table.add({.name = counter.name,
               .kind = Feature::Kind::kInteger,
               .category = "kxcamStatistics",
               .tooltip = counter.tooltip,
               .visibility = Feature::Visibility::kExpert,
               .standard = false,
               .unit = counter.unit,
               .get = [&camera, member = counter.member] {
                 return Value(static_cast<int64_t>(camera.statistics().*member));
               }});
  }
}

}  // namespace kxcam::gentl
