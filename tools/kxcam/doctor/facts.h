// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kxcam::doctor {

/// A hub on the way to a camera.
struct Hub {
  std::string name;          ///< "usb1" for that of the host controller, else bus and ports: "1-3"
  std::string product;       ///< "" when it gives none
  int megabits = 0;          ///< per second; 0: not known
  uint16_t usb_version = 0;  ///< 0x0210 is USB 2.1; 0: not known
};

/// A process that has a camera's device node open.
struct Holder {
  int pid = 0;
  std::string program;
};

enum class Membership { kNone, kAfterLogin, kYes };

/// Who may open a device node.
struct Node {
  std::string path;   ///< /dev/bus/usb/BBB/DDD
  int error = 0;      ///< errno of asking to read and write it; 0: its permissions allow it
  unsigned mode = 0;  ///< permission bits; 0 when it is not there
  std::string group;
  Membership membership = Membership::kNone;  ///< of this process in `group`
};

/// What an attempt to use a camera came to. Codes are libusb's.
struct UsbAccess {
  int open = 0;
  int claim = 0;                              ///< of interface 0; 0 too when the device could not be opened
  std::optional<bool> super_speed = {};       ///< whether it can do 5 Gbit/s; unknown unless it was opened
  std::optional<uint16_t> true_product = {};  ///< reply of a device with the generic id
};

/// A device of the cameras' vendor id.
struct CameraFacts {
  std::string port;  ///< bus and ports, "1-3.2": its name in sysfs
  uint16_t product_id = 0;
  int megabits = 0;           ///< speed of the connection per second; 0: not known
  std::string power_control;  ///< "on", "auto"; "": not known
  std::string kernel_driver;  ///< bound to interface 0; "usbfs" stands for a program; "": none
  Node node;
  std::vector<Hub> hubs;  ///< from the host controller on
  std::vector<Holder> holders;
  std::optional<UsbAccess> usb;  ///< nothing when libusb does not show the device
  std::vector<std::pair<std::string, std::string>> attributes;  ///< of sysfs, for the report only
};

struct Configuration {
  std::string path;
  int error = 0;  ///< errno of reading it
  std::string text;
};

/// The udev rule that opens device nodes to users.
struct Rule {
  std::string file;            ///< the file that is in force, "" when there is none
  bool names_cameras = false;  ///< it mentions the vendor id
};

/// What the machine says about its cameras. Nothing here is a conclusion.
struct Facts {
  bool simulated = false;  ///< by kxsim: what the kernel says of its own bus does not count
  bool root = false;
  bool container = false;
  bool usb_in_sysfs = true;      ///< /sys/bus/usb/devices
  bool node_folder = true;       ///< /dev/bus/usb
  bool super_speed_bus = false;  ///< the machine has a bus of 5 Gbit/s or more
  int libusb_start = 0;          ///< libusb's code
  Configuration configuration;
  Rule rule;
  std::optional<int> usbfs_memory_mb;  ///< 0: no limit
  std::vector<CameraFacts> cameras;    ///< by port
};

}  // namespace kxcam::doctor
