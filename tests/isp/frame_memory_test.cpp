// SPDX-License-Identifier: Apache-2.0
#include "isp/frame_memory.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "context_fixture.h"
#include "core/picture/isp.h"
#include "core/registry/camera_parameter.h"
#include "frame_fixture.h"

namespace {

std::atomic<int> allocations = 0;
std::atomic<bool> exhausted = false;

template <class Allocate>
void* counted(Allocate allocate) {
  ++allocations;
  void* memory = exhausted ? nullptr : allocate();
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

// The other forms of new and delete come down to these; under a sanitizer the one that throws nothing is its
// own.
void* operator new(size_t bytes) {
  return counted([=] { return std::malloc(bytes); });
}
void* operator new(size_t bytes, const std::nothrow_t&) noexcept {
  ++allocations;
  return exhausted ? nullptr : std::malloc(bytes);
}
void* operator new(size_t bytes, std::align_val_t alignment) {
  const auto unit = static_cast<size_t>(alignment);
  return counted([=] { return std::aligned_alloc(unit, (bytes + unit - 1) / unit * unit); });
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, size_t) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
  std::free(memory);
}
void operator delete(void* memory, size_t, std::align_val_t) noexcept {
  std::free(memory);
}

namespace kxcam::test {
namespace {

class FrameAllocations : public ContextTest {
 protected:
  /// How often one frame of the camera allocates.
  static int count_frame(int width, int height, int format) {
    std::vector<uint8_t> frame = noise(static_cast<size_t>(width) * height * 2, 1);
    std::vector<uint8_t> out(static_cast<size_t>(width) * height * 4);
    const int before = allocations;
    EXPECT_TRUE(ok(CameraISP(kCamera, frame.data(), out.data(), width, height, format)));
    return allocations - before;
  }
};

constexpr int kFormats[] = {
    KXCAM_FORMAT_RAW,
    KXCAM_FORMAT_GREY,
    KXCAM_FORMAT_COLOR,
    KXCAM_FORMAT_COLOR | KXCAM_FORMAT_32BIT,
    KXCAM_FORMAT_COLOR | KXCAM_FORMAT_UNCORRECTED,
};

void set_corrections(CameraContext& ctx) {
  const SensorSize& sensor = ctx.model().SENSOR_ARRAY;
  const std::vector<double> columns(static_cast<size_t>(sensor.width), 0.01);
  auto field = std::make_shared<FlatField>(sensor);
  field->set_columns(columns, columns);
  ctx.picture.flat_field.store(std::move(field));
  ctx.parameter.isp_flags =
      static_cast<uint16_t>(ctx.parameter.isp_flags & ~(kFixedPatternOff | kDespeckleOff));
}

TEST_F(FrameAllocations, AreOfTheFirstFramesOnly) {
  for (const uint32_t mode : {kRGGB, kBGGR, kMono8, kMono12}) {
    for (const bool rotated : {false, true}) {
      for (const int format : kFormats) {
        SCOPED_TRACE(testing::Message() << mode << ' ' << rotated << ' ' << format);
        const ContextRef ctx = open(mode, 96, 64, true, false, rotated);
        set_corrections(*ctx);
        EXPECT_GT(count_frame(rotated ? 64 : 96, rotated ? 96 : 64, format), 0) << "nothing is counted";
        EXPECT_EQ(count_frame(rotated ? 64 : 96, rotated ? 96 : 64, format), 0);
        set_map(*ctx, IndexMap(48, 32, false, false, rotated));
        EXPECT_EQ(count_frame(rotated ? 32 : 48, rotated ? 48 : 32, format), 0) << "a smaller one";
      }
    }
  }
}

TEST_F(FrameAllocations, AreDoneWithoutWhenMemoryRunsOut) {
  constexpr int kWidth = 32;
  constexpr int kHeight = 16;
  for (const uint32_t mode : {kGBRG, kMono8, kMono12}) {
    SCOPED_TRACE(mode);
    open(mode, kWidth, kHeight, false, true);
    std::vector<uint8_t> frame = noise(size_t{2} * kWidth * kHeight, mode);
    std::vector<uint8_t> scarce(size_t{3} * kWidth * kHeight);
    std::vector<uint8_t> plenty(scarce.size());
    const auto make = [&](std::vector<uint8_t>& out) {
      return ok(CameraISP(kCamera, frame.data(), out.data(), kWidth, kHeight,
                          KXCAM_FORMAT_COLOR | KXCAM_FORMAT_UNCORRECTED));
    };
    exhausted = true;
    const bool made = make(scarce);
    exhausted = false;
    EXPECT_EQ(made, mode != kMono12);
    EXPECT_TRUE(make(plenty));
    EXPECT_EQ(scarce == plenty, made);
  }
}

}  // namespace
}  // namespace kxcam::test
