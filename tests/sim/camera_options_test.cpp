// SPDX-License-Identifier: Apache-2.0
#include "device/camera_options.h"

#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

#include "device/simulated_camera.h"

namespace kxsim {
namespace {

using testing::HasSubstr;

TEST(CameraOptions, ModelsAreFoundByIdAndByName) {
  for (const auto& row : all_models()) {
    char id[8];
    std::snprintf(id, sizeof id, "%04x", row.product_id);
    EXPECT_EQ(&find_model_by_text(id), &row) << id;
    EXPECT_STREQ(find_model_by_text(row.name).name, row.name);
  }
  EXPECT_EQ(find_model_by_text("5MP-C").product_id, 0x3500U) << "the newer family goes first";
  EXPECT_EQ(find_model_by_text("Model 3.6MP-C").product_id, 0x0400U) << "a name of the older family alone";
  EXPECT_EQ(find_model_by_text("0x392b").product_id, 0x392BU);
}

TEST(CameraOptions, EveryKeyIsTaken) {
  const auto o = parse_camera_options(
      "5MP-C,serial=ABC,name=my "
      "cam,fw=0x8312,features=7,generic,bytes=1,blank,wp,fps=2.5,fifo=64K,speed=high,"
      "eeprom=/x,half,noise=0,fpn=0.02,dead=20,seed=99,light=0.5,flicker=60,step=40:2.5");
  EXPECT_EQ(std::tie(o.serial, o.name, o.firmware, o.features), std::tuple("ABC", "my cam", 0x8312U, 7));
  EXPECT_TRUE(o.generic_id && o.byte_replies && o.blank && o.write_protect && o.half_frames && !o.noise);
  EXPECT_EQ(std::tie(o.frame_rate, o.fifo, o.speed, o.eeprom_file),
            std::tuple(2.5, size_t{65536}, UsbSpeed::kHigh, "/x"));
  EXPECT_EQ(std::tie(o.fixed_pattern, o.dead_pixels, o.seed), std::tuple(0.02, 20, 99U));
  ASSERT_TRUE(o.lighting);
  EXPECT_EQ(o.lighting->lamp.mains_hz, 60);
  EXPECT_EQ(o.lighting->level_at(39), 0.5);
  EXPECT_EQ(o.lighting->level_at(40), 2.5);
  EXPECT_FALSE(parse_camera_options("3500,light=off").lighting);
  EXPECT_NE(SimulatedCamera().options().serial, SimulatedCamera().options().serial);
}

TEST(CameraOptions, MistakesAreNamed) {
  const auto complaint = [](const std::string& text) -> std::string {
    try {
      parse_camera_options(text);
      return "none";
    } catch (const BadCameraOptions& error) {
      return error.what();
    }
  };
  EXPECT_THAT(complaint("9MP"), testing::AllOf(HasSubstr("9MP"), HasSubstr("19.9MP-M")));
  EXPECT_THAT(complaint(""), HasSubstr("unknown model"));
  EXPECT_THAT(complaint("0x3500,colour=red"), testing::AllOf(HasSubstr("colour"), HasSubstr("serial")));
  for (const char* bad : {"fps=fast",  "fps=-1",     "fps=nan",  "fps=1e9",        "serial=1234567890123",
                          "serial",    "fw=",        "fw=12x",   "features=65536", "dead=-1",
                          "speed=low", "noise=yes",  "name=",    "light=-1",       "flicker=mains",
                          "step=40",   "step=4.5:1", "step=4:x", "fifo=0",         "fifo=64k",
                          "fifo=2048M"}) {
    EXPECT_THAT(complaint(std::string("0x3500,") + bad), HasSubstr("expected")) << bad;
  }
}

TEST(CameraOptions, TheEepromFileOutlivesTheCamera) {
  auto options = parse_camera_options("0x3500,serial=FIRST");
  options.eeprom_file = testing::TempDir() + "kxsim_eeprom_test";
  std::filesystem::remove(options.eeprom_file);
  SimulatedCamera(options).set_eeprom(0x1FFF, 0x5A);
  options.serial = "SECOND";
  EXPECT_EQ(SimulatedCamera(options).eeprom(0x1FFF), 0x5A);
  EXPECT_EQ(SimulatedCamera(options).eeprom(0x1D00), 'F') << "the file's content goes first";
  std::ofstream(options.eeprom_file) << "too short";
  EXPECT_THROW(SimulatedCamera{options}, std::runtime_error);
  std::filesystem::remove(options.eeprom_file);
  options.eeprom_file = "/dev/zero";
  EXPECT_THROW(SimulatedCamera{options}, std::runtime_error) << "a file without an end";
}

}  // namespace
}  // namespace kxsim
