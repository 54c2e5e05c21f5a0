// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <kxcam/extra.h>

#include "controls.h"
#include "formats.h"

namespace kxcam {

struct Region {
  int x;
  int y;
  int width;
  int height;

  /// "X,Y,WIDTH,HEIGHT". Throws Failure.
  static Region parse(const std::string& text);
};

/// An open camera; closed with the object. The functions may be called in any thread; what fails throws
/// Failure unless it says otherwise.
class Camera {
 public:
  /// The one with that serial number; if it is empty, the first one on the bus that nobody has open.
  explicit Camera(const std::string& serial);
  ~Camera();
  Camera(const Camera&) = delete;
  Camera& operator=(const Camera&) = delete;

  const kxcam_description& description() const { return description_; }
  /// Without blanks at its end.
  std::string serial() const;
  /// "camera KXSIM0000001"
  std::string name() const;

  std::optional<double> get(const kxcam_control& control) const;
  void set(const kxcam_control& control, double value) const;
  /// All that are not views, in the order of the table; returns the names of those that the camera does not
  /// offer.
  std::vector<std::string> set_all(const ControlValues& values) const;
  /// The views among them, whose meaning depends on all else.
  void set_views(const ControlValues& values) const;

  /// Full sizes of the presets, as raw frames have them.
  const std::vector<Size>& presets() const { return presets_; }
  /// Present size of raw frames.
  Size raw_size() const;
  bool turned() const;
  void select_preset(int number);
  void select_region(const Region& region);
  /// The preset in force; nothing while there is a region.
  std::optional<int> preset() const { return preset_; }

  /// The rate that the camera keeps to, or 0 of 1.
  FrameRate rate() const;
  void fix_rate(FrameRate rate) const;

  /// Of kxcam_query(), with its cause of failure.
  int query(void* picture, const PictureLayout& layout, int timeout_ms, kxcam_frame& frame) const;
  void interrupt(bool on) const { kxcam_interrupt(index_, on); }
  kxcam_statistics statistics() const;
  /// One attempt to bring back a camera that was unplugged or reset.
  bool reconnect() const;
  bool trigger() const;
  bool measure_white_balance() const;

 private:
  void require(const std::string& action, bool done) const;
  void read_presets();

  int index_ = -1;
  kxcam_description description_{};
  std::vector<Size> presets_;
  std::optional<int> preset_ = 0;
};

}  // namespace kxcam
