// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <filesystem>
#include <numeric>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "saved_picture.h"
#include "simulated_run.h"
#include "temporary_folder.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

const Cameras kColour{{"3600"}};
const Cameras kMono{{"303B"}};
const Cameras kMono12{{"369B"}};

class Capture : public testing::Test {
 protected:
  std::string file(const std::string& name) const { return folder_.path() / name; }

  void capture(const Cameras& cameras, const std::string& output, std::vector<std::string> options = {}) {
    options.insert(options.begin(), {"capture", "-o", output == "-" ? output : file(output)});
    result_ = run(cameras, options);
    ASSERT_EQ(result_.status, 0) << result_.error;
  }

  SavedPicture png(const std::string& name) const { return read_png(read_file(file(name))); }
  SavedPicture pnm(const std::string& name) const { return read_pnm(read_file(file(name))); }

  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_.path())) names.push_back(entry.path().filename());
    std::ranges::sort(names);
    return names;
  }

  Result result_;

 private:
  TemporaryFolder folder_;
};

void expect_picture(const SavedPicture& picture, int width, int height, int channels, int maximum) {
  EXPECT_EQ(picture.width, width);
  EXPECT_EQ(picture.height, height);
  EXPECT_EQ(picture.channels, channels);
  EXPECT_EQ(picture.maximum, maximum);
  EXPECT_GT(distinct_values(picture), 50U) << "a picture of the test chart has many shades";
}

TEST_F(Capture, StoresWhatSuitsCameraTypeAndFormat) {
  capture(kColour, "c.png");
  expect_picture(png("c.png"), 720, 540, 3, 255);
  EXPECT_THAT(result_.output, HasSubstr("c.png: 720 x 540 colour"));
  capture(kColour, "g.png", {"--format", "gray"});
  expect_picture(png("g.png"), 720, 540, 1, 255);
  capture(kColour, "r.png", {"--format", "raw"});
  expect_picture(png("r.png"), 720, 540, 1, 255);
  capture(kColour, "c.ppm");
  expect_picture(pnm("c.ppm"), 720, 540, 3, 255);
  capture(kMono, "m.png");
  expect_picture(png("m.png"), 752, 480, 1, 255);
  capture(kMono, "m.pgm", {"--format", "raw"});
  expect_picture(pnm("m.pgm"), 752, 480, 1, 255);
  capture(kMono, "m.bin", {"--type", "raw"});
  EXPECT_EQ(fs::file_size(file("m.bin")), 752U * 480);
  EXPECT_EQ(names().size(), 7U) << "no temporary file may stay";
}

TEST_F(Capture, TwelveBitSamplesFillTwoBytes) {
  capture(kMono12, "r.png", {"--format", "raw"});
  capture(kMono12, "r.pgm", {"--format", "raw"});
  capture(kMono12, "r.raw");
  capture(kMono12, "g.pgm");
  EXPECT_EQ(png("r.png").maximum, 0xFFFF);
  EXPECT_EQ(pnm("r.pgm").maximum, 4095);
  EXPECT_GT(distinct_values(pnm("r.pgm")), 256U) << "more shades than eight bits have";
  EXPECT_EQ(fs::file_size(file("r.raw")), 720U * 540 * 2);
  EXPECT_EQ(pnm("g.pgm").maximum, 255);
}

TEST_F(Capture, NumbersTheFilesOfASeries) {
  capture(kMono, "f.pgm", {"-n", "3"});
  EXPECT_THAT(names(), ElementsAre("f-0001.pgm", "f-0002.pgm", "f-0003.pgm"));
  EXPECT_EQ(std::ranges::count(result_.output, '\n'), 3);
  expect_picture(pnm("f-0003.pgm"), 752, 480, 1, 255);
  capture(kMono, "x%02d.raw", {"-n", "2", "--skip", "1"});
  EXPECT_THAT(names(), testing::IsSupersetOf({"x01.raw", "x02.raw"}));
}

TEST_F(Capture, GeometryDecidesTheSize) {
  capture(kColour, "roi.png", {"--roi", "100,60,320,200"});
  expect_picture(png("roi.png"), 320, 200, 3, 255);
  capture(kColour, "half.png", {"--resolution", "1"});
  expect_picture(png("half.png"), 360, 270, 3, 255);
  capture(kColour, "turned.png", {"--rotate", "90"});
  expect_picture(png("turned.png"), 540, 720, 3, 255);
  capture(kColour, "both.png", {"--rotate", "270", "--resolution", "1"});
  expect_picture(png("both.png"), 270, 360, 3, 255);
}

// Pixel (x, y) of `picture`, an 8-bit grey one.
int at(const SavedPicture& picture, int x, int y) {
  return picture.samples.at(static_cast<std::size_t>(y * picture.width + x));
}

// Mean difference between `plain` and the picture that `turned` was made of; the noise of the two
// frames is a few steps.
double difference(const SavedPicture& plain, const SavedPicture& turned, auto&& place) {
  double sum = 0;
  for (int y = 0; y < plain.height; ++y) {
    for (int x = 0; x < plain.width; ++x) {
      const auto [tx, ty] = place(x, y);
      sum += std::abs(at(plain, x, y) - at(turned, tx, ty));
    }
  }
  return sum / (plain.width * plain.height);
}

