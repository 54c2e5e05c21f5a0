// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <dirent.h>
#include <sys/stat.h>
#include <sys/statfs.h>

/// The C library's own functions behind those that this front end puts in front of them. A sanitizer's
/// interceptors stay in the chain.
namespace kxsim::libc {

int open(const char* path, int flags, mode_t mode);
int close(int descriptor);
int ioctl(int descriptor, unsigned long request, void* argument);
int statfs(const char* path, struct statfs* result);
DIR* opendir(const char* path);
dirent* readdir(DIR* folder);
int dirfd(DIR* folder);
int closedir(DIR* folder);

}  // namespace kxsim::libc
