// SPDX-License-Identifier: Apache-2.0

// A program that makes objects of libudev and hands them to what uses more of libudev than libusb does: a
// library of its own, here a function that it loads by name.

#include <cstdio>

#include <dlfcn.h>

struct udev;
struct udev_device;
extern "C" {
udev* udev_new();
udev* udev_unref(udev* context);
udev_device* udev_device_new_from_syspath(udev* context, const char* path);
udev_device* udev_device_unref(udev_device* device);
}

int main() {
  void* const library = dlopen("libudev.so.1", RTLD_LAZY);
  auto* const subsystem =
      reinterpret_cast<const char* (*)(udev_device*)>(dlsym(library, "udev_device_get_subsystem"));
  if (subsystem == nullptr) return 1;
  udev* const context = udev_new();
  udev_device* const device = udev_device_new_from_syspath(context, "/sys/devices/system/cpu/cpu0");
  if (device == nullptr) return 1;
  std::puts(subsystem(device));
  udev_device_unref(device);
  udev_unref(context);
}
