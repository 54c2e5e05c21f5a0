// SPDX-License-Identifier: Apache-2.0
// `kxcam view` as its page, and as strangers, meet it.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "eventually.h"
#include "http_client.h"
#include "saved_picture.h"
#include "simulated_run.h"
#include "temporary_folder.h"
#include "viewed.h"

namespace {

using kxcam::test::eventually;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

const Cameras kSmallCamera = {{"3600,fps=30,light=1"}};

TEST(ViewServer, RefusesStrangers) {
  Viewed viewed(kSmallCamera);
  const std::string host = fmt::format("Host: 127.0.0.1:{}\r\n", viewed.port());
  const std::string token = fmt::format("X-Kxcam-Token: {}\r\n", viewed.token());
  const std::string json_of_2 = "Content-Type: application/json\r\nContent-Length: 2\r\n";
  const std::string form_of_2 = "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: 2\r\n";
  const std::pair<std::string, int> rows[] = {
      {"GET / HTTP/1.1\r\n" + host + "\r\n", 200},  // a reload, when the address has lost its token
      {"GET /page.js HTTP/1.1\r\n" + host + "\r\n", 200},
      {"GET / HTTP/1.1\r\nHost: evil.example\r\n\r\n", 403},
      {"GET / HTTP/1.1\r\n\r\n", 403},
      {"GET /settings HTTP/1.1\r\n" + host + "\r\n", 403},
      {"GET /settings HTTP/1.1\r\n" + host + "X-Kxcam-Token: 0\r\n\r\n", 403},
      {"GET /settings?token=" + viewed.token() + " HTTP/1.1\r\n" + host + "\r\n", 403},
      {"GET /settings HTTP/1.1\r\n" + host + token + "Origin: http://evil.example\r\n\r\n", 403},
      {"GET /settings HTTP/1.1\r\n" + host + token + "Sec-Fetch-Site: cross-site\r\n\r\n", 403},
      {"GET /settings HTTP/1.1\r\n" + host + host + token + "\r\n", 400},
      {"OPTIONS /control HTTP/1.1\r\n" + host + token + "\r\n", 405},
      {"POST /control HTTP/1.1\r\n" + host + json_of_2 + "\r\n{}", 403},
      {"POST /control HTTP/1.1\r\n" + host + token + form_of_2 + "\r\na=", 415},
      {"POST /control HTTP/1.1\r\n" + host + token + "Content-Type: application/json\r\n\r\n", 411},
      {"POST /control HTTP/1.1\r\n" + host + token + json_of_2 + "\r\n{!", 400},
      {"POST /control HTTP/1.1\r\n" + host + token + json_of_2 + "\r\n[]", 400},
      {"POST /control HTTP/1.1\r\n" + host + token + "Content-Length: 70000\r\n\r\n", 413},
      {"POST /control HTTP/1.1\r\n" + host + token + "Transfer-Encoding: chunked\r\n\r\n", 501},
      {"GET /" + std::string(3000, 'a') + " HTTP/1.1\r\n" + host + "\r\n", 414},
      {"GET / HTTP/1.1\r\n" + std::string(20000, 'a'), 431},
      {"GET /../../etc/passwd HTTP/1.1\r\n" + host + token + "\r\n", 404},
      {"GET /frame?camera=1 HTTP/1.1\r\n" + host + token + "\r\n", 404},
      {"GET /frame?part=1,2,3 HTTP/1.1\r\n" + host + token + "\r\n", 400},
      {"GET /snapshot?frame=9 HTTP/1.1\r\n" + host + token + "\r\n", 410},
      {"nonsense\r\n\r\n", 400},
      {"GET /settings HTTP/1.1\r\n" + host + token + "\r\n", 200},
  };
  for (const auto& [request, status] : rows) {
    HttpClient client(viewed.port());
    client.send(request);
    const Answer answer = client.receive();
    EXPECT_EQ(answer.status, status) << request.substr(0, 300) << answer.body;
    EXPECT_THAT(answer.head, HasSubstr("Content-Security-Policy: default-src 'none'"));
    EXPECT_THAT(answer.head, HasSubstr("X-Content-Type-Options: nosniff"));
    EXPECT_THAT(answer.head, Not(HasSubstr("Access-Control")));
    EXPECT_THAT(answer.head + answer.body, Not(HasSubstr(viewed.token())));
  }
  EXPECT_THAT(viewed.error(), Not(HasSubstr(viewed.token())));

  // Nothing but the loopback address listens.
  std::ifstream sockets("/proc/net/tcp");
  const std::string port = fmt::format(":{:04X} ", viewed.port());
  std::string all((std::istreambuf_iterator<char>(sockets)), {});
  EXPECT_THAT(all, HasSubstr("0100007F" + port));
  EXPECT_THAT(all, Not(HasSubstr("00000000" + port)));
  EXPECT_EQ(run(kSmallCamera, {"view", "--no-open", "--port", std::to_string(viewed.port())}).status, 1);
}

TEST(ViewServer, ServesOthersWhateverSomeDo) {
  Viewed viewed(kSmallCamera);
  HttpClient early(viewed.port());
  early.send(viewed.head("GET", "/frame") + "\r\n");
  std::vector<std::unique_ptr<HttpClient>> idle;
  for (int i = 0; i < 100; ++i) {
    idle.push_back(std::make_unique<HttpClient>(viewed.port()));
    if (i % 2 == 0) idle.back()->send("GET / HTTP/1.1\r\nHost");
  }
  EXPECT_EQ(early.receive().status, 200);
  // Asks and never reads, longer than all buffers hold.
  HttpClient deaf(viewed.port());
  for (int i = 0; i < 400; ++i) deaf.send(viewed.head("GET", "/page.js") + "\r\n");
  std::vector<std::thread> watchers;
  std::atomic<int> frames = 0;
  for (int i = 0; i < 8; ++i) {
    watchers.emplace_back([&] {
      HttpClient client(viewed.port());
      uint64_t number = 0;
      for (int n = 0; n < 5;) {
        client.send(viewed.head("GET", fmt::format("/frame?after={}", number)) + "\r\n");
        const Answer answer = client.receive();
        if (answer.status != 200) return;
        const json about = json_in_front(answer.body);
        if (!about.contains("picture")) continue;
        if (about["picture"]["number"] <= number) return;
        number = about["picture"]["number"];
        ++n;
        ++frames;
      }
    });
  }
  for (auto& each : watchers) each.join();
  EXPECT_EQ(frames, 40);
  EXPECT_TRUE(idle.front()->is_closed());

  viewed.signal(SIGINT);
  EXPECT_EQ(viewed.wait(), 0);
}

TEST(ViewServer, ShowsTheNewestPictureExactly) {
  Viewed viewed(kSmallCamera);
  json about;
  ASSERT_TRUE(viewed.sees([&](const json& frame) { return frame.contains("picture"); }));
  const Answer answer = viewed.ask("/frame?figures=1&width=360&part=10,20,400,300");
  about = json_in_front(answer.body);
  EXPECT_EQ(bytes_behind(answer.body).substr(0, 2), "\xFF\xD8");
  EXPECT_EQ(about["picture"]["part"], json({10, 20, 400, 300}));
  EXPECT_EQ(about["picture"]["step"], 2);
  EXPECT_EQ(about["figures"]["picture"].size(), 3U);
  EXPECT_GT(about["figures"]["focus"], 1.0);
  EXPECT_GE(about["frames"], about["picture"]["number"]);

  const std::string number = about["picture"]["number"].dump();
  const Answer snapshot = viewed.ask("/snapshot?frame=" + number);
  ASSERT_EQ(snapshot.status, 200) << snapshot.body;
  const SavedPicture picture = read_png(snapshot.body);
  ASSERT_EQ(picture.width, 720);
  const std::string pixels = bytes_behind(viewed.ask("/pixels?x=200&y=100&around=1&frame=" + number).body);
  ASSERT_EQ(pixels.size(), 27U);
  for (size_t i = 0; i < 27; ++i) {
    const size_t place = (99 + i / 9) * 720 + 199 + i / 3 % 3;
    EXPECT_EQ(static_cast<uint8_t>(pixels[i]), picture.samples[place * 3 + i % 3]) << i;
  }
  // The raw frame makes the same picture again.
  const Answer raw = viewed.ask("/snapshot?raw=1&frame=" + number);
  EXPECT_THAT(raw.head, HasSubstr("-720x540-8bit.raw\""));
  std::ofstream(viewed.folder() / "a.raw") << raw.body;
  ASSERT_EQ(run(kSmallCamera,
                {"develop", "--model", "3600", "-o", viewed.folder() / "b.png", viewed.folder() / "a.raw"})
                .status,
            0);
  EXPECT_EQ(read_png(read_file(viewed.folder() / "b.png")).samples, picture.samples);
}

TEST(ViewServer, ChangesEverySettingAndTellsAllOfThem) {
  Viewed viewed(kSmallCamera);
  const json about = viewed.get_json("/camera");
  json settings = viewed.get_json("/settings");
  ASSERT_GT(settings["values"].size(), 25U);
  for (const json& control : about["controls"]) {
    const std::string name = control["name"];
    if (!settings["values"].contains(name) || name == "trigger") continue;
    const double low = control["minimum"];
    const double high = std::clamp(2.0, low + 1, control["maximum"].get<double>());
    const double wanted = settings["values"][name] == high ? low : high;
    const Answer answer = viewed.post("/control", {{"name", name}, {"value", wanted}});
    ASSERT_EQ(answer.status, 200) << name << answer.body;
    EXPECT_NEAR(json::parse(answer.body)["values"][name], wanted, 0.1) << name;
    const Answer refused =
        viewed.post("/control", {{"name", name}, {"value", control["maximum"].get<double>() + 1}});
    EXPECT_EQ(refused.status, 400) << name;
    EXPECT_THAT(refused.body, HasSubstr(name + ": ")) << name;
  }
  EXPECT_EQ(viewed.post("/control", {{"name", "nothing"}, {"value", 1}}).status, 409);
  // One changes another.
  viewed.post("/control", {{"name", "exposure"}, {"value", 100}});
  settings = viewed.post_json("/control", {{"name", "exposure-ms"}, {"value", 20}});
  EXPECT_GT(settings["values"]["exposure"], 200);

  const std::string text = viewed.ask("/settings.txt").body;
  viewed.post("/control", {{"name", "gain"}, {"value", 77}});
  settings = viewed.post_json("/load", {{"text", text}});
  EXPECT_EQ(settings["values"]["gain"], 2);
  EXPECT_EQ(viewed.post("/load", {{"text", "gain = 1000"}}).status, 409);
  EXPECT_EQ(viewed.post("/store", json::object()).status, 200);
  EXPECT_EQ(viewed.post("/white-balance", json::object()).status, 200);
}

TEST(ViewServer, ExposesByItselfWhileSomebodyLooks) {
  Viewed viewed({{"3600,fps=60,light=1"}});
  viewed.post("/control", {{"name", "auto-exposure"}, {"value", 1}});
  for (const int target : {90, 60, 90, 60, 90}) {
    viewed.post("/control", {{"name", "target"}, {"value", target}});
    double mean = 0;
    uint64_t number = 0;
    for (int pictures = 0; pictures < 300 && std::abs(mean - target) >= 8;) {
      const json frame = viewed.frame(fmt::format("figures=1&after={}", number));
      if (!frame.contains("picture")) continue;
      number = frame["picture"]["number"];
      mean = frame["figures"]["raw"][1]["mean"];
      ++pictures;
    }
    EXPECT_NEAR(mean, target, 8);
    // Raw frames of which nobody wants the picture must not upset the count that the loop goes by.
    std::this_thread::sleep_for(std::chrono::milliseconds(90));
  }
}

TEST(ViewServer, TakesOnePictureForEachTrigger) {
  Viewed viewed(kSmallCamera);
  viewed.post("/control", {{"name", "trigger"}, {"value", 1}});
  uint64_t number = 0;
  ASSERT_TRUE(viewed.sees([&](const json& frame) {
    if (frame.contains("picture")) number = frame["picture"]["number"];
    return frame["state"] == "waiting";
  }));
  for (int shot = 0; shot < 3; ++shot) {
    ASSERT_EQ(viewed.post("/trigger", json::object()).status, 200);
    ASSERT_TRUE(eventually([&] {
      const json frame = viewed.frame(fmt::format("after={}", number));
      if (!frame.contains("picture")) return false;
      number = frame["picture"]["number"];
      return true;
    }));
  }
  EXPECT_FALSE(viewed.frame(fmt::format("after={}", number)).contains("picture"));
  viewed.post("/control", {{"name", "trigger"}, {"value", 0}});
  EXPECT_TRUE(viewed.sees([](const json& frame) { return frame["state"] == "streaming"; }));
}

TEST(ViewServer, ReadsOutTheRegionThatIsMarked) {
  Viewed viewed(kSmallCamera);
  const auto size_is = [&](int width, int height) {
    return viewed.sees([&](const json& frame) {
      return frame.contains("picture") && frame["picture"]["width"] == width &&
             frame["picture"]["height"] == height;
    });
  };
  for (const char* orientation : {"", "mirror-x", "rotate-90", "mirror-y"}) {
    viewed.post("/preset", {{"preset", 0}});
    if (*orientation != '\0') viewed.post("/control", {{"name", orientation}, {"value", 1}});
    const Answer answer = viewed.post("/region", {{"x", 101}, {"y", 53}, {"width", 203}, {"height", 155}});
    ASSERT_EQ(answer.status, 200) << orientation << answer.body;
    const json region = json::parse(answer.body)["region"];
    const int x = region["x"];
    const int y = region["y"];
    const int width = region["width"];
    const int height = region["height"];
    EXPECT_TRUE(x <= 101 && x > 101 - 32 && x + width >= 304 && x + width < 304 + 32)
        << orientation << region;
    EXPECT_TRUE(y <= 53 && y > 53 - 32 && y + height >= 208 && y + height < 208 + 32)
        << orientation << region;
    EXPECT_TRUE(size_is(width, height)) << orientation;
  }
  // A region stays on the sensor when the picture is turned: turned back it is where it was.
  const json before = viewed.get_json("/settings")["region"];
  const json turned = viewed.post_json("/control", {{"name", "rotate-90"}, {"value", 0}})["region"];
  EXPECT_EQ(turned["width"], before["height"]);
  viewed.post("/control", {{"name", "mirror-x"}, {"value", 0}});
  viewed.post("/control", {{"name", "rotate-90"}, {"value", 1}});
  EXPECT_EQ(viewed.post_json("/control", {{"name", "mirror-x"}, {"value", 1}})["region"], before);
  EXPECT_EQ(viewed.post("/region", {{"x", 5000}, {"y", 0}, {"width", 10}, {"height", 10}}).status, 400);
  EXPECT_EQ(viewed.post("/region", {{"x", 0.5}, {"y", 0}, {"width", 10}, {"height", 10}}).status, 400);
}

TEST(ViewServer, TellsWhenTheCameraGoesAndComesBack) {
  Viewed viewed({{"3600,fps=30", "369B,fps=30"}});
  ASSERT_TRUE(viewed.sees([](const json& frame) { return frame.contains("picture"); }));
  viewed.tell_simulator("unplug 1");
  EXPECT_TRUE(viewed.sees([](const json& frame) { return frame["state"] == "gone"; }));

  // The other one, whose place on the bus is the first meanwhile.
  const json cameras = viewed.get_json("/cameras")["cameras"];
  ASSERT_EQ(cameras.size(), 2U);
  const json opened = viewed.post_json("/open", {{"serial", cameras[1]["serial"]}});
  EXPECT_EQ(opened["camera"], 1);
  EXPECT_TRUE(eventually([&] { return viewed.frame("camera=1&figures=1").contains("figures"); }));
  const json about = viewed.get_json("/camera?camera=1");
  EXPECT_EQ(about["bits"], 12);
  EXPECT_EQ(about["colour"], false);

  viewed.tell_simulator("plug 1");
  EXPECT_TRUE(
      viewed.sees([](const json& frame) { return frame["returns"] == 1 && frame.contains("picture"); }));
}

TEST(ViewServer, RecordsWhatItCounts) {
  Viewed viewed(kSmallCamera);
  for (const std::string type : {"raw", "png", "pgm"}) {
    ASSERT_EQ(viewed.post("/record", {{"on", true}, {"type", type}}).status, 200);
    EXPECT_EQ(viewed.post("/record", {{"on", true}, {"type", type}}).status, 409);
    ASSERT_TRUE(viewed.sees([](const json& frame) { return frame["recording"]["frames"] >= 5; }));
    viewed.post("/record", {{"on", false}});
    json recording;
    ASSERT_TRUE(viewed.sees([&](const json& frame) {
      recording = frame["recording"];
      return recording["on"] == false;
    }));
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(recording["folder"].get<std::string>()))
      files.push_back(entry.path().filename());
    EXPECT_EQ(files.size(), recording["frames"].get<size_t>() + 1) << type;  // and the list
    std::istringstream list(read_file(recording["folder"].get<std::string>() + "/frames.csv"));
    std::string line;
    std::getline(list, line);
    uint64_t first = 0;
    uint64_t last = 0;
    size_t lines = 0;
    for (; std::getline(list, line); ++lines) {
      EXPECT_EQ(line.substr(0, 11), fmt::format("{:06}.{},", lines + 1, type));
      last = std::stoull(line.substr(11));
      if (lines == 0) first = last;
    }
    EXPECT_EQ(lines, recording["frames"]);
    EXPECT_LE(last - first + 1 - lines, recording["lost"]) << type;
    // One byte for each pixel, and in a PGM file a few more.
    const auto size = std::filesystem::file_size(recording["folder"].get<std::string>() + "/000001." + type);
    EXPECT_TRUE(type == "png" || size / (720 * 540) == 1) << type << size;
  }
  EXPECT_EQ(viewed.post("/record", {{"on", true}, {"type", "../x"}}).status, 400);
}

