// SPDX-License-Identifier: Apache-2.0
#include "device/model.h"

#include <algorithm>
#include <utility>

#include <gtest/gtest.h>

#include "core/registry/model_table.h"

namespace kxsim {
namespace {

constexpr std::pair<uint32_t, ColorMode> kColors[] = {
    {kxcam::kRGGB, ColorMode::kRggb},   {kxcam::kBGGR, ColorMode::kBggr},
    {kxcam::kGRBG, ColorMode::kGrbg},   {kxcam::kGBRG, ColorMode::kGbrg},
    {kxcam::kMono8, ColorMode::kMono8}, {kxcam::kMono12, ColorMode::kMono12}};

TEST(Models, TheSimulatorAndTheLibraryKnowTheSame) {
  ASSERT_EQ(all_models().size(), kxcam::model_table.size());
  for (size_t row = 0; row < all_models().size(); ++row) {
    const Model& simulated = all_models()[row];
    const kxcam::CameraModel& known = kxcam::model_table[row];
    SCOPED_TRACE(known.MODEL);
    EXPECT_EQ(simulated.product_id, known.PID);
    EXPECT_EQ(simulated.sensor_id, known.MID);
    EXPECT_STREQ(simulated.name, known.MODEL);
    EXPECT_EQ(std::ranges::count(kColors, std::pair(known.COLOR_MODE, simulated.color)), 1);
    EXPECT_EQ(simulated.width, known.SENSOR_ARRAY.width);
    EXPECT_EQ(simulated.height, known.SENSOR_ARRAY.height);
    EXPECT_EQ(simulated.newer_bridge(), known.newer_bridge());
  }
}

}  // namespace
}  // namespace kxsim
