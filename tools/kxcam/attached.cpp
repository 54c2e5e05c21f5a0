// SPDX-License-Identifier: Apache-2.0
#include "attached.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include <kxcam/kxcam.h>

#include "configuration.h"
#include "doctor/checks.h"
#include "doctor/collector.h"
#include "doctor/usb_scan.h"
#include "error.h"
#include "small_file.h"

namespace kxcam {
namespace {

using doctor::UsbCamera;

/// Counts cameras as the library does: those that the configuration file lists and that reveal their model,
/// in the order of libusb.
class Counter {
 public:
  explicit Counter(const ConfigFile& list) : list_(list) {}

  bool is_listed(const UsbCamera& camera) const { return lists_camera(list_, camera.product_id); }

  /// Index of the next camera; nothing when the library does not count it.
  std::optional<int> take(const UsbCamera& camera) {
    const bool silent = camera.product_id == kGenericProduct && !camera.access.true_product;
    if (!is_listed(camera) || camera.access.open != 0 || silent) return std::nullopt;
    return next_++;
  }

 private:
  const ConfigFile& list_;
  int next_ = 0;
};

/// The cameras on the bus before the library is asked, which prints and even ends the process where something
/// is wrong, and takes a camera from the program that uses it.
class Bus {
 public:
  /// Finds out about camera `index` whether another program uses it.
  explicit Bus(std::optional<int> index = std::nullopt) : sources_(doctor::own_sources()) {
    int error = 0;
    const ConfigFile list = parse_configuration(read_small_file(sources_.configuration, error));
    Counter counter(list);
    scan_ = doctor::scan_usb([&](const UsbCamera& camera) {
      const auto counted = counter.take(camera);
      return counted && counted == index;
    });
    usable_ = error == 0 && list.bad_line == 0 && scan_.start == 0;
    Counter again(list);
    for (const UsbCamera& camera : scan_.cameras) {
      if (again.is_listed(camera) && camera.access.open != 0) usable_ = false;
      if (again.take(camera)) cameras_.push_back(&camera);
    }
    usable_ = usable_ && !cameras_.empty();
  }

  bool usable() const { return usable_; }
  int count() const { return static_cast<int>(cameras_.size()); }

  /// Null where there is none.
  const UsbCamera* camera(int index) const {
    return index < count() ? cameras_[static_cast<std::size_t>(index)] : nullptr;
  }

  /// Throws what the doctor finds about camera `index`, or about the machine.
  [[noreturn]] void fail(int index) const {
    const UsbCamera* asked = camera(index);
    const std::string port = asked != nullptr ? asked->port : "";
    const auto obstacle = find_obstacle(collect(sources_, scan_), port);
    if (!obstacle) {
      throw Error(ExitCode::kNoCamera,
                  asked != nullptr ? fmt::format("camera {} does not answer", index) : "no camera found",
                  "Plug the camera in again; `kxcam doctor` checks everything that it needs.");
    }
    std::string cause = obstacle->text;
    if (!obstacle->camera.empty()) {
      cause = fmt::format("{} at USB port {}: {}",
                          obstacle->camera == port ? fmt::format("camera {}", index) : "the camera",
                          obstacle->camera, cause);
    }
    throw Error(obstacle->prevents_use.value(), cause, obstacle->remedy);
  }

 private:
  doctor::Sources sources_;
  doctor::UsbScan scan_;
  std::vector<const UsbCamera*> cameras_;  ///< by the library's index
  bool usable_ = false;
};

// One byte more than the library writes, so that the text ends whatever the camera holds.
template <std::size_t kSize>
std::string text_of(const std::array<char, kSize>& buffer) {
  return printable(buffer.data());
}

std::string without_index(std::string name, int index) {
  const std::string suffix = fmt::format("({})", index);
  if (name.ends_with(suffix)) name.resize(name.size() - suffix.size());
  return name;
}

std::optional<AttachedCamera> identify(const Bus& bus, int index) {
  std::array<char, 17> serial{};
  std::array<char, 65> name{};
  AttachedCamera camera;
  camera.index = index;
  if (CameraGetName(index, serial.data(), name.data()) != 0) return std::nullopt;
  if (CameraGetID(index, &camera.model_row, &camera.product_id) != 0) return std::nullopt;
  camera.serial = text_of(serial);
  camera.name = without_index(text_of(name), index);
  if (const UsbCamera* seen = bus.camera(index); seen != nullptr) {
    camera.port = seen->port;
    camera.megabits = seen->megabits;
  }
  return camera;
}

std::string_view without_blanks_at_end(std::string_view text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

Error absent_error(const std::string& which) {
  std::string present;
  for (const auto& camera : attached_cameras()) {
    present += fmt::format("\n    {}  {}  {}", camera.index, camera.name, camera.serial);
  }
  return {ExitCode::kNoCamera, fmt::format("there is no camera {}", which), "Attached:" + present};
}

int index_of(const CameraChoice& choice) {
  if (!choice.serial) return choice.index;
  const auto cameras = attached_cameras();
  const auto found =
      std::ranges::find(cameras, without_blanks_at_end(*choice.serial),
                        [](const auto& camera) { return without_blanks_at_end(camera.serial); });
  if (found == cameras.end()) throw absent_error("with the serial number " + *choice.serial);
  return found->index;
}

}  // namespace

std::vector<AttachedCamera> attached_cameras() {
  const Bus bus;
  if (!bus.usable()) bus.fail(bus.count());
  std::vector<AttachedCamera> cameras;
  for (int index = 0; index < bus.count(); ++index) {
    if (auto camera = identify(bus, index)) cameras.push_back(std::move(*camera));
  }
  if (cameras.empty()) bus.fail(bus.count());
  return cameras;
}

AttachedCamera find_camera(const CameraChoice& choice) {
  const int index = index_of(choice);
  const Bus bus(index);
  if (!bus.usable()) bus.fail(index);
  const UsbCamera* seen = bus.camera(index);
  if (seen == nullptr) throw absent_error(std::to_string(index));
  if (seen->access.claim != 0) bus.fail(index);
  auto camera = identify(bus, index);
  if (!camera || camera->model_row == kUnknownModelRow) bus.fail(index);
  return std::move(*camera);
}

}  // namespace kxcam
