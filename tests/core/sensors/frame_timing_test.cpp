// SPDX-License-Identifier: Apache-2.0

// Frame rate and global reset.

#include <cmath>
#include <limits>

#include "core/registry/camera_parameter.h"
#include "device/vendor_request.h"
#include "sensor_test.h"

namespace kxcam::test {
namespace {

class FrameTiming : public SensorTest {};

TEST_F(FrameTiming, TheBridgeKeepsAFixedRate) {
  open(0x0600);
  bool fixed = true;
  double fps = 0;
  EXPECT_TRUE(ok(CameraGetFrameRate(kCamera, &fixed, &fps)));
  EXPECT_FALSE(fixed);
  EXPECT_EQ(fps, 10.0);

  EXPECT_TRUE(ok(CameraSetFrameRate(kCamera, true, 29.97)));
  EXPECT_EQ(requests(), "R8 W9=12B W8=1");
  EXPECT_TRUE(ok(CameraSetFrameRate(kCamera, true, 0.05)));
  EXPECT_EQ(requests(), "R8 W9=1 W8=1");
  EXPECT_TRUE(ok(CameraSetFrameRate(kCamera, true, 1e300)));
  EXPECT_EQ(requests(), "R8 W9=FFFF W8=1");
  EXPECT_TRUE(ok(CameraSetFrameRate(kCamera, false, 25)));
  EXPECT_EQ(requests(), "R8 W8=0 W1=1") << "restarted on the way out";
  EXPECT_TRUE(ok(CameraSetFrameRate(kCamera, false, 25)));
  EXPECT_EQ(requests(), "R8 W8=0");
  EXPECT_TRUE(ok(CameraGetFrameRate(kCamera, &fixed, &fps)));
  EXPECT_FALSE(fixed);
  EXPECT_EQ(fps, 25.0);

  for (const double bad : {std::nan(""), std::numeric_limits<double>::infinity()}) {
    EXPECT_EQ(code_of(CameraSetFrameRate, kCamera, true, bad), KXCAM_ERROR_ARGUMENT);
  }
  break_requests(kxsim::kIspWrite);
  break_requests(kxsim::kIspRead);
  EXPECT_TRUE(ok(CameraSetFrameRate(kCamera, true, 5))) << "the bridge's answer does not matter";
  context().device.usb_handle.store(nullptr);
  EXPECT_EQ(code_of(CameraSetFrameRate, kCamera, true, 6), KXCAM_ERROR_NO_DEVICE);
  EXPECT_TRUE(ok(CameraGetFrameRate(kCamera, &fixed, &fps)));
  EXPECT_EQ(fps, 5.0);
}

TEST_F(FrameTiming, GlobalResetIsACapability) {
  open(0x0920);
  EXPECT_TRUE(ok(CameraSetGlobalReset(kCamera, false)));
  EXPECT_EQ(context().parameter.isp_flags & kGlobalResetOff, 0);
  EXPECT_EQ(requests(), "");
  EXPECT_EQ(code_of(CameraGetGlobalReset, kCamera), KXCAM_ERROR_NOT_SUPPORTED);

  open(0x0600, 0x4);
  EXPECT_TRUE(ok(CameraSetGlobalReset(kCamera, false)));
  EXPECT_EQ(get(CameraGetGlobalReset, kCamera), 0);
  EXPECT_TRUE(ok(CameraSetGlobalReset(kCamera, true)));
  EXPECT_EQ(get(CameraGetGlobalReset, kCamera), 1);
  EXPECT_EQ(requests(), "") << "a switch of the library on this sensor";
  context().parameter.snap_mode = 2;
  EXPECT_EQ(code_of(CameraSetGlobalReset, kCamera, false), KXCAM_ERROR_ARGUMENT);
  EXPECT_EQ(get(CameraGetGlobalReset, kCamera), 1);
}

TEST_F(FrameTiming, GlobalResetRewritesTheShutter) {
  for (const uint32_t mid : {0x0920U, 0x092BU}) {
    open(mid, 0x4).parameter.exposure = 1000;
    EXPECT_TRUE(ok(CameraSetGlobalReset(kCamera, false)));
    EXPECT_EQ(requests(), "w8=0 W1C=0 R15 W14=BC4 W1E=0 wB=DD wC=7 WA=3E7 WB=0");
    EXPECT_TRUE(ok(CameraSetGlobalReset(kCamera, true)));
    EXPECT_EQ(requests(), "w8=1 W1C=1 R15 W14=BC4 W1E=0 wB=0 wC=0 WA=3E7 WB=0");
  }
}

}  // namespace
}  // namespace kxcam::test
