// SPDX-License-Identifier: Apache-2.0

// The program's memory runs out while its camera is unplugged. Only the producer's own threads are refused:
// the program and its simulated bus always get theirs.

#include <atomic>
#include <cstdlib>
#include <string_view>

#include <link.h>

#include "cameras_in_a_program.h"

namespace {

/// Where the producer lies.
std::atomic<uintptr_t> producer_begin = 0;
std::atomic<uintptr_t> producer_end = 0;
std::atomic<bool> scarce = false;
std::atomic<int> refused = 0;
thread_local bool always_served = false;

int note_range(dl_phdr_info* info, size_t /*size*/, void* /*data*/) {
  if (std::string_view(info->dlpi_name).find("kxcam.cti") == std::string_view::npos) return 0;
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const auto& segment = info->dlpi_phdr[i];
    if (segment.p_type != PT_LOAD || (segment.p_flags & PF_X) == 0) continue;
    producer_begin = info->dlpi_addr + segment.p_vaddr;
    producer_end = producer_begin + segment.p_memsz;
  }
  return 1;
}

}  // namespace

extern "C" {
void* __libc_malloc(size_t bytes);  // NOLINT(bugprone-reserved-identifier)

void* malloc(size_t bytes) noexcept {
  const auto caller = reinterpret_cast<uintptr_t>(__builtin_return_address(0));
  if (scarce && !always_served && caller >= producer_begin && caller < producer_end) {
    ++refused;
    return nullptr;
  }
  return __libc_malloc(bytes);
}
}

namespace kxcam::test {
namespace {

class ScarceMemory : public CamerasInAProgram {};

TEST_F(ScarceMemory, OfAStreamWhoseCameraIsUnpluggedEndsNothingElse) {
  always_served = true;
  ASSERT_EQ(dl_iterate_phdr(note_range, nullptr), 1);
  const auto camera = plug("3600,serial=P,fps=0");
  ASSERT_NO_FATAL_FAILURE(open("P"));
  Acquisition pictures(producer_, device_, *camera_);
  pictures.announce(3);
  pictures.start();
  EXPECT_EQ(pictures.next().status, 0);
  scarce = true;
  bus_.unplug(*camera);
  EXPECT_TRUE(eventually([] { return refused > 0; }));
  scarce = false;
  bus_.plug(camera);
  ASSERT_TRUE(eventually([&] { return camera_->execute("DeviceReset") == 0; }));
  EXPECT_TRUE(eventually([&] { return pictures.next().status == 0; }));
  pictures.stop();
}

}  // namespace
}  // namespace kxcam::test
