// SPDX-License-Identifier: Apache-2.0

// The command-line tool.

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>

#include "bench.h"
#include "check.h"

namespace vm {
namespace {

struct ClosePipe {
  void operator()(FILE* pipe) const { pclose(pipe); }
};

/// What a command prints; throws unless its status is 0.
std::string output_of(const std::string& command) {
  std::unique_ptr<FILE, ClosePipe> pipe(popen((command + " 2>&1").c_str(), "r"));
  require(pipe != nullptr, "cannot run " + command);
  std::string text;
  std::array<char, 4096> part{};
  for (size_t got = 0; (got = fread(part.data(), 1, part.size(), pipe.get())) > 0;)
    text.append(part.data(), got);
  const int status = pclose(pipe.release());
  require(status == 0, command + " ends with " + std::to_string(status) + ": " + text);
  return text;
}

void require_holds(const std::string& text, const std::string& part) {
  require(text.find(part) != std::string::npos, "'" + part + "' is not in: " + text);
}

void list() {
  const auto text = output_of("kxcam list");
  for (const char* serial : {kFiveMegapixels, kHighSpeed, kTwentyMegapixels, kTwelveBits})
    require_holds(text, serial);
}

/// Its index is another in every process.
std::string camera_option(const char* serial) {
  std::istringstream lines(output_of("kxcam list"));
  for (std::string line; std::getline(lines, line);) {
    if (line.find(serial) != std::string::npos) return " -c " + std::to_string(std::stoi(line));
  }
  throw Failure(std::string("kxcam list does not show ") + serial);
}

void info() {
  const auto text = output_of("kxcam info" + camera_option(kTwelveBits));
  require_holds(text, kTwelveBits);
  require_holds(text, "720");
}

void capture() {
  output_of("kxcam capture -o /tmp/a.png" + camera_option(kHighSpeed));
  std::array<char, 4> start{};
  std::ifstream("/tmp/a.png", std::ios::binary).read(start.data(), start.size());
  require(std::string_view(start.data() + 1, 3) == "PNG", "capture wrote no PNG file");
}

void stream() {
  require_holds(output_of("kxcam stream -n 10 --format raw --json" + camera_option(kFiveMegapixels)), "10");
}

void doctor() {
  const OpenCamera camera(kHighSpeed);
  const auto text = output_of("kxcam doctor || [ $? = 1 ]");
  require_holds(text, "vm_guest (process ");  // has that one camera
  require_holds(text, "no other program uses it");
  require_holds(text, "memory for USB transfers is 16 MB");
}

}  // namespace

const std::vector<Case> tool = {
    {"kxcam list", list},     {"kxcam info", info},     {"kxcam capture", capture},
    {"kxcam stream", stream}, {"kxcam doctor", doctor},
};

}  // namespace vm
