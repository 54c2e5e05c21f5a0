// SPDX-License-Identifier: Apache-2.0

// The functions of the C library through which libusb reaches the kernel. The dynamic linker prefers
// these to the C library's own, so that the unmodified libusb meets simulated devices; everything that is
// not about USB devices goes on to where it would have gone. Must be compiled without 64-bit file offsets
// by macro, which would rename `open`.

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/statfs.h>
#include <unistd.h>

#include "usbfs/descriptor_flags.h"
#include "usbfs/libc.h"
#include "usbfs/virtual_bus.h"

namespace kxsim {
namespace {

constexpr std::string_view kNodes = "/dev/bus/usb/";
constexpr std::string_view kAttributes = "/sys/bus/usb/devices/";

/// A file that exists in memory only.
int memory_file(std::string_view content) {
  const int descriptor = memfd_create("kxsim-attribute", MFD_CLOEXEC);
  if (descriptor < 0) return -1;
  if (write(descriptor, content.data(), content.size()) != static_cast<ssize_t>(content.size()) ||
      lseek(descriptor, 0, SEEK_SET) != 0) {
    libc::close(descriptor);
    errno = EIO;
    return -1;
  }
  return descriptor;
}

int open_attribute(std::string_view path) {
  path.remove_prefix(kAttributes.size());
  const auto slash = path.find('/');
  const auto device = VirtualBus::instance().find_device(path.substr(0, slash));
  const auto content =
      device && slash != std::string_view::npos ? device->attribute(path.substr(slash + 1)) : std::nullopt;
  if (content) return memory_file(*content);
  errno = ENOENT;
  return -1;
}

int open_file(const char* path, int flags, mode_t mode) try {
  const auto begins_with = [path](std::string_view prefix) {
    return std::strncmp(path, prefix.data(), prefix.size()) == 0;
  };
  if (begins_with(kNodes)) {
    VirtualBus::instance().first_use();
    return VirtualBus::instance().open_node(path);
  }
  if (begins_with(kAttributes)) {
    VirtualBus::instance().first_use();
    return open_attribute(path);
  }
  return libc::open(path, flags, mode);
} catch (const std::bad_alloc&) {
  errno = ENOMEM;
  return -1;
}

}  // namespace
}  // namespace kxsim

extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl50-cpp): the names and variadic forms are the C library's.

int open(const char* path, int flags, ...) {
  mode_t mode = 0;
  if ((flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE) {
    va_list arguments;
    va_start(arguments, flags);
    mode = va_arg(arguments, mode_t);  // NOLINT(clang-analyzer-valist.Uninitialized): it is started
    va_end(arguments);
  }
  return kxsim::open_file(path, flags, mode);
}

int __open_2(const char* path, int flags);
int __open_2(const char* path, int flags) {
  return kxsim::open_file(path, flags, 0);
}

// Programs built with 64-bit file offsets call the same functions by these names.
int open64(const char* path, int flags, ...) __attribute__((alias("open")));
int __open64_2(const char* path, int flags) __attribute__((alias("__open_2")));

int close(int descriptor) {
  if (kxsim::DescriptorFlags::maybe_ours(descriptor)) {
    if (const auto file = kxsim::VirtualBus::instance().take_file(descriptor)) file->close();
  }
  return kxsim::libc::close(descriptor);
}

int ioctl(int descriptor, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  if (kxsim::DescriptorFlags::maybe_ours(descriptor)) {
    if (const auto file = kxsim::VirtualBus::instance().file(descriptor)) {
      const int result = file->ioctl(request, argument);
      if (result >= 0) return result;
      errno = -result;
      return -1;
    }
  }
  return kxsim::libc::ioctl(descriptor, request, argument);
}

// libusb asks whether /sys is really sysfs; in a container it may not be.
int statfs(const char* path, struct statfs* result) noexcept {
  if (std::strcmp(path, "/sys") != 0) return kxsim::libc::statfs(path, result);
  std::memset(result, 0, sizeof *result);
  result->f_type = SYSFS_MAGIC;
  return 0;
}

int statfs64(const char* path, struct statfs64* result) noexcept {
  static_assert(sizeof(struct statfs64) == sizeof(struct statfs));
  return statfs(path, reinterpret_cast<struct statfs*>(result));
}

// NOLINTEND(bugprone-reserved-identifier,cert-dcl50-cpp)

}  // extern "C"
