// SPDX-License-Identifier: Apache-2.0
#include "isp/index_map.h"

#include <gtest/gtest.h>

namespace kxcam {
namespace {

struct Case {
  bool mirror_x, mirror_y, rotate;
  int (*place)(int x, int y, int w, int h);
};

constexpr Case kCases[] = {
    {false, false, false, [](int x, int y, int w, int) { return y * w + x; }},
    {true, false, false, [](int x, int y, int w, int) { return y * w + (w - 1 - x); }},
    {false, true, false, [](int x, int y, int w, int h) { return (h - 1 - y) * w + x; }},
    {true, true, false, [](int x, int y, int w, int h) { return (h - 1 - y) * w + (w - 1 - x); }},
    {false, false, true, [](int x, int y, int, int h) { return x * h + (h - 1 - y); }},
    {true, false, true, [](int x, int y, int w, int h) { return (w - 1 - x) * h + (h - 1 - y); }},
    {false, true, true, [](int x, int y, int, int h) { return x * h + y; }},
    {true, true, true, [](int x, int y, int w, int h) { return (w - 1 - x) * h + y; }},
};

TEST(IndexMap, PutsEveryPixelInItsPlaceInAllEightOrientations) {
  for (const auto& [w, h] : {std::pair{7, 4}, {1, 5}, {6, 1}, {1, 1}}) {
    for (const Case& c : kCases) {
      SCOPED_TRACE(::testing::Message() << w << "x" << h << " " << c.mirror_x << c.mirror_y << c.rotate);
      const IndexMap map(w, h, c.mirror_x, c.mirror_y, c.rotate);
      ASSERT_EQ(map.count(), w * h);
      for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
          EXPECT_EQ(map[y * w + x], c.place(x, y, w, h));
          EXPECT_EQ(map.origin() + x * map.column_step() + y * map.row_step(), c.place(x, y, w, h));
        }
      }
    }
  }
}

}  // namespace
}  // namespace kxcam
