// SPDX-License-Identifier: Apache-2.0
#include "system.h"

#include <utility>

#include <dlfcn.h>

#include "kxcam/extra.h"
#include "version.h"

namespace kxcam::gentl {

namespace {

/// Of this library's file.
std::string own_path() {
  static const int anchor = 0;
  Dl_info info{};
  return dladdr(&anchor, &info) != 0 && info.dli_fname != nullptr ? info.dli_fname : "";
}

std::string own_file() {
  const std::string path = own_path();
  return path.substr(path.rfind('/') + 1);
}

constexpr const char* kSystemCategory = "SystemInformation";

std::vector<Feature> system_features() {
  return {
      fixed_text("TLID", kSystemCategory, "Name of the producer", kVendorText),
      fixed_text("TLVendorName", kSystemCategory, "Maker of the producer", kVendorText),
      fixed_text("TLModelName", kSystemCategory, "Kind of the producer", kVendorText),
      fixed_text("TLVersion", kSystemCategory, "Version of the producer", kVersionText),
      fixed_text("TLFileName", kSystemCategory, "Its file", own_file()),
      fixed_text("TLPath", kSystemCategory, "Its file with the path", own_path()),
      fixed_text("TLDisplayName", kSystemCategory, "Name to show", "kxcam USB cameras"),
      fixed_text("TLType", kSystemCategory, "Kind of the cameras", kTypeText),
      fixed_number("GenTLVersionMajor", kSystemCategory, "Version of the interface", kInterfaceVersionMajor),
      fixed_number("GenTLVersionMinor", kSystemCategory, "Version of the interface", kInterfaceVersionMinor),
      fixed_text("InterfaceID", kSystemCategory, "Name of the only interface", kInterfaceId),
  };
}

}  // namespace

void system_info(SystemInfo command, const Answer& answer) {
  switch (command) {
    case SystemInfo::kId:
    case SystemInfo::kVendor:
    case SystemInfo::kModel:
      return answer.text(kVendorText);
    case SystemInfo::kVersion:
      return answer.text(kVersionText);
    case SystemInfo::kType:
      return answer.text(kTypeText);
    case SystemInfo::kFileName:
      return answer.text(own_file());
    case SystemInfo::kPath:
      return answer.text(own_path());
    case SystemInfo::kDisplayName:
      return answer.text("kxcam USB cameras");
    case SystemInfo::kEncoding:
      return answer.int32(kUtf8);
    case SystemInfo::kVersionMajor:
      return answer.uint32(kInterfaceVersionMajor);
    case SystemInfo::kVersionMinor:
      return answer.uint32(kInterfaceVersionMinor);
  }
  fail_unknown_info();
}

System::System()
    : port_({.id = kVendorText, .module = "TLSystem", .model = kVendorText},
            {.model = "kxcam_system",
             .tooltip = "The kxcam producer",
             .product_guid = "9c1f0f5e-7a34-4a0b-8a52-5b2d4de1a7c1"},
            system_features()) {}

System::~System() {
  close();
}

Handle System::open_interface(const std::string& id) {
  if (id != kInterfaceId) fail(kInvalidId, "no such interface");
  const std::lock_guard lock(mutex_);
  if (closed_) fail(kInvalidHandle, "the system is closed");
  if (interface_ != nullptr) fail(kResourceInUse, "the interface is open already");
  auto interface = std::make_shared<Interface>(handle());
  const Handle opened = HandleTable::instance().enter(interface);
  interface_ = std::move(interface);
  return opened;
}

void System::close_interface(Interface& interface) {
  HandleTable::instance().remove(interface);
  interface.close();
  const std::lock_guard lock(mutex_);
  if (interface_.get() == &interface) interface_ = nullptr;
}

void System::close() {
  std::shared_ptr<Interface> interface;
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    interface = std::move(interface_);
  }
  if (interface != nullptr) {
    HandleTable::instance().remove(*interface);
    interface->close();
  }
  events().close();
  port_.close();
}

Library& Library::instance() {
  static Library& one = *new Library;
  return one;
}

void Library::begin() {
  const std::lock_guard lock(mutex_);
  if (begun_) fail(kResourceInUse, "the library is initialised already");
  // The process is somebody else's: nothing is printed, and a malformed configuration does not end it.
  kxcam_set_message_handler([](const char*, void*) {}, nullptr);
  begun_ = true;
}

void Library::end() {
  std::shared_ptr<System> system;
  {
    const std::lock_guard lock(mutex_);
    if (!begun_) fail(kNotInitialized, "GCInitLib was not called");
    begun_ = false;
    system = std::move(system_);
  }
  if (system == nullptr) return;
  HandleTable::instance().remove(*system);
  system->close();
}

void Library::require_begun() {
  const std::lock_guard lock(mutex_);
  if (!begun_) fail(kNotInitialized, "GCInitLib was not called");
}

Handle Library::open_system() {
  const std::lock_guard lock(mutex_);
  if (!begun_) fail(kNotInitialized, "GCInitLib was not called");
  if (system_ != nullptr) fail(kResourceInUse, "the system is open already");
  auto system = std::make_shared<System>();
  const Handle opened = HandleTable::instance().enter(system);
  system_ = std::move(system);
  return opened;
}

void Library::close_system(System& system) {
  HandleTable::instance().remove(system);
  system.close();
  const std::lock_guard lock(mutex_);
  if (system_.get() == &system) system_ = nullptr;
}

}  // namespace kxcam::gentl
