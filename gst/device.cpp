// SPDX-License-Identifier: Apache-2.0
#include "device.h"

#include <string>

#include "formats.h"

struct GstKxcamDevice {
  GstDevice parent;
  gchar* serial;
  gchar* port;
};

struct GstKxcamDeviceClass {
  GstDeviceClass parent_class;
};

G_DEFINE_TYPE(GstKxcamDevice, gst_kxcam_device, GST_TYPE_DEVICE)

namespace {

constexpr const char* kElement = "kxcamsrc";

GstKxcamDevice* self(gpointer device) {
  return static_cast<GstKxcamDevice*>(device);
}

GstElement* create_element(GstDevice* device, const gchar* name) {
  GstElement* element = gst_element_factory_make(kElement, name);
  if (element != nullptr) g_object_set(element, "serial", self(device)->serial, nullptr);
  return element;
}

/// Of an element that has no camera open yet.
gboolean reconfigure_element(GstDevice* device, GstElement* element) {
  const GstElementFactory* factory = gst_element_get_factory(element);
  const bool fits = factory != nullptr && g_strcmp0(GST_OBJECT_NAME(factory), kElement) == 0 &&
                    GST_STATE(element) == GST_STATE_NULL;
  if (fits) g_object_set(element, "serial", self(device)->serial, nullptr);
  return fits ? TRUE : FALSE;
}

void finalize_device(GObject* device) {
  g_free(self(device)->serial);
  g_free(self(device)->port);
  G_OBJECT_CLASS(gst_kxcam_device_parent_class)->finalize(device);
}

}  // namespace

static void gst_kxcam_device_init(GstKxcamDevice* /*device*/) {}

static void gst_kxcam_device_class_init(GstKxcamDeviceClass* type) {
  GST_DEVICE_CLASS(type)->create_element = create_element;
  GST_DEVICE_CLASS(type)->reconfigure_element = reconfigure_element;
  G_OBJECT_CLASS(type)->finalize = finalize_device;
}

GstDevice* kxcam::new_device(const kxcam_bus_event& arrival) {
  const std::string name = std::string(arrival.model) + " (" + arrival.serial + ")";
  GstCaps* caps = template_caps();
  GstStructure* properties =
      gst_structure_new("kxcam-properties", "device.api", G_TYPE_STRING, "kxcam", "device.serial",
                        G_TYPE_STRING, arrival.serial, "kxcam.model", G_TYPE_STRING, arrival.model,
                        "kxcam.product", G_TYPE_INT, arrival.product_id, "kxcam.port", G_TYPE_STRING,
                        arrival.port, "kxcam.usb-speed", G_TYPE_INT, arrival.usb_speed, nullptr);
  auto* const device =
      self(g_object_new(gst_kxcam_device_get_type(), "display-name", name.c_str(), "caps", caps,
                        "device-class", "Video/Source", "properties", properties, nullptr));
  gst_caps_unref(caps);
  gst_structure_free(properties);
  device->serial = g_strdup(arrival.serial);
  device->port = g_strdup(arrival.port);
  return GST_DEVICE(device);
}

bool kxcam::is_at(GstDevice* device, std::string_view port) {
  return self(device)->port == port;
}
