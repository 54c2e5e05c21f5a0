// SPDX-License-Identifier: Apache-2.0

// The properties of the element.

#include <cstdio>
#include <fstream>

#include <gmock/gmock.h>
#include <unistd.h>

#include <kxcam/extra.h>

#include "element_bus.h"

namespace kxcam::test {
namespace {

using testing::HasSubstr;

class GstControls : public ElementBus {};

TEST_F(GstControls, EveryControlIsAPropertyWithItsRange) {
  plug_still("3600");
  Element element;
  ASSERT_EQ(element.set_state(GST_STATE_READY), GST_STATE_CHANGE_SUCCESS);
  kxcam_control control{};
  int number = 0;
  for (; kxcam_get_control(number, &control, sizeof control) == 0; ++number) {
    SCOPED_TRACE(control.name);
    GParamSpec* spec = g_object_class_find_property(G_OBJECT_GET_CLASS(element.get()), control.name);
    ASSERT_NE(spec, nullptr);
    if (std::string(control.name) == "timeout") continue;  // the element's own
    EXPECT_TRUE((spec->flags & GST_PARAM_MUTABLE_PLAYING) == GST_PARAM_MUTABLE_PLAYING);
    if (G_IS_PARAM_SPEC_DOUBLE(spec)) {
      EXPECT_EQ(G_PARAM_SPEC_DOUBLE(spec)->minimum, control.minimum);
      EXPECT_EQ(G_PARAM_SPEC_DOUBLE(spec)->maximum, control.maximum);
    } else if (G_IS_PARAM_SPEC_INT(spec)) {
      EXPECT_EQ(G_PARAM_SPEC_INT(spec)->minimum, control.minimum);
      EXPECT_EQ(G_PARAM_SPEC_INT(spec)->maximum, control.maximum);
    } else {
      EXPECT_TRUE(G_IS_PARAM_SPEC_BOOLEAN(spec) || G_IS_PARAM_SPEC_ENUM(spec));
    }
    // What the camera has it shows.
    double value = 0;
    if (kxcam_get(0, control.name, &value) == 0 && G_IS_PARAM_SPEC_DOUBLE(spec)) {
      double shown = 0;
      g_object_get(element.get(), control.name, &shown, nullptr);
      EXPECT_EQ(shown, value);
    }
  }
  EXPECT_GT(number, 40);
}

TEST_F(GstControls, AreSetBeforeTheCameraIsOpenAndWhileItStreams) {
  plug_still("3600");
  Element element(
      "gain=77 gamma=1.8 mirror-x=true anti-flicker=60hz exposure=300 high-speed=true exposure-ms=2.5");
  element.play();
  ASSERT_NE(element.pull(), nullptr);
  const auto in_camera = [](const char* name) {
    double value = -1;
    EXPECT_EQ(kxcam_get(0, name, &value), 0) << name;
    return value;
  };
  EXPECT_EQ(in_camera("gain"), 77);
  EXPECT_EQ(in_camera("gamma"), 1.8);
  EXPECT_EQ(in_camera("mirror-x"), 1);
  EXPECT_EQ(in_camera("anti-flicker"), 2);
  // A view of another setting counts when it is the later one, under all that changes its meaning.
  EXPECT_NEAR(in_camera("exposure-ms"), 2.5, 0.05);
  element.set("exposure", "123");
  element.set("gain", "78");
  EXPECT_EQ(in_camera("exposure"), 123);
  EXPECT_EQ(in_camera("gain"), 78);
  EXPECT_EQ(element.property("exposure"), "123");
  // They hold over a restart.
  element.set_state(GST_STATE_NULL);
  element.set_state(GST_STATE_READY);
  EXPECT_EQ(in_camera("exposure"), 123);
  EXPECT_EQ(in_camera("gain"), 78);
  EXPECT_EQ(in_camera("high-speed"), 1);
  // What is not set stays as it is stored.
  EXPECT_EQ(in_camera("contrast"), 1);
}

TEST_F(GstControls, ThatTheCameraRefusesAreNoLessThanAnErrorAtStart) {
  plug_still("0130");  // without global reset
  Element element("global-reset=true");
  EXPECT_EQ(element.set_state(GST_STATE_READY), GST_STATE_CHANGE_FAILURE);
  EXPECT_THAT(element.error(), HasSubstr("global-reset"));
  Element later;
  ASSERT_EQ(later.set_state(GST_STATE_READY), GST_STATE_CHANGE_SUCCESS);
  later.set("global-reset", "true");
  EXPECT_THAT(later.warning(), HasSubstr("global-reset"));
}

TEST_F(GstControls, AStoredTriggerStaysOn) {
  plug_still("3600");
  ASSERT_EQ(CameraInit(0), 0U);
  ASSERT_EQ(CameraSetSnapMode(0, 2), 0U);
  ASSERT_EQ(CameraSaveParameter(0, 0), 0U);
  CameraFree(0);
  Element element("gain=40");
  ASSERT_EQ(element.set_state(GST_STATE_READY), GST_STATE_CHANGE_SUCCESS);
  EXPECT_EQ(element.property("trigger"), "true");
}

TEST_F(GstControls, SettingsComeFromAFileToo) {
  plug_still("3600");
  const std::string file = testing::TempDir() + "settings-" + std::to_string(getpid()) + ".txt";
  const auto error_with = [&](const char* text) {
    std::ofstream(file) << text;
    Element element("settings=" + file);
    return element.set_state(GST_STATE_READY) == GST_STATE_CHANGE_FAILURE ? element.error() : "";
  };
  EXPECT_THAT(error_with("gain = 5\nsharpness = 3\n"), HasSubstr(":2: unknown control 'sharpness'"));
  EXPECT_THAT(error_with("gain = 256\n"), HasSubstr(":1: invalid value '256' for gain"));
  EXPECT_THAT(error_with("gain = 5\ngain = 6\n"), HasSubstr(":2: gain is set twice"));
  EXPECT_THAT(error_with("exposure-ms = 5\n"), HasSubstr("is not stored"));
  EXPECT_THAT(error_with("gain 5\n"), HasSubstr("NAME = VALUE"));
  EXPECT_THAT(error_with("# nothing\n"), HasSubstr("no settings"));
  std::ofstream(file)
      << "# of a camera\n\nexposure = 100  # lines\nanti-flicker = 50hz\ntrigger = on\ngain = 40\n";
  Element element("gain=41 settings=" + file);
  ASSERT_EQ(element.set_state(GST_STATE_READY), GST_STATE_CHANGE_SUCCESS);
  EXPECT_EQ(element.property("exposure"), "100");
  EXPECT_EQ(element.property("anti-flicker"), "50hz");
  EXPECT_EQ(element.property("trigger"), "true");
  EXPECT_EQ(element.property("gain"), "41") << "a property goes before the file";
  std::remove(file.c_str());
  Element missing("settings=/no/such/file");
  EXPECT_EQ(missing.set_state(GST_STATE_READY), GST_STATE_CHANGE_FAILURE);
  EXPECT_THAT(missing.error(), HasSubstr("cannot read /no/such/file"));
}

TEST_F(GstControls, ActionsReachTheCamera) {
  plug_still("3600");
  Element element("wb-red=2.5");
  EXPECT_FALSE(element.act("trigger-shot")) << "no camera is open";
  element.play();
  ASSERT_NE(element.pull(), nullptr);
  EXPECT_FALSE(element.act("trigger-shot")) << "the camera runs freely";
  EXPECT_TRUE(element.act("one-push-white-balance"));
  for (int i = 0; i < 50 && element.property("wb-red") == "2.5"; ++i) ASSERT_NE(element.pull(), nullptr);
  EXPECT_NE(element.property("wb-red"), "2.5");
}

}  // namespace
}  // namespace kxcam::test
