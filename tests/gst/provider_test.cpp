// SPDX-License-Identifier: Apache-2.0

// The cameras that GStreamer lists.

#include <gmock/gmock.h>

#include <kxcam/extra.h>

#include "element_bus.h"
#include "eventually.h"

namespace kxcam::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class GstProvider : public ElementBus {
 protected:
  GstProvider() : provider_(gst_device_provider_factory_get_by_name("kxcamdeviceprovider")) {}

  std::vector<std::string> names() {
    std::vector<std::string> names;
    GList* devices = gst_device_provider_get_devices(provider_.get());
    for (GList* item = devices; item != nullptr; item = item->next) {
      gchar* const name = gst_device_get_display_name(GST_DEVICE(item->data));
      names.emplace_back(name);
      g_free(name);
    }
    g_list_free_full(devices, gst_object_unref);
    std::ranges::sort(names);
    return names;
  }

  std::unique_ptr<GstDeviceProvider, Unref> provider_;
};

constexpr const char* kA = "Model 0.3MP-C (A)";
constexpr const char* kB = "Model 5MP-C (B)";

TEST_F(GstProvider, FollowsCamerasThatComeAndGo) {
  EXPECT_THAT(names(), IsEmpty());
  const auto a = plug("3600,serial=A");
  EXPECT_THAT(names(), ElementsAre(kA)) << "probed";
  ASSERT_TRUE(gst_device_provider_start(provider_.get()));
  EXPECT_THAT(names(), ElementsAre(kA)) << "there as soon as it is started";
  plug("3500,serial=B");
  EXPECT_TRUE(eventually([&] { return names().size() == 2; }));
  EXPECT_THAT(names(), ElementsAre(kA, kB));
  bus_.unplug(*a);
  EXPECT_TRUE(eventually([&] { return names().size() == 1; }));
  EXPECT_THAT(names(), ElementsAre(kB));
  bus_.plug(a, 6);
  EXPECT_TRUE(eventually([&] { return names().size() == 2; }));
  gst_device_provider_stop(provider_.get());
  EXPECT_THAT(names(), ElementsAre(kA, kB));
}

TEST_F(GstProvider, MakesElementsForItsCameras) {
  plug("3600,serial=A");
  plug("3500,serial=B");
  ASSERT_TRUE(gst_device_provider_start(provider_.get()));
  GList* devices = gst_device_provider_get_devices(provider_.get());
  for (GList* item = devices; item != nullptr; item = item->next) {
    GstDevice* device = GST_DEVICE(item->data);
    GstStructure* properties = gst_device_get_properties(device);
    const std::string serial = gst_structure_get_string(properties, "device.serial");
    gst_structure_free(properties);
    const std::unique_ptr<GstElement, Unref> made(
        GST_ELEMENT(gst_object_ref_sink(gst_device_create_element(device, nullptr))));
    const std::unique_ptr<GstElement, Unref> other(
        GST_ELEMENT(gst_object_ref_sink(gst_element_factory_make("kxcamsrc", nullptr))));
    EXPECT_TRUE(gst_device_reconfigure_element(device, other.get()));
    gchar* chosen = nullptr;
    g_object_get(other.get(), "serial", &chosen, nullptr);
    EXPECT_EQ(chosen, serial);
    g_free(chosen);
    ASSERT_EQ(gst_element_set_state(made.get(), GST_STATE_READY), GST_STATE_CHANGE_SUCCESS);
    kxcam_description description{};
    EXPECT_EQ(kxcam_describe(0, &description, sizeof description), 0);
    EXPECT_EQ(std::string(description.serial).substr(0, 1), serial);
    EXPECT_FALSE(gst_device_reconfigure_element(device, made.get())) << "its camera is open";
    gst_element_set_state(made.get(), GST_STATE_NULL);
  }
  EXPECT_EQ(g_list_length(devices), 2U);
  g_list_free_full(devices, gst_object_unref);
  gst_device_provider_stop(provider_.get());
}

}  // namespace
}  // namespace kxcam::test
