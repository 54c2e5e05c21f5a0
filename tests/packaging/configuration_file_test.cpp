// SPDX-License-Identifier: Apache-2.0

// The configuration file that is installed, as the library reads it.

#include <algorithm>
#include <cstdlib>
#include <set>

#include <gtest/gtest.h>

#include "core/registry/model_table.h"
#include "usb/kxusb.h"

namespace kxcam {
namespace {

constexpr uint16_t kVendor = 0xA7B7;
constexpr uint16_t kGenericProduct = 0x3FF0;

TEST(InstalledConfiguration, ListsEveryModel) {
  setenv("KXUSB_CONF", INSTALLED_CONFIGURATION, 1);
  ASSERT_TRUE(read_config_file());

  std::set<uint32_t> listed;
  for (const VpdRow& row : listed_devices()) {
    if (row.vendor == 0) continue;
    EXPECT_EQ(row.vendor, kVendor);
    EXPECT_STRNE(row.description.data(), "") << std::hex << row.product;
    EXPECT_TRUE(listed.insert(row.product).second) << std::hex << row.product << " is listed twice";
  }

  std::set<uint32_t> wanted{kGenericProduct};
  for (const CameraModel& model : model_table) wanted.insert(model.PID);
  EXPECT_EQ(listed, wanted);
}

}  // namespace
}  // namespace kxcam
