// SPDX-License-Identifier: Apache-2.0
// Settings that are kept: in a file, and in the memory of a camera between runs.
#include <fstream>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "saved_picture.h"
#include "simulated_run.h"
#include "temporary_folder.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class Params : public testing::Test {
 protected:
  std::string file(const std::string& name) const { return folder_.path() / name; }

  /// A camera that keeps its memory from one run to the next. Nobody looks at its pictures.
  Cameras camera(const std::string& options = "3500", const std::string& memory = "memory") const {
    return {{options + ",fps=1,eeprom=" + file(memory)}};
  }

  std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(file(name)) << text;
    return file(name);
  }

  /// The settings of a camera without the lines that say which one it is.
  static std::string settings_of(const Cameras& cameras) {
    const std::string text = output_of(cameras, {"params", "save", "-"});
    return text.substr(text.find("\n\n"));
  }

 private:
  TemporaryFolder folder_;
};

TEST_F(Params, AFileCarriesAllSettingsToAnotherCamera) {
  // Hundredths that binary fractions miss, and a target that the black level is taken from at every open.
  output_of(camera(), {"params", "store", "gain=33", "gamma=1.14", "saturation=0.29", "target=60",
                       "black-level=10", "frame-rate=8.2", "mirror-x=on", "rotate-90=on", "wb-red=3",
                       "trigger=on", "exposure=70000", "denoise=off", "anti-flicker=60hz"});
  output_of(camera(), {"params", "save", file("a.conf")});
  const std::string text = read_file(file("a.conf"));
  EXPECT_THAT(text, AllOf(HasSubstr("\ngain               = 33          # 1..255\n"),
                          HasSubstr("\ngamma              = 1.14        # 0.3..2\n"),
                          HasSubstr("\ntarget             = 60          # levels, 0..255\n"),
                          HasSubstr("\nexposure           = 70000       # lines, "),
                          HasSubstr("\nrotate-90          = on          # off|on\n"),
                          HasSubstr("# global-reset       not offered by this camera\n"),
                          HasSubstr("serial KXSIM0000001"), Not(HasSubstr("exposure-ms"))));

  const Cameras other = camera("3500", "other");
  ASSERT_NE(settings_of(other), settings_of(camera()));
  output_of(other, {"params", "load", file("a.conf")});
  EXPECT_EQ(settings_of(other), settings_of(camera())) << "in the next run";
  output_of(other, {"params", "load", file("a.conf")});
  EXPECT_EQ(settings_of(other), settings_of(camera())) << "nothing drifts";
}

TEST_F(Params, AFileMayBeShortAndForAnotherModel) {
  const auto name = write("b.conf", "\xEF\xBB\xBF  gain=12 # louder\r\nglobal-reset = on\nmirror-y = on");
  EXPECT_THAT(output_of(camera(), {"params", "load", name}), HasSubstr("skipped global-reset"));
  EXPECT_EQ(output_of(camera(), {"get", "gain", "mirror-y", "exposure"}),
            "gain=12\nmirror-y=on\nexposure=275\n");
}

TEST_F(Params, AFileLeavesWhatItDoesNotNameAlone) {
  output_of(camera(), {"params", "store", "trigger=on", "gain=33"});
  output_of(camera(), {"params", "load", write("x.conf", "gamma = 1.5")});
  EXPECT_EQ(output_of(camera(), {"get", "trigger", "gain", "gamma"}), "trigger=on\ngain=33\ngamma=1.5\n");
}

TEST_F(Params, AMistakeIsReportedWithItsLineAndNothingChanges) {
  const std::string before = settings_of(camera());
  const std::pair<std::string, std::string> mistakes[] = {
      {"gain = 3\ncolour = 7\n", "x.conf:2: unknown control 'colour'"},
      {"gain = 3\n\n# gain\ntarget = 256\n", "x.conf:4: invalid value 256 for target (0..255)"},
      {"gain = 3\ngain = 4\n", "x.conf:2: gain is set twice\nThe first time is in line 1."},
      {"gain = 3\nhello\n", "x.conf:2: 'hello' is not an assignment"},
      {"gain =\n", "x.conf:1: invalid value '' for gain"},
      {"exposure-ms = 3\n", "x.conf:1: exposure-ms is not stored"},
      {"", "x.conf holds no settings"},
      {"\xEF\xBB\xBF# gain = 3\r\n", "x.conf holds no settings"},
      {std::string(70'000, '#'), "too long for a settings file"}};
  for (const auto& [text, answer] : mistakes) {
    const Result result = run(camera(), {"params", "load", write("x.conf", text)});
    EXPECT_EQ(result.status, 2) << answer;
    EXPECT_THAT(result.error, HasSubstr(answer));
  }
  EXPECT_EQ(run(camera(), {"params", "load", file("nosuch")}).status, 1);
  EXPECT_EQ(run(camera(), {"params", "load", "/"}).status, 1);
  EXPECT_EQ(run(camera(), {"params", "store", "gain=3", "gamma=9"}).status, 2);
  EXPECT_EQ(settings_of(camera()), before);
}

TEST_F(Params, ResetPutsABlankCameraRight) {
  const Cameras blank = camera("3500,blank");
  const auto stored = [&] {
    return nlohmann::json::parse(output_of(blank, {"info", "--json"}))["stored_settings"];
  };
  EXPECT_EQ(stored(), "blank");
  EXPECT_THAT(output_of(blank, {"info"}), HasSubstr("kxcam params reset"));
  output_of(blank, {"params", "reset"});
  EXPECT_EQ(stored(), "loaded");
  EXPECT_EQ(
      output_of(blank, {"get", "mirror-x", "mirror-y", "rotate-90", "auto-exposure", "strobe", "delay"}),
      "mirror-x=off\nmirror-y=off\nrotate-90=off\nauto-exposure=off\nstrobe=on\ndelay=0\n");
}

TEST_F(Params, AreStoredOnlyWhereAndWhenAskedTo) {
  output_of(camera(), {"set", "gain=90"});
  output_of(camera(), {"params", "store", "--slot", "1", "gain=99"});
  EXPECT_EQ(output_of(camera(), {"get", "gain"}), "gain=16\n");
  EXPECT_THAT(output_of(camera(), {"params", "save", "-", "--slot", "1"}), HasSubstr("= 99 "));
  output_of(camera(), {"set", "--store", "gain=91"});
  EXPECT_EQ(output_of(camera(), {"get", "gain"}), "gain=91\n");
}

TEST_F(Params, SettingsThatTheCameraDoesNotKeepAreNamed) {
  const Result protected_memory = run(camera("3500,wp"), {"params", "store", "gain=44", "mirror-x=on"});
  EXPECT_EQ(protected_memory.status, 1);
  EXPECT_THAT(protected_memory.error, HasSubstr("did not keep gain, mirror-x\n"));
  const Result too_large = run(camera(), {"params", "store", "delay=70000"});
  EXPECT_THAT(too_large.error, HasSubstr("did not keep delay\n"));
  EXPECT_EQ(run(camera(), {"params", "store", "target=250", "black-level=10"}).status, 2);
}

}  // namespace
