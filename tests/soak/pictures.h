// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "random.h"
#include "stage.h"

namespace kxcam::soak {

/// Queries one camera in all formats, and looks at what it gets.
class PictureTaker {
 public:
  PictureTaker(Stage& stage, int index, uint64_t seed);

  /// Takes pictures until the run ends.
  void run();
  /// Takes one raw frame, outside a run; false when none came.
  bool take_raw();

 private:
  struct Query;

  void act();
  bool take(const Query& query, int* size);
  bool take_one(const Query& query);
  void take_wrong_size();
  void develop_own_frame();
  void check_raw(std::span<const uint8_t> frame);
  void check_picture(std::span<const uint8_t> picture, const Query& query);
  SoakCamera& camera() const { return *stage_.at_index[static_cast<size_t>(index_)]; }

  Stage& stage_;
  const int index_;
  Random random_;
  std::vector<uint32_t> image_;  // grows to the largest picture
  std::vector<uint8_t> raw_;
  std::vector<uint64_t> last_number_;  // raw frames of this thread, by camera
};

}  // namespace kxcam::soak
