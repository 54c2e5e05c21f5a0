// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <filesystem>
#include <iterator>
#include <numeric>

#include <fmt/format.h>
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

void expect_picture(const SavedPicture& picture, int width, int height, int channels) {
  EXPECT_EQ(picture.width, width);
  EXPECT_EQ(picture.height, height);
  EXPECT_EQ(picture.channels, channels);
  EXPECT_EQ(picture.maximum, 255);
  EXPECT_GT(distinct_values(picture), 50U) << "a picture of the test chart has many shades";
}

TEST_F(Capture, StoresWhatSuitsCameraTypeAndOptions) {
  struct Shot {
    const Cameras& cameras;
    const char* file;
    std::vector<std::string> options;
    int width;
    int height;
    int channels;
  };
  const Shot shots[] = {{kColour, "c.png", {}, 720, 540, 3},
                        {kColour, "g.png", {"--format", "gray"}, 720, 540, 1},
                        {kColour, "r.png", {"--format", "raw"}, 720, 540, 1},
                        {kMono, "m.png", {}, 752, 480, 1},
                        {kColour, "roi.png", {"--roi", "100,60,320,200"}, 320, 200, 3},
                        {kColour, "half.png", {"--resolution", "1"}, 360, 270, 3},
                        {kColour, "rotated.png", {"--rotate", "90"}, 540, 720, 3},
                        {kColour, "both.png", {"--rotate", "270", "--resolution", "1"}, 270, 360, 3}};
  for (const auto& [cameras, name, options, width, height, channels] : shots) {
    SCOPED_TRACE(name);
    capture(cameras, name, options);
    EXPECT_THAT(result_.output, HasSubstr(fmt::format("{}: {} x {} ", name, width, height)));
    expect_picture(png(name), width, height, channels);
  }
  capture(kMono, "m.bin", {"--type", "raw"});
  EXPECT_EQ(fs::file_size(file("m.bin")), 752U * 480);
  capture(kColour, "c.ppm");
  EXPECT_EQ(fs::file_size(file("c.ppm")), std::size("P6\n720 540\n255\n") - 1 + 720U * 540 * 3);
  EXPECT_EQ(names().size(), std::size(shots) + 2) << "no temporary file may stay";
}

TEST_F(Capture, TwelveBitSamplesFillTwoBytes) {
  capture(kMono12, "r.png", {"--format", "raw"});
  EXPECT_EQ(png("r.png").maximum, 0xFFFF);
  EXPECT_GT(distinct_values(png("r.png")), 256U) << "more shades than eight bits have";
  capture(kMono12, "r.pgm", {"--format", "raw"});
  EXPECT_THAT(read_file(file("r.pgm")), testing::StartsWith("P5\n720 540\n4095\n"));
  capture(kMono12, "g.pgm");
  EXPECT_THAT(read_file(file("g.pgm")), testing::StartsWith("P5\n720 540\n255\n"));
  capture(kMono12, "r.raw");
  EXPECT_EQ(fs::file_size(file("r.raw")), 720U * 540 * 2);
}

TEST_F(Capture, NumbersTheFilesOfASeries) {
  capture(kMono, "f.png", {"-n", "3"});
  EXPECT_THAT(names(), ElementsAre("f-0001.png", "f-0002.png", "f-0003.png"));
  EXPECT_EQ(std::ranges::count(result_.output, '\n'), 3);
  expect_picture(png("f-0003.png"), 752, 480, 1);
  capture(kMono, "x%02d.raw", {"-n", "2", "--skip", "1"});
  EXPECT_THAT(names(), testing::IsSupersetOf({"x01.raw", "x02.raw"}));
}

// Mean difference between `plain` and the grey picture that `changed` was made of; the noise of the two
// frames is a few steps.
double difference(const SavedPicture& plain, const SavedPicture& changed, auto&& place) {
  double sum = 0;
  for (int y = 0; y < plain.height; ++y) {
    for (int x = 0; x < plain.width; ++x) {
      const auto [there_x, there_y] = place(x, y);
      sum += std::abs(plain.samples.at(static_cast<std::size_t>(y * plain.width + x)) -
                      changed.samples.at(static_cast<std::size_t>(there_y * changed.width + there_x)));
    }
  }
  return sum / (plain.width * plain.height);
}

