// SPDX-License-Identifier: Apache-2.0
// Pictures of raw frames without a camera are those that the camera would have made.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include <gmock/gmock.h>

#include "saved_picture.h"
#include "simulated_run.h"
#include "temporary_folder.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

// The scene stands still, so that every frame of it is the same.
const Cameras kNoiseless{{"3600,noise=0,fps=0,seed=3"}};
const Cameras kNoiselessMono12{{"369B,noise=0,fps=0"}};

class Develop : public testing::Test {
 protected:
  std::string file(const std::string& name) const { return folder_.path() / name; }

  void capture(const Cameras& cameras, const std::string& name, std::vector<std::string> options = {}) {
    options.insert(options.begin(), {"capture", "-o", file(name)});
    output_of(cameras, options);
  }

  static Result try_to_develop(std::vector<std::string> options) {
    options.insert(options.begin(), "develop");
    return run_with_configuration("/nonexistent", options);
  }

  /// Of model 3600, unless the options name another.
  std::string develop(const std::string& frame, const std::string& picture,
                      std::vector<std::string> options = {}) {
    if (std::ranges::count(options, "--model") == 0) options.insert(options.end(), {"--model", "3600"});
    options.insert(options.end(), {file(frame), "-o", file(picture)});
    const Result result = try_to_develop(options);
    EXPECT_EQ(result.status, 0) << result.error;
    return result.output;
  }

  std::vector<int> png(const std::string& name) const { return read_png(read_file(file(name))).samples; }

 private:
  TemporaryFolder folder_;
};

TEST_F(Develop, MakesWhatTheCameraMakes) {
  const std::vector<std::vector<std::string>> settings = {
      {},
      {"--gamma", "1.6", "--mirror-x", "--rotate", "90", "--set", "wb-red=1.5", "--set", "denoise=off"},
      {"--one-push", "--saturation", "1.7", "--black-level", "12"},
      {"--format", "grey", "--set", "rotate-90=on"}};
  capture(kNoiseless, "frame.raw");
  for (const auto& options : settings) {
    SCOPED_TRACE(testing::PrintToString(options));
    capture(kNoiseless, "expected.png", options);
    develop("frame.raw", "made.png", options);
    EXPECT_EQ(png("made.png"), png("expected.png"));
  }
  capture(kNoiselessMono12, "frame12.raw");
  capture(kNoiselessMono12, "expected.png");
  develop("frame12.raw", "made.png", {"--model", "369B"});
  EXPECT_EQ(png("made.png"), png("expected.png"));
}

TEST_F(Develop, PassesColoursThroughTheMatrix) {
  capture(kNoiseless, "frame.raw");
  develop("frame.raw", "swapped.png", {"--matrix", "0,0,1,0,1,0,1,0,0"});
  develop("frame.raw", "plain.png");
  const auto plain = png("plain.png");
  auto swapped = png("swapped.png");
  ASSERT_NE(swapped, plain);
  for (size_t i = 0; i + 2 < swapped.size(); i += 3) std::swap(swapped[i], swapped[i + 2]);
  EXPECT_EQ(swapped, plain);
}

TEST_F(Develop, TakesBatchesOfFilesWithSeveralFrames) {
  capture(kNoiseless, "one.raw");
  std::ofstream(file("two.raw"), std::ios::binary)
      << read_file(file("one.raw")) << read_file(file("one.raw"));
  EXPECT_THAT(develop("one.raw", "%02d.png", {file("two.raw"), "--format", "raw"}),
              HasSubstr("03.png: 720 x 540 raw"));
  EXPECT_EQ(png("03.png"), png("01.png"));
  EXPECT_FALSE(fs::exists(file("04.png")));
}

TEST_F(Develop, TakesFramesOfAPartOfTheSensor) {
  capture(kNoiseless, "part.raw", {"--resolution", "1"});
  capture(kNoiseless, "expected.png", {"--resolution", "1"});
  develop("part.raw", "made.png", {"--width", "360", "--height", "270"});
  const SavedPicture made = read_png(read_file(file("made.png")));
  const SavedPicture expected = read_png(read_file(file("expected.png")));
  ASSERT_EQ(made.width, 360);
  ASSERT_EQ(made.height, 270);
  // Bright pixels by the right and the lower edge are left alone, unless the frame goes on there.
  for (int y = 0; y < 262; ++y) {
    const auto row = [&](const SavedPicture& picture) {
      const auto* first = picture.samples.data() + size_t{360} * 3 * static_cast<size_t>(y);
      return std::vector<int>(first, first + size_t{352} * 3);
    };
    ASSERT_EQ(row(made), row(expected)) << y;
  }
}

TEST_F(Develop, RefusesWhatIsNoFrame) {
  std::ofstream(file("short.raw")) << std::string(720 * 540 - 1, 'x');
  std::ofstream(file("empty.raw"));
  std::ofstream(file("whole.raw")) << std::string(720 * 540, 'x');
  const std::tuple<std::string, std::string, std::string> mistakes[] = {
      {"--model 3600", "short.raw", "holds 388799 bytes, not a whole number of frames of 388800"},
      {"--model 3600", "empty.raw", "holds 0 bytes"},
      {"--model 3501", "whole.raw", "unknown model 3501"},
      {"--model 0.3MP-M", "whole.raw", "several models have the name 0.3MP-M"},
      {"--model 3600 --width 721", "whole.raw", "721 x 540"},
      {"--model 3600 --width 722", "whole.raw", "722 x 540"},
      {"--model 3600 --width 360 --one-push", "whole.raw", "whole sensor"},
      {"--model 3600 --width 360 --set mirror-x=on", "whole.raw", "whole sensor"},
      {"--model 3600 --set gain=3 --set gamma=3", "whole.raw", "0.3..2"},
      {"--model 3600 --matrix 1,0,0", "whole.raw", "--matrix"},
      {"", "whole.raw", "--model"}};
  for (const auto& [options, frame, answer] : mistakes) {
    std::istringstream words(options + " -o " + file("x.png") + " " + file(frame));
    const Result result = try_to_develop({std::istream_iterator<std::string>(words), {}});
    EXPECT_EQ(result.status, 2) << answer;
    EXPECT_THAT(result.error, HasSubstr(answer));
    EXPECT_FALSE(fs::exists(file("x.png")));
  }
  EXPECT_EQ(try_to_develop({"--model", "3600", file("nosuch"), "-o", file("x.png")}).status, 1);
}

}  // namespace
