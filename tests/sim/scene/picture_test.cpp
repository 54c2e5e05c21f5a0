// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <png.h>
#include <unistd.h>

#include "scene/scene.h"

namespace kxsim {
namespace {

using ::testing::HasSubstr;
using namespace std::string_literals;

/// Linear light of some sRGB bytes.
constexpr float kLinear64 = 0.05127F;
constexpr float kLinear128 = 0.21586F;
constexpr float kLinear200 = 0.57758F;

class Picture : public ::testing::Test {
 protected:
  ~Picture() override { std::filesystem::remove(path_); }

  std::shared_ptr<const Scene> load(const std::string& content) const {
    std::ofstream(path_, std::ios::binary) << content;
    return load_scene(path_);
  }

  /// What loading a file of that content complains of; the file is named.
  std::string complaint(const std::string& content) const {
    try {
      load(content);
      return "none";
    } catch (const std::runtime_error& error) {
      EXPECT_THAT(error.what(), HasSubstr(path_.string()));
      return error.what();
    }
  }

  /// Loads it and looks at its pixels, one row of them.
  void expect_pixels(const std::string& content, const std::vector<Light>& pixels) const {
    const auto scene = load(content);
    const float width = static_cast<float>(pixels.size());
    for (size_t x = 0; x < pixels.size(); ++x) {
      const Light light = scene->at((static_cast<float>(x) + 0.5F) / width, 0.5F, 1 / width, 1);
      EXPECT_NEAR(light.r, pixels[x].r, 2e-4) << x;
      EXPECT_NEAR(light.g, pixels[x].g, 2e-4) << x;
      EXPECT_NEAR(light.b, pixels[x].b, 2e-4) << x;
    }
  }

  const std::filesystem::path path_ =
      std::filesystem::temp_directory_path() / ("kxsim-picture-" + std::to_string(getpid()));
};

/// A PNG file of 2 x 1 pixels, each channel of the type that `format` calls for.
template <typename Sample, size_t kSamples>
std::string png_file(png_uint_32 format, const std::array<Sample, kSamples>& samples) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = 2;
  image.height = 1;
  image.format = format;
  std::string bytes(10'000, '\0');
  png_alloc_size_t size = bytes.size();
  EXPECT_NE(png_image_write_to_memory(&image, bytes.data(), &size, 0, samples.data(), 0, nullptr), 0);
  bytes.resize(size);
  return bytes;
}

TEST_F(Picture, ReadsPortableMapsAndPng) {
  expect_pixels("P6\n# three\n3 1 255\n\xFF\x00\x00\x00\xFF\x00\x40\x80\xC8"s,
                {{1, 0, 0}, {0, 1, 0}, {kLinear64, kLinear128, kLinear200}});
  expect_pixels("P6 1 1 65535\n\x40\x40\x80\x80\xC8\xC8", {{kLinear64, kLinear128, kLinear200}});
  // The second sample is larger than the file says samples are.
  expect_pixels("P5 2 1 1000\n\x01\xF6\xFF\xFF", {{kLinear128, kLinear128, kLinear128}, {1, 1, 1}});
  expect_pixels(png_file(PNG_FORMAT_RGB, std::array<uint8_t, 6>{64, 128, 200, 255, 0, 128}),
                {{kLinear64, kLinear128, kLinear200}, {1, 0, kLinear128}});
  expect_pixels(png_file(PNG_FORMAT_LINEAR_Y, std::array<uint16_t, 2>{6554, 32768}),
                {{0.1F, 0.1F, 0.1F}, {0.5F, 0.5F, 0.5F}});
  expect_pixels(png_file(PNG_FORMAT_GA, std::array<uint8_t, 4>{128, 255, 255, 0}),
                {{kLinear128, kLinear128, kLinear128}, {0, 0, 0}});
}

TEST_F(Picture, IsAveragedWhenShrunkAndInterpolatedWhenStretched) {
  const auto scene = load("P5 4 1 255\n\x00\xFF\xFF\x00"s);
  constexpr struct {
    float u, size, level;
  } kRows[] = {{0.5F, 1, 0.5F}, {0.25F, 0.5F, 0.5F}, {0.25F, 0.001F, 0.5F}, {0.1875F, 0.001F, 0.25F},
               {0, 0.001F, 0},  {1, 0.001F, 0},      {0.5F, 100, 0.5F}};
  for (const auto& row : kRows)
    EXPECT_NEAR(scene->at(row.u, 0.5F, row.size, row.size).g, row.level, 1e-4) << row.u;
}

TEST_F(Picture, SaysWhatIsWrongWithAFile) {
  const std::pair<std::string, const char*> rows[] = {
      {"", "neither a PNG nor"},
      {"hello, world", "neither a PNG nor"},
      {"P3 1 1 255\n0 0 0", "neither a PNG nor"},
      {"P5 # endless comment", "no width"},
      {"P5 -4 4 255\n", "no width"},
      {"P5 4", "no height"},
      {"P5 0 4 255\n", "width is 0"},
      {"P5 4 4 65536\n", "largest sample is over"},
      {"P5 4 4 0\n", "largest sample is 0"},
      {"P5 4 4 255", "not closed"},
      {"P5 99999999999999999999 4 255\n", "width is over"},
      {"P6 32767 32767 255\n", "40 million"},
      {"P6 4 4 255\nshort", "5 of 48 bytes"},
      {"P6 4 4 65535\n" + std::string(95, 'x'), "95 of 96 bytes"},
      {"P6 4 4 65535\n" + std::string(96, 'x'), "none"},
      // A PNG of 32000 x 32000 with a valid checksum, and no image data.
      {"\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\0\0\x7D\0\0\0\x7D\0\x08\x02\0\0\0\x0C\xE0\x45\x5A"
       "\0\0\0\x00IDAT\x35\xAF\x06\x1E"s,
       "40 million"}};
  for (const auto& [content, said] : rows) EXPECT_THAT(complaint(content), HasSubstr(said)) << content;
  const std::string png = png_file(PNG_FORMAT_RGB, std::array<uint8_t, 6>{});
  for (size_t size = 8; size < png.size() - 12; ++size)
    ASSERT_NE(complaint(png.substr(0, size)), "none") << size;
  for (const std::filesystem::path path : {"/nowhere", "/proc", "/dev/zero"})
    EXPECT_THROW(load_scene(path), std::runtime_error);
}

}  // namespace
}  // namespace kxsim
