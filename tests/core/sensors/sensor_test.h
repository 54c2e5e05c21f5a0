// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <libusb.h>

#include "calls.h"
#include "core/registry/contexts.h"
#include "device/simulated_camera.h"

namespace kxcam::test {

/// A slot outside the ordinary first ones, so that an index that is ignored shows.
inline constexpr int kCamera = 7;

/// What one setting sends to the sensors of these ids, in the order in which it must be sent:
/// wREG=VALUE and rREG are sensor registers, WREG=VALUE and RREG the bridge's, pREG=VALUE its parameters,
/// gPINS=LEVELS its lines, and any other request stands with its code, as B4=VALUE. All in hexadecimal. A "!"
/// marks a request that the result depends on.
struct Traffic {
  struct Case {
    int argument;
    const char* requests;
  };
  std::vector<uint32_t> mids;
  std::vector<Case> cases;
};
using TrafficTable = std::vector<Traffic>;

std::string without_marks(const std::string& requests);

/// A simulated camera in front of the library's operations: a context with a device, without acquisition.
class SensorTest : public testing::Test {
 protected:
  static constexpr uint16_t kFrameLength = 3000;  ///< lines a frame, as the bridge has them
  static constexpr int kDelay = 12;

  void SetUp() override;
  void TearDown() override;

  /// Opens a camera of that sensor, of the newer bridge where there is one: 1280 x 960, free frame
  /// rate, all sensor registers 0.
  CameraContext& open(uint32_t mid, uint16_t features = 0);
  /// The same by product id.
  CameraContext& open_model(uint32_t product_id, uint16_t features = 0);
  void close();

  kxsim::SimulatedCamera& camera() { return *camera_; }
  CameraContext& context() { return *context_; }

  void preset_sensor(uint16_t reg, uint16_t value);
  /// Requests with that code fail from now on.
  void break_requests(uint8_t code);
  /// All requests since the last call, as in a Traffic.
  std::string requests();
  void forget_requests() { camera_->clear_requests(); }

  /// For every sensor and every argument of the table `set` succeeds and sends what stands there.
  template <class Set>
  void expect_traffic(const TrafficTable& table, Set set) {
    for (const Traffic& traffic : table) {
      for (const uint32_t mid : traffic.mids) {
        for (const Traffic::Case& expected : traffic.cases) {
          SCOPED_TRACE(testing::Message()
                       << std::hex << "sensor " << mid << std::dec << " for " << expected.argument);
          open(mid);
          EXPECT_TRUE(set(expected.argument));
          EXPECT_EQ(requests(), without_marks(expected.requests));
        }
      }
    }
  }

  /// Lets each write of the table fail by turns, for one sensor of each row: the result is false for the
  /// marked ones only, and what comes after is sent all the same.
  template <class Set>
  void expect_results(const TrafficTable& table, Set set) {
    for (const Traffic& traffic : table) {
      for (const Traffic::Case& expected : traffic.cases)
        fail_each_write(traffic.mids.front(), expected, set);
    }
  }

 private:
  struct Request {
    std::string text;
    bool decisive;
  };
  static std::vector<Request> split(const std::string& requests);
  void fail_request(size_t number);

  template <class Set>
  void fail_each_write(uint32_t mid, const Traffic::Case& expected, Set set) {
    const std::vector<Request> sent = split(expected.requests);
    for (size_t i = 0; i < sent.size(); ++i) {
      const Request& failing = sent[i];
      if (failing.text.front() == 'r' || failing.text.front() == 'R') continue;
      SCOPED_TRACE(testing::Message() << std::hex << "sensor " << mid << std::dec << " for "
                                      << expected.argument << ", without " << failing.text);
      open(mid);
      fail_request(i + 1);
      EXPECT_EQ(set(expected.argument), !failing.decisive);
      const std::string retried = requests();
      EXPECT_EQ(split(retried).size(), sent.size() + 1) << retried;
      EXPECT_TRUE(retried.ends_with(sent.back().text)) << retried;
    }
  }

  std::shared_ptr<kxsim::SimulatedCamera> camera_;
  libusb_context* usb_ = nullptr;
  ContextRef context_;
};

/// Every sensor id of the model table stands in the table exactly once.
void expect_complete(const TrafficTable& table);

}  // namespace kxcam::test
