// SPDX-License-Identifier: Apache-2.0
#include "file_name_pattern.h"

#include <gtest/gtest.h>

#include "error.h"

namespace kxcam {
namespace {

std::string name(const char* pattern, int number, int total) {
  return FileNamePattern(pattern).name(number, total);
}

TEST(FileNamePattern, NumbersGoBeforeTheEnding) {
  EXPECT_EQ(name("frame.png", 1, 1), "frame.png");
  EXPECT_EQ(name("frame.png", 1, 2), "frame-0001.png");
  EXPECT_EQ(name("a.b/frame", 12, 12), "a.b/frame-0012");
  EXPECT_EQ(name("/x/.hidden", 2, 3), "/x/.hidden-0002");
  EXPECT_EQ(name("f.raw", 7, 10000), "f-00007.raw") << "names must sort by number";
}

TEST(FileNamePattern, ThePlaceIsTheUsers) {
  EXPECT_EQ(name("%d.png", 5, 100), "5.png");
  EXPECT_EQ(name("a%03d-b.png", 5, 100), "a005-b.png");
  EXPECT_EQ(name("a%3d.png", 5, 100), "a  5.png");
  EXPECT_EQ(name("%02d.png", 1234, 2000), "1234.png");
  EXPECT_EQ(name("%02d.png", 1, 1), "01.png") << "a place is filled for a single frame too";
  EXPECT_EQ(name("50%%_{}_%d%%.png", 5, 9), "50%_{}_5%.png");
  EXPECT_EQ(name("50%%.png", 2, 9), "50%-0002.png");
}

TEST(FileNamePattern, RefusesWhatPrintfWouldTakeOrTripOver) {
  for (const char* pattern : {"%s.png", "%n", "%", "a%", "%x", "%d%d", "%04d-%d", "%-4d", "%010d", "%ld",
                              "%*d", "%1$d", "% d", "%0", "%%%"}) {
    try {
      FileNamePattern refused(pattern);
      ADD_FAILURE() << pattern << " was accepted";
    } catch (const Error& error) {
      EXPECT_EQ(error.exit_code(), ExitCode::kUsage);
    }
  }
}

}  // namespace
}  // namespace kxcam
