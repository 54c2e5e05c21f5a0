// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <gtest/gtest.h>

#include "calls.h"
#include "core/registry/contexts.h"
#include "core/registry/model_table.h"

namespace kxcam::test {

/// A slot outside the ordinary first ones, so that an index that is ignored shows.
inline constexpr int kCamera = 7;

inline void set_map(CameraContext& ctx, const IndexMap& map) {
  ctx.stream.index_map.store(std::make_shared<const IndexMap>(map));
}

/// A context of the first model of a colour mode, in its slot.
class ContextTest : public testing::Test {
 protected:
  /// Its frame has no size yet.
  ContextRef open(uint32_t color_mode) {
    vacate_slot(kCamera);
    int row = 0;
    while (model_table.at(static_cast<size_t>(row)).COLOR_MODE != color_mode) ++row;
    auto ctx = std::make_shared<CameraContext>(row);
    EXPECT_TRUE(occupy_slot(kCamera, ctx));
    return ctx;
  }
  ContextRef open(uint32_t color_mode, int width, int height, bool mirror_x = false, bool mirror_y = false,
                  bool rotate = false) {
    ContextRef ctx = open(color_mode);
    set_map(*ctx, IndexMap(width, height, mirror_x, mirror_y, rotate));
    return ctx;
  }

  void TearDown() override { vacate_slot(kCamera); }
};

}  // namespace kxcam::test
