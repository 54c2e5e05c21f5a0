// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>
#include <thread>

#include <libusb.h>

#include "core/acquisition/frame_geometry.h"
#include "core/acquisition/frame_ring.h"
#include "core/registry/camera_parameter.h"
#include "core/registry/model_table.h"
#include "isp/color_tables.h"
#include "isp/defects.h"
#include "isp/flat_field.h"
#include "isp/frame_memory.h"
#include "isp/index_map.h"
#include "sync/empty_locks.h"
#include "sync/shared_value.h"

namespace kxcam {

/// Bits of `open_flags`.
enum OpenFlag : int32_t {
  kOpenWithoutAcquisition = 0x1,  ///< no ring, no work tables, no reader
  kOpenInvertMirrorY = 0x2,       ///< the sense of mirror Y is inverted in the picture
};

/// Bits of `feature_bits`, the capability word of newer firmware.
enum FeatureBit : uint16_t {
  kTriggerUnit = 0x1,         ///< the bridge times trigger and strobe
  kBridgeAutoExposure = 0x2,  ///< the bridge can run an exposure loop of its own
  kGlobalReset = 0x4,         ///< all rows can start exposing together
};

struct SensorFamily;

/// An open USB device; the last holder closes it, so that a request that runs in another thread while
/// the camera is being closed ends on a valid handle.
using DeviceHandle = std::shared_ptr<libusb_device_handle>;

/// The interface of the device that carries the image stream.
inline constexpr int kImageInterface = 0;

/// Where a device is plugged in: the bus, and the ports on the way from its root hub; 0 beyond the last.
struct UsbPort {
  uint8_t bus = 0;
  std::array<uint8_t, 7> path{};

  bool operator==(const UsbPort&) const = default;
};

/// The device behind a camera. Set at open; the handle, the speed and the port also by a reconnect.
struct DevicePart {
  int32_t open_flags = 0;   ///< OpenFlag bits
  bool is_virtual = false;  ///< the pipeline alone: there never was a device
  int32_t firmware_version = 0;
  uint16_t feature_bits = 0;
  Relaxed<int32_t> usb_speed = 1;  ///< libusb's code minus 1: 0 low, 1 full, 2 high, 3 super speed
  Published<libusb_device_handle> usb_handle;
  std::atomic<UsbPort> port{};
};

/// What the reader met, since the camera was opened.
struct StreamCounters {
  Relaxed<uint64_t> bytes = 0;
  Relaxed<uint64_t> transfer_errors = 0;  ///< time-outs are none
  Relaxed<uint64_t> resets = 0;
  Relaxed<uint64_t> reconnects = 0;
};

/// Frames on their way from the device to the queries.
struct StreamPart {
  /// Ends the reader and all waits for frames.
  void stop() {
    running = false;
    if (ring != nullptr) ring->wake();
  }
  void set_geometry(FrameGeometry next) {
    geometry = next;
    if (ring != nullptr) ring->wake();
  }

  std::unique_ptr<FrameRing> ring;  ///< null without acquisition; set before the camera is published
  StreamCounters counters;
  Relaxed<uint32_t> frames_delivered = 0;
  std::atomic<bool> running = false;  ///< the reader keeps running and queries may wait
  std::mutex attachment_mutex;        ///< held while the device or the reader changes
  std::thread reader_thread;          ///< guarded by attachment_mutex
  std::atomic<FrameGeometry> geometry = FrameGeometry{640, 480, 1};
  Published<const ReadoutInForce> readout{std::make_shared<const ReadoutInForce>()};
  Published<const IndexMap> index_map;
};

/// What is known of the sensor's timing, and where automatic exposure stands. All Relaxed: a step that reads
/// half of a change is put right by the next frame's.
struct SensorPart {
  Relaxed<double> line_time_ms = 0.0;  ///< duration of one sensor line; 0 until it is known
  Relaxed<int32_t> flicker_lines = 0;  ///< lines in one half-period of the mains; 0 until it is known
  Relaxed<int32_t> ae_last_avg = 0;    ///< mean level when the last step was computed
  Relaxed<int32_t> ae_last_step = 0;   ///< lines; 0: no step waits for the picture to answer
};

/// The tables a picture is made with, and what the last one measured. Tables are replaced, never changed:
/// a frame is finished with those it began with.
struct PicturePart {
  Published<const ToneCurves> curves;
  Published<const ColorMatrix> matrix;
  Published<const UserLut> user_lut;
  Published<const DeadPixelList> dead_pixels;
  Published<const FlatField> flat_field;
  FrameMemoryPool frame_memory;
  Relaxed<int32_t> mean_level = 0;             ///< mean raw green (or mono) level of the last processed frame
  std::atomic<bool> one_push_request = false;  ///< measure the next Bayer frame as a grey world
  std::atomic<bool> auto_wb_request = false;   ///< measure the near-grey points of the next Bayer frame
  Relaxed<int32_t> wb_last_avg = 0;            ///< mean level when the automatic last asked for that
};

/// Everything the library keeps of one camera, open or virtual. Shared by the table of contexts, the
/// calls that are running and the reader thread; fields are either set before the context is
/// published, or Relaxed, Published or atomic, or guarded by a lock of their own. docs/architecture.md gives
/// the order of all locks.
struct CameraContext {
  /// A camera of that row of model_table with every setting at its default.
  explicit CameraContext(int32_t model_row);

  const CameraModel& model() const { return model_table[model_index]; }

  /// The exposure that is set, in milliseconds that fit an int32_t; 0 while the sensor's timing is not known.
  double exposure_ms() const {
    constexpr double kLongest = std::numeric_limits<int32_t>::max();
    const double ms = parameter.exposure * sensor.line_time_ms;
    return ms > 0 ? std::min(ms, kLongest) : 0;
  }

  const int32_t model_index;  ///< row of model_table
  const SensorFamily& family;
  CameraParameter parameter;  ///< the live settings
  DevicePart device;
  StreamPart stream;
  SensorPart sensor;
  PicturePart picture;

  // Exclude nothing: see sync/empty_locks.h.
  CRWLockImpl context_lock;
  std::array<CMyLock, 3> aux_lock;
};

}  // namespace kxcam
