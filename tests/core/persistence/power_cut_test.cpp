// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <map>
#include <thread>

#include "camera_bus.h"
#include "settings_in_range.h"

// A camera that loses power while its settings are saved holds the first part of the new set and the rest of
// the old one, with words torn in the middle. It must open, and nothing out of range may come of it.

namespace kxcam::test {
namespace {

constexpr int kCameras = 10;

class PowerCut : public CameraBus {
 protected:
  struct Cell {
    uint16_t address;
    uint8_t byte;
  };

  /// The bytes that a save writes, in its order.
  static std::vector<Cell> written_by_save(Camera& camera) {
    camera.clear_requests();
    EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
    std::vector<Cell> cells;
    for (const auto& request : camera.requests(kEepromWrite)) {
      cells.push_back({request.index, static_cast<uint8_t>(request.value)});
    }
    return cells;
  }

  /// Settings whose bytes, next to others', make values that no setter would take.
  static void set_values_that_tear_badly() {
    CameraSetGain(0, 255);
    CameraSetExposure(0, 0x10001);
    CameraSetGamma(0, 2.0);
    CameraSetContrast(0, 0.3);
    CameraSetWBGain(0, 2.56, 3.0, 0.0);
    CameraSetBlackLevel(0, 255);
    CameraSetAETarget(0, 255);
    CameraSetSaturation(0, 2.0);
    CameraSetTimeout(0, 49920);
    CameraSetSnapNum(0, 0x100);
    CameraSetFrameRate(0, true, 25.6);
  }

  /// What may be written to this model: the greatest value of each request and index; the least is 0 but
  /// for the frames per trigger and the frame rate.
  static void check_registers(const Camera& camera) {
    // clang-format off
    static const std::map<std::pair<int, int>, int> kGreatest = {
        {{kSensorWrite, 0x3204}, 254}, {{kSensorWrite, 0x3205}, 1}, {{kBridgeWrite, 3}, 255}, {{kBridgeWrite, 5}, 65535},
        {{kBridgeWrite, 8}, 1}, {{kBridgeWrite, 9}, 65535}, {{0xB4, 0}, 1}, {{0xB2, 0}, 1}};
    // clang-format on
    for (const auto& [code, index, value] : requests(camera)) {
      const auto row = kGreatest.find({code, index});
      ASSERT_TRUE(row != kGreatest.end() || code != kSensorWrite) << std::hex << index;
      if (row == kGreatest.end()) continue;
      const bool from_one = code == kBridgeWrite && (index == 5 || index == 9);
      EXPECT_TRUE(value >= (from_one ? 1 : 0) && value <= row->second) << code << ", " << index;
    }
  }

  /// Side by side, as most of opening and closing is waiting.
  static void for_each_camera(void (*step)(int camera)) {
    std::array<std::thread, kCameras> threads;
    for (int i = 0; i < kCameras; ++i) threads[static_cast<size_t>(i)] = std::thread(step, i);
    for (auto& thread : threads) thread.join();
  }

  /// Opens a camera that was cut off after every number of bytes, a few cameras at a time.
  void open_after_every_cut(const Bytes& old_set, const Bytes& old_matrix, const std::vector<Cell>& saved) {
    std::vector<std::shared_ptr<Camera>> cameras = bus_.cameras();
    while (cameras.size() < kCameras) cameras.push_back(plug("3600,fps=0"));
    for (const auto& camera : cameras) camera->set_frame_source(kxsim::fill_numbered_frame);  // soon made
    for (size_t first = 0; first <= saved.size(); first += kCameras) {
      for (int i = 0; i < kCameras; ++i) {
        Camera& camera = *cameras[static_cast<size_t>(i)];
        program(camera, kSet0, old_set);
        program(camera, kMatrixBlock, old_matrix);
        const size_t cut = std::min(first + static_cast<size_t>(i), saved.size());
        for (size_t n = 0; n < cut; ++n) camera.set_eeprom(saved[n].address, saved[n].byte);
        camera.clear_requests();
      }
      for_each_camera([](int i) { EXPECT_EQ(CameraInit(i), 0U); });
      for (int i = 0; i < kCameras; ++i) {
        SCOPED_TRACE("cut after " + std::to_string(first + static_cast<size_t>(i)) + " bytes");
        expect_settings_in_range(i);
        check_registers(*cameras[static_cast<size_t>(i)]);
      }
      for_each_camera([](int i) { CameraFree(i); });
    }
  }
};

TEST_F(PowerCut, OfASaveLeavesItsFirstBytes) {
  const auto camera = open_registers("3600");
  CameraSetFPN(0, false);  // or the first save would switch it off, as this camera has no tables
  set_values_that_tear_badly();
  const auto before = cells(*camera, 0, 0x2000);
  const auto saved = written_by_save(*camera);
  ASSERT_EQ(saved.size(), 61U + 18);
  for (const size_t cut : {0U, 1U, 6U, 40U, 61U, 78U}) {
    program(*camera, 0, before);
    camera->inject({.eeprom_writes = cut});
    EXPECT_EQ(CameraSaveParameter(0, 0), 0U) << "nobody is told";
    camera->clear_faults();
    auto expected = before;
    for (size_t n = 0; n < cut; ++n) expected[saved[n].address] = saved[n].byte;
    EXPECT_EQ(cells(*camera, 0, 0x2000), expected) << cut;
  }
}

TEST_F(PowerCut, LeavesACameraThatOpens) {
  const auto camera = plug("3600,fps=0");
  const Bytes factory_set = cells(*camera, kSet0, kSetSize);
  const Bytes factory_matrix = cells(*camera, kMatrixBlock, 18);
  ASSERT_EQ(CameraInit(0), 0U);
  set_values_that_tear_badly();
  const auto saved = written_by_save(*camera);
  CameraFree(0);
  open_after_every_cut(factory_set, factory_matrix, saved);
  open_after_every_cut(Bytes(kSetSize, 0xFF), Bytes(18, 0xFF), saved);
}

TEST_F(PowerCut, InTheFlashLeavesACameraThatOpensAndDevelopsPictures) {
  const auto camera = plug("3600,fps=0");
  for (const uint64_t bytes : {0U, 1U, 719U, 1440U, 1441U, 2881U, 3959U}) {
    ASSERT_EQ(CameraInit(0), 0U);
    camera->inject({.flash_bytes = bytes});
    EXPECT_EQ(CameraSaveParameter(0, 0), 0U);
    camera->clear_faults();
    CameraFree(0);
    ASSERT_EQ(CameraInit(0), 0U) << bytes;
    EXPECT_FALSE(query(KXCAM_FORMAT_GREY).empty()) << bytes;
    CameraFree(0);
  }
}

}  // namespace
}  // namespace kxcam::test
