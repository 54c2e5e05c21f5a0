// SPDX-License-Identifier: Apache-2.0
#include "usbfs/udev_caller.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

namespace kxsim {
namespace {

/// The tables of a loaded object that name what it imports: whatever it calls has a relocation.
struct Imports {
  std::span<const ElfW(Rela)> data;
  std::span<const ElfW(Rela)> calls;
  const ElfW(Sym) * symbols = nullptr;
  const char* names = nullptr;
};

Imports imports_of(const link_map& object) {
  const ElfW(Rela)* data = nullptr;
  const ElfW(Rela)* calls = nullptr;
  size_t data_bytes = 0;
  size_t call_bytes = 0;
  Imports imports;
  // The dynamic linker has made these addresses absolute.
  for (const auto* entry = object.l_ld; entry->d_tag != DT_NULL; ++entry) {
    const auto address = entry->d_un.d_ptr;
    switch (entry->d_tag) {
      case DT_RELA:
        data = reinterpret_cast<const ElfW(Rela)*>(address);
        break;
      case DT_RELASZ:
        data_bytes = entry->d_un.d_val;
        break;
      case DT_JMPREL:
        calls = reinterpret_cast<const ElfW(Rela)*>(address);
        break;
      case DT_PLTRELSZ:
        call_bytes = entry->d_un.d_val;
        break;
      case DT_SYMTAB:
        imports.symbols = reinterpret_cast<const ElfW(Sym)*>(address);
        break;
      case DT_STRTAB:
        imports.names = reinterpret_cast<const char*>(address);
        break;
      default:
        break;
    }
  }
  if (data != nullptr) imports.data = {data, data_bytes / sizeof *data};
  if (calls != nullptr) imports.calls = {calls, call_bytes / sizeof *calls};
  return imports;
}

/// What every libusb calls that is built with libudev. A program that only makes the first object may hand it
/// to a library that needs libudev's own.
constexpr std::array<std::string_view, 5> kOfLibusb = {
    "udev_monitor_new_from_netlink", "udev_monitor_filter_add_match_subsystem_devtype",
    "udev_monitor_receive_device",   "udev_enumerate_scan_devices",
    "udev_device_new_from_syspath",
};

/// Whether the dynamic linker finds that function here.
bool front_has(const char* name) {
  Dl_info found{};
  Dl_info here{};
  return dladdr(dlsym(RTLD_DEFAULT, name), &found) != 0 &&
         dladdr(reinterpret_cast<const void*>(&is_served_by_front), &here) != 0 &&
         found.dli_fbase == here.dli_fbase;
}

}  // namespace

bool is_served_by_front(const void* address) {
  Dl_info info{};
  link_map* object = nullptr;
  if (dladdr1(address, &info, reinterpret_cast<void**>(&object), RTLD_DL_LINKMAP) == 0 || object == nullptr)
    return false;
  const Imports imports = imports_of(*object);
  if (imports.symbols == nullptr || imports.names == nullptr) return false;
  std::array<bool, kOfLibusb.size()> called{};
  for (const auto& table : {imports.data, imports.calls}) {
    for (const auto& relocation : table) {
      const char* const name = imports.names + imports.symbols[ELF64_R_SYM(relocation.r_info)].st_name;
      if (!std::string_view(name).starts_with("udev_")) continue;
      if (!front_has(name)) return false;
      const auto* const known = std::ranges::find(kOfLibusb, name);
      if (known != kOfLibusb.end()) called[static_cast<size_t>(known - kOfLibusb.begin())] = true;
    }
  }
  return std::ranges::all_of(called, [](bool each) { return each; });
}

}  // namespace kxsim
