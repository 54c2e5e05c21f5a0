// SPDX-License-Identifier: Apache-2.0
#include "usb/config_file.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "kxcam/kxcam.h"

char logfile[256] = "";
char pidfile[256] = "";

namespace kxcam {

namespace {

constexpr size_t kVpdRows = 100;
constexpr int kMaxDevices = 99;
constexpr int kFirstFileRow = 16;  // the rows before it stay empty

static_assert(sizeof(VpdRow) == 34);

std::array<VpdRow, kVpdRows> vpd;
int maxdevices = kFirstFileRow;

using Line = std::array<char, 120>;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

bool next_line(std::FILE* file, Line& line) {
  return std::fgets(line.data(), static_cast<int>(line.size()), file) != nullptr;
}

bool is_blank_or_comment(const Line& line) {
  return line[0] == '#' || std::strspn(line.data(), " \t\n") == std::strlen(line.data());
}

template <size_t N>
void copy_text(char (&to)[N], const char* from) {
  std::snprintf(to, N, "%s", from);
}

uint16_t hexadecimal(const char* text) {
  return static_cast<uint16_t>(std::strtoul(text, nullptr, 16));
}

// A row without a product id names no device and is left out.
void store_row(const char* vendor, char*& rest) {
  const char* product = strtok_r(nullptr, " \t\n", &rest);
  const char* description = strtok_r(nullptr, " \t\n", &rest);
  if (product == nullptr) return;
  VpdRow& row = vpd[static_cast<size_t>(maxdevices)];
  row.vendor = hexadecimal(vendor);
  row.product = hexadecimal(product);
  std::snprintf(row.description.data(), row.description.size(), "%s",
                description == nullptr ? "" : description);
  ++maxdevices;
}

void read_device_rows(std::FILE* file) {
  Line line;
  while (next_line(file, line)) {
    if (maxdevices >= kMaxDevices || is_blank_or_comment(line)) continue;
    char* rest = nullptr;
    const char* first = strtok_r(line.data(), " \t\n", &rest);
    if (first == nullptr) continue;
    if (std::string_view(first) == "</VPD>") return;
    store_row(first, rest);
  }
}

void store_path(char (&to)[256], char*& rest) {
  if (const char* path = strtok_r(nullptr, " \t\n", &rest); path != nullptr) copy_text(to, path);
}

void read_line(std::FILE* file, Line& line) {
  char* rest = nullptr;
  const char* key = strtok_r(line.data(), " =\t\n", &rest);
  if (key == nullptr) return;
  const std::string_view name = key;
  if (name == "LogFile") {
    store_path(logfile, rest);
  } else if (name == "PIDFile") {
    store_path(pidfile, rest);
  } else if (name == "<VPD>") {
    read_device_rows(file);
  } else {
    std::printf("Error in config file %s: %s \n", config_file_path(), line.data());
    std::exit(1);
  }
}

}  // namespace

const char* config_file_path() {
  const char* path = secure_getenv("KXUSB_CONF");
  return path != nullptr && *path != '\0' ? path : "/etc/kxusb.conf";
}

bool read_config_file() {
  const File file(std::fopen(config_file_path(), "re"));
  if (file == nullptr) {
    std::printf("%s file not found. Exiting\n", config_file_path());
    return false;
  }
  Line line;
  while (next_line(file.get(), line)) {
    if (!is_blank_or_comment(line)) read_line(file.get(), line);
  }
  return true;
}

std::span<const VpdRow> listed_devices() {
  return {vpd.data(), static_cast<size_t>(maxdevices)};
}

}  // namespace kxcam
