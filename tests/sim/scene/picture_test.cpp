// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
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
  Picture() { std::filesystem::create_directories(folder_); }
  ~Picture() override { std::filesystem::remove_all(folder_); }

  std::filesystem::path file(const std::string& content) const {
    std::filesystem::path path = folder_ / "picture";
    std::ofstream(path, std::ios::binary) << content;
    return path;
  }

  /// What loading a file of that content complains of.
  std::string complaint(const std::string& content) const {
    try {
      load_scene(file(content));
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "none";
  }

  std::filesystem::path folder_ =
      std::filesystem::temp_directory_path() / ("kxsim-picture-" + std::to_string(getpid()));
};

void expect_light(const Light& light, float r, float g, float b) {
  EXPECT_NEAR(light.r, r, 2e-4);
  EXPECT_NEAR(light.g, g, 2e-4);
  EXPECT_NEAR(light.b, b, 2e-4);
}

Light pixel(const Scene& scene, int width, int height, int x, int y) {
  const auto w = static_cast<float>(width);
  const auto h = static_cast<float>(height);
  return scene.at((static_cast<float>(x) + 0.5F) / w, (static_cast<float>(y) + 0.5F) / h, 1 / w, 1 / h);
}

TEST_F(Picture, ReadsEightAndSixteenBitNetpbm) {
  const auto ppm =
      load_scene(file("P6\n# two by two\n2 2 255\n\xFF\x00\x00\x00\xFF\x00\x00\x00\xFF\x40\x80\xC8"s));
  expect_light(pixel(*ppm, 2, 2, 0, 0), 1, 0, 0);
  expect_light(pixel(*ppm, 2, 2, 1, 0), 0, 1, 0);
  expect_light(pixel(*ppm, 2, 2, 0, 1), 0, 0, 1);
  expect_light(pixel(*ppm, 2, 2, 1, 1), kLinear64, kLinear128, kLinear200);

  const auto deep = load_scene(file("P6 1 1 65535\n\x40\x40\x80\x80\xC8\xC8"s));
  expect_light(pixel(*deep, 1, 1, 0, 0), kLinear64, kLinear128, kLinear200);

  // The second sample is larger than the file says samples are.
  const auto pgm = load_scene(file("P5 2 1 1000\n\x01\xF6\xFF\xFF"s));
  expect_light(pixel(*pgm, 2, 1, 0, 0), kLinear128, kLinear128, kLinear128);
  expect_light(pixel(*pgm, 2, 1, 1, 0), 1, 1, 1);
}

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

TEST_F(Picture, ReadsPng) {
  const std::string whole = png_file(PNG_FORMAT_RGB, std::array<uint8_t, 6>{64, 128, 200, 255, 0, 128});
  const auto scene = load_scene(file(whole));
  expect_light(pixel(*scene, 2, 1, 0, 0), kLinear64, kLinear128, kLinear200);
  expect_light(pixel(*scene, 2, 1, 1, 0), 1, 0, kLinear128);

  const auto deep = load_scene(file(png_file(PNG_FORMAT_LINEAR_Y, std::array<uint16_t, 2>{6554, 32768})));
  expect_light(pixel(*deep, 2, 1, 0, 0), 0.1F, 0.1F, 0.1F);
  expect_light(pixel(*deep, 2, 1, 1, 0), 0.5F, 0.5F, 0.5F);

  const auto clear = load_scene(file(png_file(PNG_FORMAT_GA, std::array<uint8_t, 4>{128, 255, 255, 0})));
  expect_light(pixel(*clear, 2, 1, 0, 0), kLinear128, kLinear128, kLinear128);
  expect_light(pixel(*clear, 2, 1, 1, 0), 0, 0, 0);

  for (size_t size = 8; size < whole.size() - 12; ++size) {
    ASSERT_THAT(complaint(whole.substr(0, size)), HasSubstr(folder_.string())) << size;
  }
}

TEST_F(Picture, RefusesAHugePngBeforeDecodingIt) {
  // 32000 x 32000 with a valid checksum, and no image data.
  EXPECT_THAT(complaint("\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\0\0\x7D\0\0\0\x7D\0\x08\x02\0\0\0\x0C\xE0\x45\x5A"
                        "\0\0\0\x00IDAT\x35\xAF\x06\x1E"s),
              HasSubstr("40 million"));
}

TEST_F(Picture, IsAveragedWhenShrunkAndInterpolatedWhenStretched) {
  const auto scene = load_scene(file("P5 4 1 255\n\x00\xFF\xFF\x00"s));
  EXPECT_NEAR(pixel(*scene, 1, 1, 0, 0).g, 0.5, 1e-4);
  EXPECT_NEAR(pixel(*scene, 2, 1, 0, 0).g, 0.5, 1e-4);
  EXPECT_NEAR(scene->at(0.25F, 0.5F, 0.001F, 0.001F).g, 0.5, 1e-4);
  EXPECT_NEAR(scene->at(0.1875F, 0.5F, 0.001F, 0.001F).g, 0.25, 1e-4);
  EXPECT_NEAR(scene->at(0.0F, 0.0F, 0.001F, 0.001F).g, 0, 1e-4);
  EXPECT_NEAR(scene->at(1.0F, 1.0F, 0.001F, 0.001F).g, 0, 1e-4);
  EXPECT_NEAR(scene->at(0.5F, 0.5F, 100.0F, 100.0F).g, 0.5, 1e-4);
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
      {"P6 4 4 65535\n" + std::string(96, 'x'), "none"}};
  for (const auto& [content, said] : rows) EXPECT_THAT(complaint(content), HasSubstr(said)) << content;
  EXPECT_THAT(complaint("hello"), HasSubstr(folder_.string()));
  for (const auto& path : {folder_ / "missing", folder_, std::filesystem::path("/dev/zero")})
    EXPECT_THROW(load_scene(path), std::runtime_error);
}

}  // namespace
}  // namespace kxsim
