// SPDX-License-Identifier: Apache-2.0
// The description of every model: valid, complete, and true of what the camera does.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <thread>
#include <utility>

#include <unistd.h>

#include "cameras_in_a_program.h"
#include "device/model.h"

namespace kxcam::test {
namespace {

constexpr int kShares = 8;

class Models : public CamerasInAProgram, public testing::WithParamInterface<int> {};

/// A name that consumers look for whatever the camera is.
constexpr const char* kMandatory[] = {"DeviceVendorName", "DeviceModelName", "DeviceSerialNumber",
                                      "SensorWidth",      "SensorHeight",    "WidthMax",
                                      "HeightMax",        "Width",           "Height",
                                      "OffsetX",          "OffsetY",         "PixelFormat",
                                      "PayloadSize",      "TLParamsLocked",  "AcquisitionMode",
                                      "AcquisitionStart", "AcquisitionStop", "Gain",
                                      "BlackLevel",       "Gamma",           "AcquisitionFrameRate",
                                      "ReverseX",         "ReverseY",        "UserSetLoad",
                                      "UserSetSave",      "kxcamFramesEnded"};

void expect_no_dangling_reference(const Features& camera) {
  pugi::xml_document document;
  document.load_buffer(camera.xml().data(), camera.xml().size());
  const auto references = document.select_nodes(
      "//*[starts-with(name(), 'p') and contains('ABCDEFGHIJKLMNOPQRSTUVWXYZ', substring(name(), 2, 1))]");
  EXPECT_GT(references.size(), 300U);
  for (const auto& each : references)
    EXPECT_TRUE(camera.has(each.node().child_value()))
        << each.node().name() << " " << each.node().child_value();
}

void expect_value_kept(const Features& camera, const std::string& name) {
  const auto limits = camera.limits(name);
  const double value = camera.number(name);
  if (!limits) return;
  EXPECT_TRUE(value >= limits->least && value <= limits->most)
      << name << " is " << value << ", not within " << limits->least << " and " << limits->most;
  if (limits->step > 0) {
    EXPECT_EQ(std::remainder(value - limits->least, limits->step), 0) << name;
  }
}

/// Both ends are taken, what lies beyond or between two steps is not.
void expect_range_kept(const Features& camera, const std::string& name) {
  const double before = camera.number(name);
  const auto limits = camera.limits(name);
  for (const double end : {limits->least, limits->most}) {
    EXPECT_EQ(camera.set(name, end), 0) << name << " = " << end << camera.last_error();
    expect_value_kept(camera, name);
  }
  const auto after = camera.limits(name);
  EXPECT_EQ(camera.set(name, after->least - 1), kInvalidValue) << name;
  EXPECT_EQ(camera.set(name, after->most + 1), kInvalidValue) << name;
  if (after->step > 1 && after->least < after->most) {
    EXPECT_EQ(camera.set(name, after->least + 1), kInvalidValue) << name;
    EXPECT_EQ(camera.set(name, after->least + after->step), 0) << name;
  }
  EXPECT_EQ(camera.set(name, before), 0) << name << " = " << before << camera.last_error();
}

void expect_choices_taken(const Features& camera, const std::string& name) {
  const std::string before = camera.choice(name);
  for (const std::string& each : camera.choices(name)) {
    EXPECT_EQ(camera.set(name, each), 0) << name << " = " << each;
    if (each != "Once") {
      EXPECT_EQ(camera.choice(name), each) << name;
    }
  }
  EXPECT_EQ(camera.set(name, before), 0) << name << " = " << before << camera.last_error();
}

void expect_feature_true(const Features& camera, const std::string& name) {
  const std::string kind = camera.kind(name);
  if (kind == "Command" || !camera.readable(name)) return;
  if (kind == "StringReg") {
    EXPECT_NE(camera.text(name), "") << name;
    return;
  }
  expect_value_kept(camera, name);
  if (!camera.writable(name)) return;
  if (kind == "Enumeration") expect_choices_taken(camera, name);
  if (kind == "Boolean") {
    const double before = camera.number(name);
    EXPECT_EQ(camera.set(name, 1 - before), 0) << name;
    EXPECT_EQ(camera.number(name), 1 - before) << name;
    EXPECT_EQ(camera.set(name, before), 0) << name;
  }
  if (camera.limits(name)) expect_range_kept(camera, name);
}

/// These drop the frames of before, and wait for some time whether one is still coming.
bool waits_for_frames(const std::string& name) {
  return name == "TriggerMode" || name == "kxcamGlobalReset";
}

/// The region moves over the whole sensor, mirrored or not.
void expect_region_anywhere(const Features& camera) {
  for (const double mirrored : {0.0, 1.0}) {
    EXPECT_EQ(camera.set("ReverseX", mirrored), 0);
    EXPECT_EQ(camera.set("ReverseY", mirrored), 0);
    for (const auto& [length, start] : {std::pair("Width", "OffsetX"), std::pair("Height", "OffsetY")}) {
      const auto limits = camera.limits(length);
      EXPECT_EQ(camera.set(length, limits->least + limits->step), 0) << length;
      for (const double at : {camera.limits(start)->most, limits->step, 0.0})
        EXPECT_EQ(camera.set(start, at), 0) << start << " = " << at;
      EXPECT_EQ(camera.set(length, limits->most), 0) << length;
    }
  }
}

TEST_P(Models, KeepWhatTheirDescriptionPromises) {
  const auto all = kxsim::all_models();
  std::vector<std::string> serials;
  for (size_t n = static_cast<size_t>(GetParam()); n < all.size(); n += kShares) {
    kxsim::CameraOptions options(all[n]);
    options.serial = "M" + std::to_string(all[n].product_id);
    serials.push_back(options.serial);
    auto camera = std::make_shared<Camera>(std::move(options));
    // The chart of a large sensor takes longer to draw than a request waits on a busy machine.
    camera->set_frame_source(kxsim::fill_numbered_frame);
    camera->inject({.stream_frames = 0});
    bus_.plug(std::move(camera));
  }
  const auto folder = std::filesystem::temp_directory_path() /
                      ("kxcam-descriptions-" + std::to_string(getpid()) + "-" + std::to_string(GetParam()));
  std::filesystem::create_directory(folder);

  std::vector<std::thread> waiting;
  for (const std::string& serial : serials) {
    SCOPED_TRACE(serial);
    ASSERT_NO_FATAL_FAILURE(open(serial));
    std::ofstream(folder / (serial + ".xml")) << camera_->xml();
    expect_no_dangling_reference(*camera_);
    for (const char* name : kMandatory) EXPECT_TRUE(camera_->has(name)) << name;
    for (const std::string& name : camera_->names()) {
      if (!waits_for_frames(name)) expect_feature_true(*camera_, name);
    }
    expect_region_anywhere(*camera_);
    waiting.emplace_back([this, serial, device = device_, camera = std::shared_ptr(std::move(camera_))] {
      SCOPED_TRACE(serial);
      for (const std::string& name : camera->names()) {
        if (waits_for_frames(name)) expect_feature_true(*camera, name);
      }
      EXPECT_EQ(producer_.call("DevClose", device), 0);
    });
  }
  for (std::thread& each : waiting) each.join();
  EXPECT_EQ(std::system((KXCAM_SCHEMA_CHECK " " + folder.string()).c_str()), 0);
  std::filesystem::remove_all(folder);
}

INSTANTIATE_TEST_SUITE_P(Share, Models, testing::Range(0, kShares));

}  // namespace
}  // namespace kxcam::test
