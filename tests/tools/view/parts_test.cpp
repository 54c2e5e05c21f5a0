// SPDX-License-Identifier: Apache-2.0
// What `kxcam view` is made of, without a camera or a socket.
#include <atomic>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "eventually.h"
#include "frame_figures.h"
#include "guard.h"
#include "preview.h"
#include "recorder.h"
#include "request_head.h"
#include "requests.h"
#include "temporary_folder.h"

namespace kxcam::view {
namespace {

using test::eventually;
using testing::HasSubstr;

constexpr const char* kToken = "0123456789abcdef0123456789abcdef";

TEST(ViewGuard, LetsInThePageAndWhoKnowsTheToken) {
  struct Row {
    int status;  // 0: let in
    const char* method;
    const char* path;
    std::map<std::string, std::string> headers;
  };
  const std::string host = "127.0.0.1:8700";
  const std::string origin = "http://127.0.0.1:8700";
  const std::vector<Row> rows = {
      {0, "GET", "/", {{"host", host}}},
      {0, "GET", "/page.js", {{"host", "localhost:8700"}, {"sec-fetch-site", "same-origin"}}},
      {0, "GET", "/", {{"host", host}, {"sec-fetch-site", "cross-site"}}},  // a link
      {403, "GET", "/page.js", {{"host", host}, {"sec-fetch-site", "cross-site"}}},
      {403, "GET", "/", {{"host", "evil.example:8700"}}},
      {403, "GET", "/", {{"host", "127.0.0.1:8701"}}},
      {403, "GET", "/", {}},
      {403, "GET", "/", {{"host", host}, {"origin", "http://evil.example"}}},
      {403, "GET", "/", {{"host", host}, {"origin", "null"}}},
      {403, "GET", "/frame", {{"host", host}}},
      {403, "GET", "/frame", {{"host", host}, {"x-kxcam-token", ""}}},
      {403, "GET", "/frame", {{"host", host}, {"x-kxcam-token", "0123456789abcdef0123456789abcdee"}}},
      {403, "GET", "/frame", {{"host", host}, {"x-kxcam-token", std::string(kToken) + "0"}}},
      {403, "GET", "/frame", {{"host", host}, {"x-kxcam-token", kToken}, {"sec-fetch-site", "same-site"}}},
      {0, "GET", "/frame", {{"host", host}, {"x-kxcam-token", kToken}, {"origin", origin}}},
      {403, "POST", "/", {{"host", host}}},
      {415, "POST", "/control", {{"host", host}, {"x-kxcam-token", kToken}, {"content-length", "2"}}},
      {415,
       "POST",
       "/control",
       {{"host", host}, {"x-kxcam-token", kToken}, {"content-length", "2"}, {"content-type", "text/plain"}}},
      {411,
       "POST",
       "/control",
       {{"host", host}, {"x-kxcam-token", kToken}, {"content-type", "application/json"}}},
      {405, "PUT", "/control", {{"host", host}, {"x-kxcam-token", kToken}}},
      {405, "OPTIONS", "/control", {{"host", host}}},  // before a request of another origin
  };
  const Guard guard(8700, kToken);
  for (const Row& row : rows) {
    const auto refusal = guard.refuse(
        {.method = row.method, .path = row.path, .query = {}, .headers = row.headers, .body = ""});
    EXPECT_EQ(refusal ? refusal->status : 0, row.status)
        << row.method << ' ' << row.path << ' ' << testing::PrintToString(row.headers);
  }
}

TEST(ViewRequests, KeepOfTheirHeadWhatMattersOnly) {
  const std::string start = "GET /frame HTTP/1.1\r\n";
  const auto passed = sift_head(start +
                                "HOST:  127.0.0.1:1 \r\nRange: bytes=0-,1-\r\nCookie: a=b\r\n"
                                "Content-Encoding: gzip\r\nContent-Length: 12\r\n\r\n");
  ASSERT_TRUE(std::holds_alternative<RequestHead>(passed));
  EXPECT_EQ(std::get<RequestHead>(passed).text, start + "host: 127.0.0.1:1\r\ncontent-length: 12\r\n\r\n");
  EXPECT_EQ(std::get<RequestHead>(passed).body_bytes, 12U);

  const std::pair<std::string, int> refused[] = {
      {"Host: a\r\nHost: b\r\n", 400},
      {"Content-Length: 1\r\nContent-length: 2\r\n", 400},
      {"Content-Length: -1\r\n", 400},
      {"Content-Length: 1a\r\n", 400},
      {"Content-Length: 65537\r\n", 413},
      {"Content-Length: 99999999999999999999999\r\n", 413},
      {"Transfer-Encoding: chunked\r\n", 501},
      {"Host : a\r\n", 400},
      {" folded: a\r\n", 400},
      {"no colon\r\n", 400},
      {std::string("Host: a\0b\r\n", 11), 400},
  };
  for (const auto& [headers, status] : refused) {
    const auto head = sift_head(start + headers + "\r\n");
    ASSERT_TRUE(std::holds_alternative<HeadRefusal>(head)) << headers;
    EXPECT_EQ(std::get<HeadRefusal>(head).status, status) << headers;
  }
  const auto long_address = sift_head("GET /" + std::string(2000, 'a') + " HTTP/1.1\r\n\r\n");
  EXPECT_EQ(std::get<HeadRefusal>(long_address).status, 414);
}

/// A picture whose samples follow from their place.
std::vector<uint8_t> samples_of(int width, int height, int channels) {
  std::vector<uint8_t> samples(static_cast<size_t>(width * height * channels));
  for (size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<uint8_t>(i * 7 % 251);
  return samples;
}

TEST(ViewPreview, IsTheMeanOfTheBoxes) {
  for (const int channels : {1, 3}) {
    const auto samples = samples_of(97, 61, channels);
    const Picture picture = {.width = 97, .height = 61, .channels = channels, .samples = samples};
    for (const int width : {97, 49, 33, 20, 16}) {
      const Look look = {.part = Rectangle{1, 2, 96, 55}, .width = width};
      const Preview preview = make_preview(picture, look);
      ASSERT_LE(preview.width, width);
      for (int y = 0; y < preview.height; ++y) {
        for (int i = 0; i < preview.width * channels; ++i) {
          const int x = i / channels;
          double sum = 0;
          for (int j = 0; j < preview.step * preview.step; ++j) {
            const int row = 2 + y * preview.step + j / preview.step;
            const int column = 1 + x * preview.step + j % preview.step;
            sum += samples[static_cast<size_t>((row * 97 + column) * channels + i % channels)];
          }
          ASSERT_NEAR(preview.samples[static_cast<size_t>(y * preview.width * channels + i)],
                      sum / (preview.step * preview.step), 1.0)
              << channels << ' ' << preview.step << ' ' << x << ' ' << y;
        }
      }
    }
  }
}

TEST(ViewPreview, ShowsEveryClippedPixelAndNoOther) {
  for (const int step : {1, 2, 3, 5}) {
    for (int hot = 0; hot < 60; hot += 7) {
      std::vector<uint8_t> samples(static_cast<size_t>(60 * 60 * 3), 254);
      samples[static_cast<size_t>((hot * 60 + 59 - hot) * 3 + hot % 3)] = 255;
      const Picture picture = {.width = 60, .height = 60, .channels = 3, .samples = samples};
      Look look = {.part = {}, .width = 60 / step};
      const Preview plain = make_preview(picture, look);
      look.zebra = true;
      const Preview striped = make_preview(picture, look);
      const int x = (59 - hot) / step;
      const int y = hot / step;
      const bool on_stripe = ((x + y) & 4) != 0;
      int differing = 0;
      for (size_t i = 0; i < plain.samples.size(); i += 3)
        differing += plain.samples[i + 1] != striped.samples[i + 1] ? 1 : 0;
      EXPECT_EQ(differing, on_stripe ? 1 : 0) << step << ' ' << hot;
    }
  }
}

TEST(ViewFigures, CountEachColourOfPictureAndRawFrame) {
  // Red 10, green 20 and 30, blue 255, in the order of each pattern.
  const std::pair<int, std::vector<int>> patterns[] = {{KXCAM_BAYER_RGGB, {10, 20, 30, 255}},
                                                       {KXCAM_BAYER_GRBG, {20, 10, 255, 30}},
                                                       {KXCAM_BAYER_GBRG, {20, 255, 10, 30}},
                                                       {KXCAM_BAYER_BGGR, {255, 20, 30, 10}}};
  for (const int bits : {8, 12}) {
    for (const auto& [bayer, levels] : patterns) {
      std::vector<uint8_t> samples;
      for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 12; ++x) {
          const int level = levels[static_cast<size_t>(y % 2 * 2 + x % 2)];
          const int sample = bits == 8 ? level : level << 4 | 0xF;
          samples.push_back(static_cast<uint8_t>(sample));
          if (bits == 12) samples.push_back(static_cast<uint8_t>(sample >> 8));
        }
      }
      const auto raw =
          raw_histograms({.width = 12, .height = 8, .channels = 1, .bits = bits, .samples = samples}, bayer);
      ASSERT_EQ(raw.size(), 3U);
      EXPECT_EQ(raw[0][10], 12U) << bayer;
      EXPECT_EQ(raw[1][20] + raw[1][30], 24U) << bayer;
      EXPECT_EQ(raw[2][255], 12U) << bayer;
      EXPECT_DOUBLE_EQ(levels_of(raw[2]).clipped, 100);
      EXPECT_DOUBLE_EQ(levels_of(raw[1]).mean, 25);
    }
  }
  const auto samples = samples_of(50, 40, 3);
  const auto picture = picture_histograms({.width = 50, .height = 40, .channels = 3, .samples = samples});
  for (size_t c = 0; c < 3; ++c) {
    Histogram expected{};
    for (size_t y = 0; y < 40; y += 2) {
      for (size_t x = 0; x < 50; ++x) ++expected[samples[(y * 50 + x) * 3 + c]];
    }
    EXPECT_EQ(picture[c], expected) << c;
  }
}

TEST(ViewFigures, SharpnessIsThatOfThePartAndFallsWithBlur) {
  std::vector<uint8_t> samples(static_cast<size_t>(120 * 40), 100);
  for (size_t y = 0; y < 40; ++y) {
    for (size_t x = 0; x < 40; ++x) {
      samples[y * 120 + x] = x / 4 % 2 == 0 ? 50 : 150;                  // sharp stripes
      samples[y * 120 + 40 + x] = static_cast<uint8_t>(80 + x % 8 * 5);  // soft ones
    }
  }
  const Picture picture = {.width = 120, .height = 40, .channels = 1, .samples = samples};
  const double sharp = sharpness(picture, {0, 0, 40, 40});
  EXPECT_GT(sharp, 2 * sharpness(picture, {40, 0, 40, 40}));
  EXPECT_EQ(sharpness(picture, {82, 0, 38, 40}), 0);
  EXPECT_EQ(sharpness(picture, {500, 0, 10, 10}), 0);
}

std::shared_ptr<Frame> numbered_frame(uint64_t sequence) {
  auto frame = std::make_shared<Frame>();
  frame->begin({.raw_width = 8, .raw_height = 4, .raw_bits = 8, .width = 8, .height = 4, .channels = 3});
  frame->about.sequence = sequence;
  frame->has_picture = true;
  return frame;
}

TEST(ViewRecorder, CountsFilesAndWhatIsMissingBetweenThem) {
  TemporaryFolder folder;
  Recorder recorder(folder.path(), "../A b/", [](const auto&) { return uint64_t{5'000'000'000}; });
  recorder.start(FileType::kPng);
  EXPECT_ANY_THROW(recorder.start(FileType::kRaw));
  for (const uint64_t sequence : {10, 11, 14, 15}) recorder.add(numbered_frame(sequence));
  recorder.stop();
  recorder.add(numbered_frame(16));
  ASSERT_TRUE(eventually([&] { return !recorder.progress().on; }));
  const Recorder::Progress progress = recorder.progress();
  EXPECT_EQ(progress.frames, 4U);
  EXPECT_EQ(progress.lost, 2U);
  EXPECT_EQ(progress.end, "");
  EXPECT_THAT(progress.folder, HasSubstr((folder.path() / "kxcam-Ab-").string()));
  EXPECT_TRUE(std::filesystem::exists(progress.folder + "/000004.png"));
  EXPECT_FALSE(std::filesystem::exists(progress.folder + "/000005.png"));
}

TEST(ViewRecorder, StopsBeforeTheDiskIsFull) {
  TemporaryFolder folder;
  std::atomic<uint64_t> free = 1'000'000'100;
  Recorder recorder(folder.path(), "a", [&](const auto&) { return free.load(); });
  recorder.start(FileType::kRaw);
  recorder.add(numbered_frame(1));
  ASSERT_TRUE(eventually([&] { return recorder.progress().frames == 1; }));
  free = 1'000'000'000;
  recorder.add(numbered_frame(2));
  ASSERT_TRUE(eventually([&] { return !recorder.progress().on; }));
  EXPECT_THAT(recorder.progress().end, HasSubstr("nearly full"));
  EXPECT_EQ(recorder.progress().frames, 1U);
  EXPECT_FALSE(std::filesystem::exists(recorder.progress().folder + "/000002.raw"));
}

}  // namespace
}  // namespace kxcam::view
