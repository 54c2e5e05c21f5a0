// SPDX-License-Identifier: Apache-2.0
#include "image_writer.h"

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "saved_picture.h"

namespace kxcam {
namespace {

using testing::ElementsAre;

std::string text_of(const std::vector<uint8_t>& bytes) {
  return {bytes.begin(), bytes.end()};
}

TEST(ImageWriter, EightBitPicturesComeBackAsTheyWere) {
  const std::vector<uint8_t> samples = {0, 10, 13, 26, 127, 128, 200, 201, 254, 255, 1, 2};
  const Picture grey{.width = 4, .height = 3, .channels = 1, .bits = 8, .samples = samples};
  const Picture colour{.width = 1, .height = 4, .channels = 3, .bits = 8, .samples = samples};
  for (const Picture& picture : {grey, colour}) {
    const FileType pnm = picture.channels == 3 ? FileType::kPpm : FileType::kPgm;
    for (const SavedPicture& saved :
         {read_png(text_of(encode(FileType::kPng, picture))), read_pnm(text_of(encode(pnm, picture)))}) {
      EXPECT_EQ(saved.width, picture.width);
      EXPECT_EQ(saved.height, picture.height);
      EXPECT_EQ(saved.channels, picture.channels);
      EXPECT_EQ(saved.maximum, 255);
      EXPECT_EQ(saved.samples, std::vector<int>(samples.begin(), samples.end()));
    }
    EXPECT_EQ(encode(FileType::kRaw, picture), samples);
  }
}

// 0, 1, 2048, 4095 and 0xF000, which is more than 12 bits hold, all low byte first.
TEST(ImageWriter, TwelveBitSamplesKeepTheirBits) {
  const std::vector<uint8_t> samples = {0, 0, 1, 0, 0, 8, 0xFF, 0x0F, 0, 0xF0, 0x34, 0x02};
  const Picture picture{.width = 3, .height = 2, .channels = 1, .bits = 12, .samples = samples};

  const SavedPicture pgm = read_pnm(text_of(encode(FileType::kPgm, picture)));
  EXPECT_EQ(pgm.maximum, 4095);
  EXPECT_THAT(pgm.samples, ElementsAre(0, 1, 2048, 4095, 4095, 0x234));

  const SavedPicture png = read_png(text_of(encode(FileType::kPng, picture)));
  EXPECT_EQ(png.maximum, 0xFFFF);
  EXPECT_THAT(png.samples, ElementsAre(0, 16, 0x8008, 0xFFFF, 0xFFFF, 0x2342));

  EXPECT_EQ(encode(FileType::kRaw, picture), samples);
}

TEST(ImageWriter, RefusesASizeThatDoesNotFitTheSamples) {
  const std::vector<uint8_t> samples(12);
  for (const Picture& picture : {Picture{.width = 4, .height = 4, .samples = samples},
                                 Picture{.width = 4, .height = 3, .channels = 3, .samples = samples},
                                 Picture{.width = 4, .height = 3, .bits = 12, .samples = samples},
                                 Picture{.width = -4, .height = -3, .samples = samples},
                                 Picture{.width = 0, .height = 0, .samples = {}}}) {
    EXPECT_THROW(encode(FileType::kPng, picture), std::invalid_argument);
    EXPECT_THROW(encode(FileType::kPgm, picture), std::invalid_argument);
  }
}

TEST(ImageWriter, TypeFollowsTheEnding) {
  EXPECT_EQ(file_type_of("a/b.PNG"), FileType::kPng);
  EXPECT_EQ(file_type_of("x.%04d.ppm"), FileType::kPpm);
  EXPECT_EQ(file_type_of("x.pgm"), FileType::kPgm);
  EXPECT_EQ(file_type_of("x.raw"), FileType::kRaw);
  for (const char* name : {"x", ".png", "x.jpeg", "x.", "png/x", "-", ""}) {
    EXPECT_EQ(file_type_of(name), std::nullopt) << name;
  }
}

}  // namespace
}  // namespace kxcam
