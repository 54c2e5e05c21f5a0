// SPDX-License-Identifier: Apache-2.0
// What the tool writes: files, their names, pictures in them, and reports.
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include <kxcam/kxcam.h>

#include "error.h"
#include "file_name_pattern.h"
#include "image_files.h"
#include "output_file.h"
#include "progress.h"
#include "saved_picture.h"
#include "stream_statistics.h"
#include "temporary_folder.h"

namespace kxcam {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using Seconds = StreamStatistics::Seconds;

std::ptrdiff_t entries(const fs::path& folder) {
  return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

TEST(OutputFile, ReplacesAFileAndLeavesNothingBesideIt) {
  const TemporaryFolder folder;
  const fs::path path = folder.path() / "f.raw";
  std::ofstream(path) << "a much longer text than the new one";
  umask(027);
  write_file(path, std::vector<uint8_t>{'n', 'e', 'w'});
  EXPECT_EQ(read_file(path), "new");
  EXPECT_EQ(entries(folder.path()), 1);
  EXPECT_EQ(fs::status(path).permissions(), fs::perms(0640));
}

TEST(OutputFile, FollowsSymbolicLinksAndLeavesThem) {
  const TemporaryFolder folder;
  fs::create_directory(folder.path() / "other");
  fs::create_symlink("other/second", folder.path() / "first");
  fs::create_symlink("target", folder.path() / "other" / "second");
  for (const std::string text : {"made", "replaced"}) {
    write_file(folder.path() / "first", std::vector<uint8_t>(text.begin(), text.end()));
    EXPECT_EQ(read_file(folder.path() / "other" / "target"), text);
  }
  EXPECT_TRUE(fs::is_symlink(folder.path() / "first") && fs::is_symlink(folder.path() / "other" / "second"));
  EXPECT_EQ(entries(folder.path()), 2) << "nothing beside it";
}

TEST(OutputFile, AFailureLeavesNothingAndADeviceIsNotReplaced) {
  const TemporaryFolder folder;
  fs::create_directory(folder.path() / "taken");
  for (const fs::path& path :
       {folder.path() / "none" / "f.raw", folder.path() / "taken", fs::path("/dev/full")})
    EXPECT_THROW(write_file(path, std::vector<uint8_t>(100)), Error) << path;
  EXPECT_EQ(entries(folder.path()), 1);
  fs::create_symlink("/dev/null", folder.path() / "sink.raw");
  write_file(folder.path() / "sink.raw", std::vector<uint8_t>(100));
  EXPECT_TRUE(fs::is_symlink(folder.path() / "sink.raw") && fs::is_character_file("/dev/null"));
}

TEST(FileNamePattern, NumbersTheFilesOfASeries) {
  const std::tuple<const char*, int, int, const char*> rows[] = {
      {"frame.png", 1, 1, "frame.png"},
      {"frame.png", 1, 2, "frame-0001.png"},
      {"a.b/frame", 12, 12, "a.b/frame-0012"},
      {"/x/.hidden", 2, 3, "/x/.hidden-0002"},
      {"f.raw", 7, 10000, "f-00007.raw"},  // names sort by number
      {"%d.png", 5, 100, "5.png"},
      {"a%03d-b.png", 5, 100, "a005-b.png"},
      {"a%3d.png", 5, 100, "a  5.png"},
      {"%02d.png", 1234, 2000, "1234.png"},
      {"%02d.png", 1, 1, "01.png"},
      {"50%%_{}_%d%%.png", 5, 9, "50%_{}_5%.png"},
      {"50%%.png", 2, 9, "50%-0002.png"}};
  for (const auto& [pattern, number, total, name] : rows) {
    EXPECT_EQ(FileNamePattern(pattern).name(number, total), name);
  }
  // What printf would take, or trip over.
  for (const char* pattern : {"%s.png", "%n", "%", "a%", "%x", "%d%d", "%04d-%d", "%-4d", "%010d", "%ld",
                              "%*d", "%1$d", "% d", "%0", "%%%"}) {
    EXPECT_THROW(FileNamePattern refused(pattern), Error) << pattern;
  }
}

std::string text_of(const std::vector<uint8_t>& bytes) {
  return {bytes.begin(), bytes.end()};
}

TEST(ImageFiles, HoldTheSamplesAsTheyAre) {
  const std::string samples = {0, 10, 13, 26, 127, -128, -56, -55, -2, -1, 1, 2};
  const std::vector<uint8_t> bytes(samples.begin(), samples.end());
  const Picture grey{.width = 4, .height = 3, .channels = 1, .bits = 8, .samples = bytes};
  const Picture colour{.width = 1, .height = 4, .channels = 3, .bits = 8, .samples = bytes};
  EXPECT_EQ(text_of(encode(FileType::kPgm, grey)), "P5\n4 3\n255\n" + samples);
  EXPECT_EQ(text_of(encode(FileType::kPpm, colour)), "P6\n1 4\n255\n" + samples);
  for (const Picture& picture : {grey, colour}) {
    EXPECT_EQ(encode(FileType::kRaw, picture), bytes);
    const SavedPicture saved = read_png(text_of(encode(FileType::kPng, picture)));
    EXPECT_EQ(std::tuple(saved.width, saved.height, saved.channels, saved.maximum),
              std::tuple(picture.width, picture.height, picture.channels, 255));
    EXPECT_EQ(saved.samples, std::vector<int>(bytes.begin(), bytes.end()));
  }
  // 0, 1, 2048, 4095 and 0xF000, which is more than 12 bits hold, all low byte first.
  const std::vector<uint8_t> twelve = {0, 0, 1, 0, 0, 8, 0xFF, 0x0F, 0, 0xF0, 0x34, 0x02};
  const Picture deep{.width = 3, .height = 2, .channels = 1, .bits = 12, .samples = twelve};
  const std::vector<uint8_t> high_first = {0, 0, 0, 1, 8, 0, 0x0F, 0xFF, 0x0F, 0xFF, 0x02, 0x34};
  EXPECT_EQ(text_of(encode(FileType::kPgm, deep)), "P5\n3 2\n4095\n" + text_of(high_first));
  EXPECT_EQ(encode(FileType::kRaw, deep), twelve);
  const SavedPicture png = read_png(text_of(encode(FileType::kPng, deep)));
  EXPECT_EQ(png.maximum, 0xFFFF);
  EXPECT_THAT(png.samples, ElementsAre(0, 16, 0x8008, 0xFFFF, 0xFFFF, 0x2342));
}

TEST(ImageFiles, RefusesASizeThatDoesNotFitTheSamples) {
  const std::vector<uint8_t> samples(12);
  for (const Picture& picture : {Picture{.width = 4, .height = 4, .samples = samples},
                                 Picture{.width = 4, .height = 3, .channels = 3, .samples = samples},
                                 Picture{.width = 4, .height = 3, .bits = 12, .samples = samples},
                                 Picture{.width = -4, .height = -3, .samples = samples},
                                 Picture{.width = 0, .height = 0, .samples = {}}}) {
    for (const FileType type : {FileType::kPng, FileType::kPgm})
      EXPECT_THROW(encode(type, picture), std::invalid_argument);
  }
}

TEST(ImageFiles, TypeFollowsTheExtension) {
  const std::pair<const char*, FileType> rows[] = {{"a/b.PNG", FileType::kPng},
                                                   {"x.%04d.ppm", FileType::kPpm},
                                                   {"x.pgm", FileType::kPgm},
                                                   {"x.raw", FileType::kRaw}};
  for (const auto& [name, type] : rows) EXPECT_EQ(file_type_of(name), type) << name;
  for (const char* name : {"x", ".png", "x.jpeg", "x.", "png/x", "-", ""})
    EXPECT_EQ(file_type_of(name), std::nullopt) << name;
}

TEST(StreamStatistics, CountsByCauseAndShowsProgressSinceTheLast) {
  StreamStatistics statistics;
  for (int i = 0; i < 50; ++i) statistics.add_frame(2'000'000);
  statistics.add_timeout();
  for (const int code : {KXCAM_ERROR_ARGUMENT, KXCAM_ERROR_NO_DEVICE, KXCAM_ERROR_NO_DEVICE})
    statistics.add_error(code);
  const auto json = statistics.json(Seconds(2));
  EXPECT_EQ(json.at("frames"), 50);
  EXPECT_EQ(json.at("frames_per_second"), 25.0);
  EXPECT_EQ(json.at("megabytes_per_second"), 50.0);
  EXPECT_EQ(json.at("timeouts"), 1);
  EXPECT_EQ(json.at("errors"), nlohmann::json::parse(R"({"2": 1, "4": 2})"));
  EXPECT_THAT(statistics.summary(Seconds(2)),
              testing::AllOf(HasSubstr("50 (25.0 frames/s, 50.0 MB/s)"),
                             HasSubstr("2 (code 4: device not open or not found)")));
  EXPECT_THAT(statistics.progress(Seconds(1)), HasSubstr(" 50.0 frames/s"));
  statistics.add_frame(1);
  EXPECT_THAT(statistics.progress(Seconds(3)), HasSubstr(" 0.5 frames/s"));
  EXPECT_THAT(statistics.progress(Seconds(3)), HasSubstr(" 0.0 frames/s")) << "no time has passed";
}

TEST(ProgressBar, FillsFromEmptyToFull) {
  EXPECT_EQ(progress_bar(0, 4), "[--------------------] 0/4");
  EXPECT_EQ(progress_bar(1, 4), "[#####---------------] 1/4");
  EXPECT_EQ(progress_bar(4, 4), "[####################] 4/4");
  EXPECT_THAT(progress_bar(999'999'999, 1'000'000'000), HasSubstr("[###################-]"));
}

}  // namespace
}  // namespace kxcam