TEST(ViewServer, ShowsTheBrowserAFileAndNoToken) {
  TemporaryFolder desktop;
  const std::string noted = desktop.path() / "noted";
  std::ofstream(desktop.path() / "xdg-open") << "#!/bin/sh\nstat -c %a \"$1\" >" << noted << "; cat \"$1\" >>"
                                             << noted << "; echo \"$@\" >" << noted << ".arguments\n";
  chmod((desktop.path() / "xdg-open").c_str(), 0700);
  Viewed viewed(kSmallCamera, {"DISPLAY=:0", "XDG_RUNTIME_DIR=" + desktop.path().string(),
                               fmt::format("PATH={}:{}", desktop.path().string(), std::getenv("PATH"))});
  // It is there before it is written.
  std::string file;
  ASSERT_TRUE(eventually([&] {
    if (std::filesystem::exists(noted + ".arguments")) file = read_file(noted + ".arguments");
    return file.ends_with('\n');
  }));
  file.pop_back();
  EXPECT_THAT(file, Not(HasSubstr(viewed.token())));
  EXPECT_THAT(read_file(noted), HasSubstr("600\n"));
  EXPECT_THAT(read_file(noted), HasSubstr("#" + viewed.token()));
  EXPECT_TRUE(std::filesystem::exists(file));
  viewed.ask("/cameras");
  EXPECT_TRUE(eventually([&] { return !std::filesystem::exists(file); }));
}

}  // namespace