TEST_F(Capture, RotatesAndMirrorsAsAskedFor) {
  using Place = std::pair<int, int>;
  constexpr int kWidth = 752;
  constexpr int kHeight = 480;
  const Cameras still{{"303B,noise=0"}};
  capture(still, "plain.png");
  const SavedPicture plain = png("plain.png");
  const std::pair<std::vector<std::string>, Place (*)(int, int)> rows[] = {
      {{"--mirror-x"}, [](int x, int y) { return Place(kWidth - 1 - x, y); }},
      {{"--mirror-y"}, [](int x, int y) { return Place(x, kHeight - 1 - y); }},
      {{"--rotate", "90"}, [](int x, int y) { return Place(kHeight - 1 - y, x); }},
      {{"--rotate", "180"}, [](int x, int y) { return Place(kWidth - 1 - x, kHeight - 1 - y); }},
      {{"--rotate", "270", "--mirror-x"}, [](int x, int y) { return Place(y, x); }}};
  for (const auto& [options, place] : rows) {
    capture(still, "changed.png", options);
    EXPECT_LT(difference(plain, png("changed.png"), place), 1) << testing::PrintToString(options);
  }
  capture(still, "changed.png", {"--rotate", "180"});
  EXPECT_GT(difference(plain, png("changed.png"), [](int x, int y) { return Place(x, y); }), 5)
      << "the chart is not symmetric";
}

TEST_F(Capture, ToneReachesThePicture) {
  const Cameras still{{"3600,noise=0"}};
  capture(still, "plain.png");
  capture(still, "grey.png", {"--saturation", "0"});
  capture(still, "dark.png", {"--black-level", "100"});
  capture(still, "bright.png", {"--gamma", "2", "--contrast", "0.5"});
  const auto spread = [](const SavedPicture& picture) {
    int most = 0;
    for (std::size_t i = 0; i < picture.samples.size(); i += 3) {
      const auto [low, high] =
          std::minmax({picture.samples[i], picture.samples[i + 1], picture.samples[i + 2]});
      most = std::max(most, high - low);
    }
    return most;
  };
  EXPECT_GT(spread(png("plain.png")), 30);
  EXPECT_LE(spread(png("grey.png")), 3);
  const auto dark = png("dark.png").samples;
  EXPECT_GT(std::ranges::count(dark, 0), 2 * std::ranges::count(png("plain.png").samples, 0));
  EXPECT_NE(png("bright.png").samples, png("plain.png").samples);
}

TEST_F(Capture, StandardOutputCarriesThePictureAndNothingElse) {
  capture(kColour, "-");
  expect_picture(read_png(result_.output), 720, 540, 3);
  capture(kMono, "-", {"-n", "3", "--type", "pgm"});
  const std::string header = "P5\n752 480\n255\n";
  const std::size_t size = header.size() + size_t{752} * 480;
  ASSERT_EQ(result_.output.size(), 3 * size);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(result_.output.substr(i * size, header.size()), header);

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
  const std::string file = folder.path() / "picture.png";
  std::vector<std::string> arguments = {"capture", "--skip", "8", "--format", "grey", "-o", file};
  arguments.insert(arguments.end(), options.begin(), options.end());
  const Result result = run(cameras, arguments);
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_EQ(result.error, "") << "automatic exposure settles";
  const SavedPicture picture = read_png(read_file(file));
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
  // No steps of exposure and gain meet the target of 70 in this scene.
  EXPECT_NEAR(brightness({{"3500,fps=0,noise=0"}}, {"--auto"}), 70, 12);
}

TEST(CaptureSettings, TriggerEachFrame) {
  const TemporaryFolder folder;
  const Result result =
      run({{"3600,fps=0"}}, {"capture", "--trigger", "-n", "3", "-o", folder.path() / "shot.png"});
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_TRUE(std::filesystem::exists(folder.path() / "shot-0003.png"));
}

}  // namespace
