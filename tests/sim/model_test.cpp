// SPDX-License-Identifier: Apache-2.0
#include "device/model.h"

#include <gtest/gtest.h>

#include "core/registry/model_table.h"

namespace kxsim {
namespace {

ColorMode mode_of(uint32_t color) {
  switch (color) {
    case kxcam::kRGGB:
      return ColorMode::kRggb;
    case kxcam::kBGGR:
      return ColorMode::kBggr;
    case kxcam::kGRBG:
      return ColorMode::kGrbg;
    case kxcam::kGBRG:
      return ColorMode::kGbrg;
    case kxcam::kMono12:
      return ColorMode::kMono12;
    default:
      return ColorMode::kMono8;
  }
}

TEST(Models, TheSimulatorAndTheLibraryKnowTheSame) {
  ASSERT_EQ(all_models().size(), kxcam::model_table.size());
  for (size_t row = 0; row < all_models().size(); ++row) {
    const Model& simulated = all_models()[row];
    const kxcam::CameraModel& known = kxcam::model_table[row];
    SCOPED_TRACE(known.MODEL);
    EXPECT_EQ(simulated.product_id, known.PID);
    EXPECT_EQ(simulated.sensor_id, known.MID);
    EXPECT_STREQ(simulated.name, known.MODEL);
    EXPECT_EQ(simulated.color, mode_of(known.COLOR_MODE));
    EXPECT_EQ(simulated.width, known.SENSOR_ARRAY.width);
    EXPECT_EQ(simulated.height, known.SENSOR_ARRAY.height);
    EXPECT_EQ(simulated.newer_bridge(), known.newer_bridge());
  }
}

}  // namespace
}  // namespace kxsim
