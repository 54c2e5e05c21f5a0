// SPDX-License-Identifier: Apache-2.0
#include "usbfs/libc.h"

#include <dlfcn.h>

namespace kxsim::libc {
namespace {

template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

int open(const char* path, int flags, mode_t mode) {
  static auto* const function = next<int(const char*, int, ...)>("open");
  return function(path, flags, mode);
}

int close(int descriptor) {
  static auto* const function = next<int(int)>("close");
  return function(descriptor);
}

int ioctl(int descriptor, unsigned long request, void* argument) {
  static auto* const function = next<int(int, unsigned long, ...)>("ioctl");
  return function(descriptor, request, argument);
}

int statfs(const char* path, struct statfs* result) {
  static auto* const function = next<int(const char*, struct statfs*)>("statfs");
  return function(path, result);
}

DIR* opendir(const char* path) {
  static auto* const function = next<DIR*(const char*)>("opendir");
  return function(path);
}

dirent* readdir(DIR* folder) {
  static auto* const function = next<dirent*(DIR*)>("readdir");
  return function(folder);
}

int dirfd(DIR* folder) {
  static auto* const function = next<int(DIR*)>("dirfd");
  return function(folder);
}

int closedir(DIR* folder) {
  static auto* const function = next<int(DIR*)>("closedir");
  return function(folder);
}

}  // namespace kxsim::libc
