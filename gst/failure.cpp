// SPDX-License-Identifier: Apache-2.0
#include "failure.h"

#include <kxcam/extra.h>

namespace kxcam {
namespace {

GstResourceError kind_of(int cause) {
  switch (cause) {
    case KXCAM_ERROR_NO_DEVICE:
    case KXCAM_ERROR_EMPTY_BUS:
      return GST_RESOURCE_ERROR_NOT_FOUND;
    case KXCAM_ERROR_IN_USE:
    case KXCAM_ERROR_HELD:
      return GST_RESOURCE_ERROR_BUSY;
    case KXCAM_ERROR_PERMISSION:
      return GST_RESOURCE_ERROR_NOT_AUTHORIZED;
    case KXCAM_ERROR_CONFIGURATION:
      return GST_RESOURCE_ERROR_SETTINGS;
    default:
      return GST_RESOURCE_ERROR_OPEN_READ;
  }
}

}  // namespace

Failure failure_of(const std::string& action, int cause) {
  std::string text = action + " failed: " + kxcam_error_text(cause) + ".";
  if (const std::string remedy = kxcam_error_remedy(cause); !remedy.empty()) text += " " + remedy;
  return {kind_of(cause), text};
}

void post(GstElement* element, GstMessageType type, const Failure& failure) {
  gst_element_message_full(element, type, GST_RESOURCE_ERROR, failure.kind(), g_strdup(failure.what()),
                           nullptr, "kxcamsrc", "", 0);
}

}  // namespace kxcam