TEST_F(Capture, TurnsAndMirrorsAsAskedFor) {
  const Cameras still{{"303B,noise=0"}};
  const int w = 752;
  const int h = 480;
  capture(still, "0.pgm");
  capture(still, "x.pgm", {"--mirror-x"});
  capture(still, "90.pgm", {"--rotate", "90"});
  capture(still, "180.pgm", {"--rotate", "180"});
  capture(still, "x270.pgm", {"--rotate", "270", "--mirror-x"});
  const SavedPicture plain = pnm("0.pgm");
  using Place = std::pair<int, int>;
  EXPECT_LT(difference(plain, pnm("x.pgm"), [](int x, int y) { return Place(w - 1 - x, y); }), 1);
  EXPECT_LT(difference(plain, pnm("90.pgm"), [](int x, int y) { return Place(h - 1 - y, x); }), 1);
  EXPECT_LT(difference(plain, pnm("180.pgm"), [](int x, int y) { return Place(w - 1 - x, h - 1 - y); }), 1);
  EXPECT_LT(difference(plain, pnm("x270.pgm"), [](int x, int y) { return Place(y, x); }), 1);
  EXPECT_GT(difference(plain, pnm("180.pgm"), [](int x, int y) { return Place(x, y); }), 5)
      << "the chart is not symmetric";
}

TEST_F(Capture, ToneReachesThePicture) {
  const Cameras still{{"3600,noise=0"}};
  capture(still, "plain.ppm");
  capture(still, "grey.ppm", {"--saturation", "0"});
  capture(still, "dark.ppm", {"--black-level", "100"});
  capture(still, "bright.ppm", {"--gamma", "2", "--contrast", "0.5"});
  const auto spread = [](const SavedPicture& picture) {
    int most = 0;
    for (std::size_t i = 0; i < picture.samples.size(); i += 3) {
      const auto [low, high] =
          std::minmax({picture.samples[i], picture.samples[i + 1], picture.samples[i + 2]});
      most = std::max(most, high - low);
    }
    return most;
  };
  EXPECT_GT(spread(pnm("plain.ppm")), 30);
  EXPECT_LE(spread(pnm("grey.ppm")), 3);
  const auto dark = pnm("dark.ppm").samples;
  EXPECT_GT(std::ranges::count(dark, 0), 2 * std::ranges::count(pnm("plain.ppm").samples, 0));
  EXPECT_NE(pnm("bright.ppm").samples, pnm("plain.ppm").samples);
}

TEST_F(Capture, StandardOutputCarriesThePictureAndNothingElse) {
  capture(kColour, "-");
  expect_picture(read_png(result_.output), 720, 540, 3, 255);
  capture(kMono, "-", {"-n", "3", "--type", "pgm"});
  const auto pictures = read_all_pnm(result_.output);
  ASSERT_EQ(pictures.size(), 3U);
  for (const auto& picture : pictures) expect_picture(picture, 752, 480, 1, 255);

  const Result piped = run_shell(kMono, "\"$KXCAM\" capture -o - --type raw -n 2 | wc -c");
  EXPECT_EQ(piped.status, 0) << piped.error;
  EXPECT_EQ(std::stoi(piped.output), 2 * 752 * 480);
}

TEST_F(Capture, AReaderThatLeavesEndsItInOrder) {
  const Result result =
      run_shell(kMono, "\"$KXCAM\" capture -o - --type raw -n 1000 | head -c 10; exit ${PIPESTATUS[0]}");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output.size(), 10U);
  EXPECT_THAT(result.error, HasSubstr("standard output"));
}

double brightness(const Cameras& cameras, const std::vector<std::string>& options) {
  const TemporaryFolder folder;
  const std::string file = folder.path() / "picture.pgm";
  std::vector<std::string> arguments = {"capture", "--skip", "8", "-o", file};
  arguments.insert(arguments.end(), options.begin(), options.end());
  const Result result = run(cameras, arguments);
  EXPECT_EQ(result.status, 0) << result.error;
  const SavedPicture picture = read_pnm(read_file(file));
  return std::accumulate(picture.samples.begin(), picture.samples.end(), 0.0) /
         static_cast<double>(picture.samples.size());
}

TEST(CaptureSettings, ExposeAsAsked) {
  const Cameras lit{{"3600,fps=0,noise=0,light=1.2"}};
  const double dark = brightness(lit, {"--exposure-ms", "2", "--gain", "1"});
  const double bright = brightness(lit, {"--exposure-ms", "8", "--gain", "1"});
  const double amplified = brightness(lit, {"--exposure-ms", "2", "--gain", "121"});
  EXPECT_NEAR(bright / dark, 4, 0.4);
  EXPECT_NEAR(amplified / dark, 4, 0.4) << "12 dB";
  EXPECT_GT(brightness(lit, {"--auto"}), 1.5 * dark);
}

TEST(CaptureSettings, TriggerEachFrame) {
  const TemporaryFolder folder;
  const Result result =
      run({{"3600,fps=0"}}, {"capture", "--trigger", "-n", "3", "-o", folder.path() / "shot.png"});
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_TRUE(std::filesystem::exists(folder.path() / "shot-0003.png"));
}

}  // namespace
