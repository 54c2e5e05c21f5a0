// SPDX-License-Identifier: Apache-2.0
#include <gst/gst.h>

#include <kxcam/extra.h>

#include "device_provider.h"
#include "kxcamsrc.h"

GST_DEBUG_CATEGORY_STATIC(kxcam_debug);
#define GST_CAT_DEFAULT kxcam_debug

namespace {

/// Standard output may be the pipeline's own, and a malformed configuration file must not end the program.
void log_message(const char* text, void* /*data*/) {
  GST_WARNING("%s", text);
}

gboolean init(GstPlugin* plugin) {
  GST_DEBUG_CATEGORY_INIT(kxcam_debug, "kxcam", 0, "messages of the camera library");
  kxcam_set_message_handler(log_message, nullptr);
  // Elements that look for any camera do not take an industrial one.
  return gst_element_register(plugin, "kxcamsrc", GST_RANK_NONE, gst_kxcam_src_get_type()) &&
         gst_device_provider_register(plugin, "kxcamdeviceprovider", GST_RANK_PRIMARY,
                                      gst_kxcam_device_provider_get_type());
}

}  // namespace

#define PACKAGE "kxcam"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, kxcam, "Industrial USB cameras", init, KXCAM_VERSION,
                  "Apache 2.0", "kxcam", "https://kxcam.example")
