// SPDX-License-Identifier: Apache-2.0

// What only a real kernel can show, checked inside the virtual machine over the public header. What the
// library makes of frames and settings is tested without one.

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <sys/klog.h>
#include <sys/wait.h>
#include <unistd.h>

#include <kxcam/extra.h>
#include <kxcam/kxcam.h>

#include "numbered_frame.h"

namespace {

using Clock = std::chrono::steady_clock;

// The cameras as the script around the guest serves them: their serial numbers, which end with their number
// on the command line of kxsim.
constexpr const char* kFiveMegapixels = "GENERIC-ID-1";    ///< 2592 x 1944 colour, behind the generic id
constexpr const char* kHighSpeed = "HIGH-SPEED-2";         ///< 752 x 480 colour, older bridge
constexpr const char* kTwentyMegapixels = "LARGE-SIZE-3";  ///< 5472 x 3648 monochrome
constexpr const char* kTwelveBits = "TWELVE-BIT-4";        ///< 720 x 540 monochrome, 12 bits
constexpr std::array kAll = {kFiveMegapixels, kHighSpeed, kTwentyMegapixels, kTwelveBits};

void require(bool condition, const std::string& what) {
  if (!condition) throw std::runtime_error(what);
}

void require_success(uint32_t result, const std::string& call) {
  require(result == 0, call + " failed with code " + std::to_string(last_error));
}

void require_code(uint32_t result, int code, const std::string& call) {
  require(result == 1, call + " did not fail");
  require(last_error == code, call + " failed with code " + std::to_string(last_error));
}

double milliseconds_since(Clock::time_point begin) {
  return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

bool eventually(const std::function<bool()>& holds) {
  for (const auto begin = Clock::now(); milliseconds_since(begin) < 1'000'000;) {
    if (holds()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return holds();
}

/// Has the host give a command to kxsim, such as "unplug 1"; "kill" and "start" are for the process itself.
/// Returns at once. On a line of its own: some messages of the library end without one.
void tell_host(const std::string& command) {
  std::cout << "\n@host " << command << std::endl;
}

/// The first word of that file of every camera on the kernel's bus.
std::multiset<std::string> of_cameras(const char* file) {
  std::multiset<std::string> words;
  for (const auto& device : std::filesystem::directory_iterator("/sys/bus/usb/devices")) {
    std::string vendor;
    std::string word;
    std::ifstream(device.path() / "idVendor") >> vendor;
    std::ifstream(device.path() / file) >> word;
    if (vendor == "a7b7") words.insert(word);
  }
  return words;
}

int cameras_in_library() {
  int count = 0;
  CameraGetCount(&count);
  return count;
}

void wait_for_cameras(int count) {
  const bool there = eventually([&] {
    return static_cast<int>(of_cameras("idVendor").size()) == count && cameras_in_library() == count;
  });
  require(there, "there are not " + std::to_string(count) + " cameras");
}

int index_of(const std::string& serial) {
  for (int i = 0; i < cameras_in_library(); ++i) {
    char text[16] = {};
    if (CameraGetName(i, text, nullptr) == 0 && serial == text) return i;
  }
  throw std::runtime_error("no camera has the serial number " + serial);
}

/// What the kernel has reported since it was started: the lines with that text in them.
std::vector<std::string> kernel_reports(std::string_view text) {
  constexpr int kReadWholeLog = 3;
  std::string log(size_t{1} << 20, '\0');
  log.resize(
      static_cast<size_t>(std::max(klogctl(kReadWholeLog, log.data(), static_cast<int>(log.size())), 0)));
  std::vector<std::string> reports;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    // An emulated processor may get no time for minutes; that is none of the cameras'.
    if (line.find(text) != std::string::npos && line.find("soft lockup") == std::string::npos)
      reports.push_back(line);
  }
  return reports;
}

size_t kernel_resets() {
  return kernel_reports(": reset ").size();
}

/// A camera that is closed at the end.
class OpenCamera {
 public:
  explicit OpenCamera(const char* serial) : index_(index_of(serial)) {
    require_success(CameraInit(index_), "CameraInit");
    CameraClearHostBuffer(index_);  // of frames of the geometry before
  }
  ~OpenCamera() { CameraFree(index_); }
  OpenCamera(const OpenCamera&) = delete;
  OpenCamera& operator=(const OpenCamera&) = delete;

  int index() const { return index_; }

  /// Takes raw frames and compares every byte; they must come in the order in which they were sent. Some may
  /// be lost: an emulated processor that gets no time for as long as a transfer may take loses what was on
  /// its way.
  void numbered_frames(int count) {
    CameraSetTimeout(index_, 60'000);
    int last = numbered_frame();
    for (int i = 1; i < count; ++i) {
      const int number = numbered_frame();
      require(number > last, "frame " + std::to_string(number) + " comes after " + std::to_string(last));
      last = number;
    }
    CameraSetTimeout(index_, 500);
  }
  /// Takes frames until a query fails for want of one, after its time-out of half a second.
  void wait_for_no_frame() {
    for (int i = 0; i < 1000; ++i) {
      const auto begin = Clock::now();
      try {
        numbered_frame();
      } catch (const std::runtime_error&) {
        if (last_error != KXCAM_ERROR_NO_FRAME) throw;
        return require(milliseconds_since(begin) > 495, "a query does not wait for half a second");
      }
    }
    throw std::runtime_error("frames still arrive");
  }
  bool answers() const {
    int lines = 0;
    return CameraGetGPIO(index_, &lines) == 0;
  }
  void reconnect() {
    require(eventually([&] { return CameraReconnect(index_) == 0; }), "CameraReconnect never works");
  }

 private:
  int numbered_frame() {
    int size = 0;
    CameraGetImageBufferSize(index_, &size, KXCAM_FORMAT_RAW);
    std::vector<uint8_t> frame(static_cast<size_t>(size));
    require_success(CameraQueryImage(index_, frame.data(), &size, KXCAM_FORMAT_RAW), "CameraQueryImage");
    int width = 0;
    int height = 0;
    CameraGetImageSize(index_, &width, &height);
    // However deep the samples are, what comes over the wire is a byte a pixel.
    frame.resize(static_cast<size_t>(width) * static_cast<size_t>(height));
    const int number = kxcam::test::number_of(frame);
    require(number >= 0, "a frame is not what was sent");
    return number;
  }

  int index_;
};

// A camera that nothing happens to.

void reset_at_open() {
  wait_for_cameras(1);
  const size_t before = kernel_resets();
  const OpenCamera camera(kFiveMegapixels);
  require(kernel_resets() == before + 1, "the kernel reports no reset, or several");
}

void requests_while_streaming() {
  OpenCamera camera(kFiveMegapixels);
  camera.numbered_frames(10);
  std::thread requests([&] {
    for (int n = 0; n < 50; ++n) camera.answers();
  });
  std::string trouble;
  try {
    camera.numbered_frames(10);
  } catch (const std::runtime_error& error) {
    trouble = error.what();
  }
  requests.join();
  require(trouble.empty(), trouble);
  require(camera.answers(), "no request is answered any more");
}

// Cables.

void unplugged_while_streaming() {
  {
    OpenCamera camera(kFiveMegapixels);
    camera.numbered_frames(3);
    tell_host("unplug 1");
    eventually([&] { return !camera.answers(); });
    int lines = 0;
    require_code(CameraGetGPIO(camera.index(), &lines), KXCAM_ERROR_READ_REQUEST, "CameraGetGPIO");
    camera.wait_for_no_frame();  // frames that were complete before are still delivered
    require_code(CameraReconnect(camera.index()), KXCAM_ERROR_NO_DEVICE, "CameraReconnect");
  }
  wait_for_cameras(0);
  tell_host("plug 1");
  wait_for_cameras(1);
  OpenCamera(kFiveMegapixels).numbered_frames(3);
}

void shaken() {
  OpenCamera camera(kFiveMegapixels);
  tell_host("fault camera 1 unplug after 4 frames back after 20ms");
  eventually([&] { return !camera.answers(); });
  camera.reconnect();
  camera.numbered_frames(3);
}

void unplugged_during_a_request() {
  OpenCamera camera(kFiveMegapixels);
  tell_host("fault camera 1 request 1 of B0 timeout; camera 1 unplug after 1 requests");
  std::array<char, 10> bytes{};
  uint32_t result = 0;
  // The command may take a moment to arrive.
  eventually([&] { return (result = CameraReadUserData(camera.index(), bytes.data(), bytes.size())) != 0; });
  require_code(result, KXCAM_ERROR_READ_REQUEST, "CameraReadUserData");
  wait_for_cameras(0);
  tell_host("clear-faults");
  tell_host("plug 1");
  camera.reconnect();
  camera.numbered_frames(2);
}

// Cameras that do not answer, or wrongly.

void no_answer() {
  OpenCamera camera(kFiveMegapixels);
  tell_host("fault camera 1 request all timeout");
  eventually([&] { return !camera.answers(); });
  const auto begin = Clock::now();
  require(!camera.answers(), "a request is answered");
  // Two attempts of 100 ms.
  require(milliseconds_since(begin) > 195, "the time of an attempt");
  camera.numbered_frames(8);
  tell_host("clear-faults");
  require(eventually([&] { return camera.answers(); }), "no answer any more");
}

/// After the error the library resets the device, which stops its stream, until it is reconnected.
void stream_error(const std::string& kind) {
  OpenCamera camera(kFiveMegapixels);
  camera.numbered_frames(2);
  const size_t before = kernel_resets();
  tell_host("fault camera 1 bulk 1 " + kind);
  camera.wait_for_no_frame();
  require(eventually([&] { return kernel_resets() > before; }), "the device was not reset");
  camera.reconnect();
  camera.numbered_frames(3);
}

// Several cameras.

int plugged_in = 1;  ///< cameras, by their numbers from 1

void plugged_in_later() {
  plugged_in = 4;
  for (const char* number : {"2", "3", "4"}) tell_host(std::string("plug ") + number);
  wait_for_cameras(4);
  std::set<int> places;
  for (const char* serial : kAll) places.insert(index_of(serial));
  require(places.size() == 4, "serial numbers do not tell the cameras apart");
  require(of_cameras("speed") == std::multiset<std::string>{"480", "5000", "5000", "5000"},
          "the cameras have other speeds than one of 480 and three of 5000 Mbit/s");
}

/// The kernel's default of 16 MB for transfers is just enough for these.
void together() {
  std::vector<std::unique_ptr<OpenCamera>> cameras;
  for (const char* serial : kAll) cameras.push_back(std::make_unique<OpenCamera>(serial));
  std::vector<std::string> troubles(cameras.size());
  std::vector<std::thread> threads;
  for (size_t i = 0; i < cameras.size(); ++i) {
    threads.emplace_back([&, i] {
      try {
        cameras[i]->numbered_frames(6);
      } catch (const std::runtime_error& error) {
        troubles[i] = error.what();
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

// The command-line tool, and the end.

/// What is wrong with what a command prints: it is to end with status 0 and to print all of these.
std::string wrong_output(const std::string& command, const std::vector<std::string>& parts) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen((command + " 2>&1; echo status $?").c_str(), "r"),
                                                   pclose);
  std::string text;
  std::array<char, 4096> part{};
  for (size_t got = 0; (got = fread(part.data(), 1, part.size(), pipe.get())) > 0;)
    text.append(part.data(), got);
  if (!text.ends_with("status 0\n")) return command + ": " + text;
  for (const std::string& wanted : parts)
    if (text.find(wanted) == std::string::npos) return "'" + wanted + "' is not in: " + text;
  return "";
}

void expect_output(const std::string& command, const std::vector<std::string>& parts) {
  const std::string wrong = wrong_output(command, parts);
  require(wrong.empty(), wrong);
}

void tool() {
  // A request that the emulated processor gets no time for fails: a name is then missing.
  require(eventually([] {
            return wrong_output("kxcam list", {kAll.begin(), kAll.end()}).empty();
          }),
          "kxcam list does not show all cameras");
  expect_output("kxcam stream -n 10 --format raw --json -c " + std::to_string(index_of(kHighSpeed)), {"10"});
  const OpenCamera camera(kHighSpeed);
  expect_output("kxcam doctor || [ $? = 1 ]",
                {"vm_guest (process ",  // has that one camera
                 "no other program uses it", "memory for USB transfers is 16 MB"});
}

/// `kxcam stream` in a process of its own, with its report in a file.
class Stream {
 public:
  Stream(const char* serial, const std::string& options) {
    std::ofstream(kReport) << "";
    const std::string index = std::to_string(index_of(serial));
    pid_ = fork();
    if (pid_ != 0) return;
    const std::string command =
        "exec kxcam stream --format raw " + options + " -c " + index + " >>" + kReport + " 2>&1";
    execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    _exit(127);
  }
  ~Stream() { end(SIGKILL); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  /// Waits until it shows frames for so many seconds together from now on. The first may have begun before.
  static void wait_for_frames(int seconds_wanted = 2) {
    const auto begin = std::filesystem::file_size(kReport);
    const bool arrive = eventually([&] {
      std::ifstream report(kReport);
      report.seekg(static_cast<std::streamoff>(begin));
      int seconds = 0;
      for (std::string line; std::getline(report, line);) {
        const bool rate = line.find(" frames/s ") != std::string::npos;
        if (rate && line.find(" 0.0 frames/s ") == std::string::npos) ++seconds;
      }
      return seconds >= seconds_wanted;
    });
    require(arrive, "kxcam stream shows no frames");
  }

  /// Its status.
  int end(int signal) {
    int status = 0;
    if (pid_ <= 0) return status;
    kill(pid_, signal);
    waitpid(std::exchange(pid_, -1), &status, 0);
    return status;
  }

 private:
  static constexpr const char* kReport = "/tmp/report";
  pid_t pid_ = -1;
};

/// It finds out that a camera streams, says which program has it and leaves it alone.
void second_program() {
  Stream stream(kHighSpeed, "");
  Stream::wait_for_frames(1);
  const size_t resets = kernel_resets();
  for (const std::string command : {"info", "set gain=9"}) {
    expect_output(
        "(kxcam " + command + " -c " + std::to_string(index_of(kHighSpeed)) + " || echo it ends with $?)",
        {"in use by another program: kxcam (process ", "it ends with 5"});
  }
  int camera = -1;
  int cause = 0;
  // It may fail to read the serial number, but it must not open the camera.
  eventually([&] {
    cause = kxcam_open(kHighSpeed, &camera);
    return cause == KXCAM_ERROR_HELD || cause == 0;
  });
  require(cause == KXCAM_ERROR_HELD, "kxcam_open() does not say that the camera is held");
  require(kernel_resets() == resets, "a second program resets the camera");
  Stream::wait_for_frames();
  require(stream.end(SIGINT) == 0, "kxcam stream fails");
}

/// What the system does to a camera does not end a stream.
void stream_goes_on_after(const std::string& command) {
  const Stream stream(kFiveMegapixels, "--reconnect --timeout 1000");
  Stream::wait_for_frames(1);
  expect_output(command, {});
  Stream::wait_for_frames();
}

void unauthorized() {
  stream_goes_on_after(
      "file=$(grep -l 3ff0 /sys/bus/usb/devices/*/idProduct); file=${file%/*}/authorized;"
      "echo 0 >$file; sleep 1; echo 1 >$file");
}

/// As for sleep, from which the kernel wakes all devices again after a second. It does not sleep but counts.
void suspended() {
  stream_goes_on_after(
      "echo 1 >/sys/module/suspend/parameters/pm_test_delay;"
      "echo devices >/sys/power/pm_test; echo freeze >/sys/power/state");
}

void other_side_killed() {
  OpenCamera camera(kFiveMegapixels);
  camera.numbered_frames(2);
  tell_host("kill");
  wait_for_cameras(0);
  tell_host("start");
  // A process of its own has a camera with settings of its own, but the serial number is the same.
  camera.reconnect();
  camera.numbered_frames(3);
  wait_for_cameras(4);
}

/// Last of all: transfers without a claimed interface, for one, the kernel carries out, but reports.
void no_complaints() {
  // Of kxcam one is expected: it streams from a camera that loses its configuration.
  for (const char* complaint : {"(vm_guest) did not claim", "WARNING:", "BUG:", "rejected"}) {
    const auto reports = kernel_reports(complaint);
    require(reports.empty(), reports.empty() ? "" : "reported: " + reports.front());
  }
  require(!kernel_reports("idVendor=a7b7").empty(), "the kernel's reports cannot be read");
}

struct Case {
  const char* name;
  void (*run)();
};
/// In this order.
constexpr Case kCases[] = {
    {"opening resets the device", reset_at_open},
    {"requests are answered while frames of 5 megapixels stream", requests_while_streaming},
    {"a camera is unplugged while frames stream", unplugged_while_streaming},
    {"a loose plug is survived", shaken},
    {"a camera is unplugged during a request", unplugged_during_a_request},
    {"a camera that answers no request fails in time", no_answer},
    {"a stalled stream is reset and reconnected", [] { stream_error("stall"); }},
    {"a stream with an overflow is reset and reconnected", [] { stream_error("overflow"); }},
    {"cameras of both speeds that are plugged in later are found", plugged_in_later},
    {"four cameras stream at once, of 0.4 to 20 megapixels", together},
    {"one of several cameras is unplugged and reconnected", one_of_several_unplugged},
    {"the tool lists, streams and examines", tool},
    {"the simulation is killed and started again", other_side_killed},
    {"the tool leaves a camera alone that another program uses", second_program},
    {"a stream goes on after its camera was not authorized", unauthorized},
    {"a stream goes on after the system was suspended", suspended},
    {"the kernel has nothing to complain of", no_complaints},
};

constexpr int kMostAttempts = 5;

bool passes(const Case& one) {
  const auto begin = Clock::now();
  std::string failure;
  try {
    one.run();
  } catch (const std::exception& error) {
    failure = error.what();
    // Cables may be off and faults in force.
    tell_host("clear-faults");
    for (int camera = 1; camera <= plugged_in; ++camera) tell_host("plug " + std::to_string(camera));
    std::this_thread::sleep_for(std::chrono::seconds(1));
  }
  std::cout << (failure.empty() ? "\n@passed " : "\n@failed ") << one.name << (failure.empty() ? "" : ": ")
            << failure << " (" << static_cast<int>(milliseconds_since(begin)) << " ms)" << std::endl;
  return failure.empty();
}

}  // namespace

/// Runs all cases, or names them with --list.
int main(int argc, char** argv) {
  const bool list = argc > 1 && argv[1] == std::string_view("--list");
  for (const auto& one : kCases) {
    if (list) {
      std::cout << one.name << '\n';
      continue;
    }
    // A request fails after a tenth of a second, in which an emulated processor may get no time at all.
    for (int attempt = 1; !passes(one) && attempt < kMostAttempts;) ++attempt;
  }
}
