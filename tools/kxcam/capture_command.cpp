// SPDX-License-Identifier: Apache-2.0
#include <chrono>
#include <vector>

#include <kxcam/kxcam.h>

#include "camera.h"
#include "commands.h"
#include "controls.h"
#include "diagnosis.h"
#include "error.h"
#include "interrupt.h"
#include "picture_output.h"

namespace kxcam {
namespace {

void check_usage(const CaptureOptions& options, PixelFormat format) {
  if (format != PixelFormat::kRaw) return;
  if (options.settings.changes_orientation()) {
    throw Error(ExitCode::kUsage,
                "raw frames come as the sensor reads them and cannot be mirrored or rotated",
                "Leave out --mirror-x, --mirror-y and --rotate, or choose --format grey.");
  }
  if (options.settings.one_push) {
    throw Error(ExitCode::kUsage, "the white balance cannot be measured on raw frames",
                "Leave out --one-push, or choose --format colour.");
  }
}

/// The frames of one run: taken, encoded and written one after the other.
class Capture {
 public:
  Capture(const CaptureOptions& options, PictureOutput& pictures)
      : options_(options),
        pictures_(pictures),
        camera_(options.camera),
        format_(pictures.format(natural_format(camera_.identity().product_id))) {
    apply(options.settings, camera_);
  }

  void run() {
    if (options_.settings.auto_exposure) settle();
    if (options_.trigger) write_control(camera_, find_control("trigger"), 1);
    for (int i = 0; i < options_.skip; ++i) take_frame();
    for (int i = 0; i < options_.frames; ++i) {
      take_frame();
      pictures_.write(camera_.describe(format_, frame_), format_);
    }
  }

 private:
  void take_frame() {
    if (options_.trigger) camera_.require("triggering", CameraTriggerShot(camera_.index()));
    take_frame(format_);
  }

  /// Lets automatic exposure come to rest: it follows grey frames, and not every one. Where no steps of
  /// exposure and gain meet the target it goes on swinging about it.
  void settle() {
    constexpr int kMostFrames = 400;
    constexpr int kRestFrames = 16;
    constexpr int kSwings = 8;
    int rest = 0;
    int swings = 0;
    bool rising = false;
    double last = amplification();
    for (int i = 0; i < kMostFrames && rest < kRestFrames && swings < kSwings; ++i) {
      take_frame(PixelFormat::kGrey);
      const double now = amplification();
      rest = now == last ? rest + 1 : 0;
      if (now != last && (now > last) != rising) ++swings;
      if (now != last) rising = now > last;
      last = now;
    }
    if (rest < kRestFrames && swings < kSwings) {
      print_message("Exposure and gain are still changing: the brightness of the scene may vary.\n");
    }
  }

  double amplification() const {
    return read_control(camera_, find_control("exposure")) * read_control(camera_, find_control("gain"));
  }

  void take_frame(PixelFormat format) {
    const int code = camera_.query(format, std::chrono::milliseconds(options_.timeout_ms), frame_);
    if (interrupted()) throw Error(ExitCode::kFailure, "interrupted");
    if (code == 0) return;
    if (code != KXCAM_ERROR_NO_FRAME) throw camera_error(camera_.index(), "taking a frame", code);
    if (!camera_.answers()) throw camera_gone_error(camera_.index());
    throw no_frame_error(camera_.index(), options_.timeout_ms);
  }

  const CaptureOptions& options_;
  PictureOutput& pictures_;
  Camera camera_;
  PixelFormat format_;
  std::vector<uint8_t> frame_;
};

}  // namespace

void capture(const CaptureOptions& options, StandardOutput& output) {
  PictureOutput pictures(options.target, options.frames, output);
  check_usage(options, pictures.format(PixelFormat::kColour));
  Capture(options, pictures).run();
}

}  // namespace kxcam
