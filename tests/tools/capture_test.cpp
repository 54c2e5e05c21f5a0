// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <filesystem>
#include <iterator>
#include <numeric>
#include <set>

#include <fmt/format.h>
#include <gmock/gmock.h>

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
    const SavedPicture changed = png("changed.png");
    int64_t difference = 0;
    for (int i = 0; i < kWidth * kHeight; ++i) {
      const auto [x, y] = place(i % kWidth, i / kWidth);
      difference += std::abs(plain.samples.at(i) - changed.samples.at(y * changed.width + x));
    }
    EXPECT_LT(difference, kWidth * kHeight) << testing::PrintToString(options);
    EXPECT_NE(changed.samples, plain.samples);
  }
}

TEST_F(Capture, ToneReachesThePicture) {
  const std::vector<std::vector<std::string>> rows = {
      {}, {"--saturation", "0"}, {"--black-level", "100"}, {"--gamma", "2"}, {"--contrast", "0.5"}};
  std::set<std::vector<int>> pictures;
  for (const auto& options : rows) {
    capture({{"3600,noise=0"}}, "picture.png", options);
    EXPECT_TRUE(pictures.insert(png("picture.png").samples).second) << testing::PrintToString(options);
  }
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
  const Result left =
      run_shell(kMono, "\"$KXCAM\" capture -o - --type raw -n 1000 | head -c 10; exit ${PIPESTATUS[0]}");
  EXPECT_EQ(left.status, 1);
  EXPECT_EQ(left.output.size(), 10U);
  EXPECT_THAT(left.error, HasSubstr("standard output")) << "the reader has left";
}

TEST_F(Capture, ExposesAsAsked) {
  const auto brightness = [&](const Cameras& cameras, std::vector<std::string> options) {
    options.insert(options.end(), {"--skip", "8", "--format", "grey"});
    capture(cameras, "picture.png", options);
    EXPECT_EQ(result_.error, "") << "automatic exposure settles";
    const std::vector<int> samples = png("picture.png").samples;
    return std::accumulate(samples.begin(), samples.end(), 0.0) / static_cast<double>(samples.size());
  };
  const Cameras lit{{"3600,fps=0,noise=0,light=1.2"}};
  const double dark = brightness(lit, {"--exposure-ms", "2", "--gain", "1"});
  EXPECT_NEAR(brightness(lit, {"--exposure-ms", "8", "--gain", "1"}) / dark, 4, 0.4);
  EXPECT_NEAR(brightness(lit, {"--exposure-ms", "2", "--gain", "121"}) / dark, 4, 0.4) << "12 dB";
  EXPECT_GT(brightness(lit, {"--auto"}), 1.5 * dark);
  // No steps of exposure and gain meet the target of 70 in this scene.
  EXPECT_NEAR(brightness({{"3500,fps=0,noise=0"}}, {"--auto"}), 70, 12);
}

TEST_F(Capture, TriggersEachFrame) {
  capture({{"3600,fps=0"}}, "shot.png", {"--trigger", "-n", "3"});
  EXPECT_THAT(names(), testing::Contains("shot-0003.png"));
}

}  // namespace
