// SPDX-License-Identifier: Apache-2.0

// Cameras of several kinds, alone and together.

#include <filesystem>
#include <fstream>
#include <memory>
#include <set>

#include <kxcam/kxcam.h>

#include "bench.h"
#include "check.h"

namespace vm {
namespace {

void plugged_in_later() {
  for (const char* number : {"2", "3", "4"}) tell_host(std::string("plug ") + number);
  wait_for_cameras(4);
  std::set<int> places;
  for (const char* serial : {kFiveMegapixels, kHighSpeed, kTwentyMegapixels, kTwelveBits})
    places.insert(index_of(serial));
  require_equal(static_cast<long long>(places.size()), 4, "number of cameras told apart by serial number");
}

void speeds() {
  std::multiset<std::string> speeds;
  for (const auto& device : std::filesystem::directory_iterator("/sys/bus/usb/devices")) {
    std::string vendor;
    std::string speed;
    std::ifstream(device.path() / "idVendor") >> vendor;
    std::ifstream(device.path() / "speed") >> speed;
    if (vendor == "a7b7") speeds.insert(speed);
  }
  require(speeds == std::multiset<std::string>{"480", "5000", "5000", "5000"},
          "the cameras have other speeds than one of 480 and three of 5000 Mbit/s");
}

void high_speed() {
  OpenCamera camera(kHighSpeed);
  camera.numbered_frames(20);
}

void twenty_megapixels() {
  OpenCamera camera(kTwentyMegapixels);
  measured("raw frames of 20 megapixels", camera.numbered_frames(8) / 1e6, "MB/s");
}

void twelve_bits() {
  OpenCamera camera(kTwelveBits);
  int bits = 0;
  require_success(CameraGetImageDepth(camera.index(), &bits), "CameraGetImageDepth");
  require_equal(bits, 12, "depth");
  camera.numbered_frames(20);
}

/// The kernel's default of 16 MB for transfers is just enough for these.
void together() {
  std::vector<std::unique_ptr<OpenCamera>> cameras;
  for (const char* serial : {kFiveMegapixels, kHighSpeed, kTwentyMegapixels, kTwelveBits})
    cameras.push_back(std::make_unique<OpenCamera>(serial));
  std::vector<std::string> troubles(cameras.size());
  std::vector<std::thread> threads;
  for (size_t i = 0; i < cameras.size(); ++i) {
    threads.emplace_back([&, i] {
      try {
        cameras[i]->numbered_frames(6);
      } catch (const Failure& failure) {
        troubles[i] = failure.what();
      }
    });
  }
  for (auto& thread : threads) thread.join();
  for (const auto& trouble : troubles) require(trouble.empty(), trouble);
}

void one_of_several_unplugged() {
  OpenCamera stays(kHighSpeed);
  OpenCamera goes(kTwelveBits);
  tell_host("unplug 4");
  wait_for_cameras(3);
  stays.numbered_frames(10);
  tell_host("plug 4");
  goes.reconnect();
  goes.numbered_frames(5);
  stays.numbered_frames(5);
}

}  // namespace

const std::vector<Case> several_cameras = {
    {"cameras that are plugged in later are found", plugged_in_later},
    {"ports of high and super speed", speeds},
    {"frames of 0.4 megapixels arrive over high speed", high_speed},
    {"frames of 20 megapixels arrive in several transfers", twenty_megapixels},
    {"frames of 12-bit samples arrive", twelve_bits},
    {"four cameras stream at once", together},
    {"one of several cameras is unplugged and reconnected", one_of_several_unplugged},
};

}  // namespace vm
