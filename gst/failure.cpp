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

void post(GstElement* element, GstMessageType type, GstResourceError kind, const char* text) {
  gst_element_message_full(element, type, GST_RESOURCE_ERROR, kind, g_strdup(text), nullptr, "kxcamsrc", "",
                           0);
}

}  // namespace

Failure failure_of(const std::string& action, int cause) {
  std::string text = action + " failed: " + kxcam_error_text(cause) + ".";
  if (const std::string remedy = kxcam_error_remedy(cause); !remedy.empty()) text += " " + remedy;
  return {kind_of(cause), text};
}

void post_error(GstElement* element, const std::exception& error) {
  const auto* failure = dynamic_cast<const Failure*>(&error);
  post(element, GST_MESSAGE_ERROR, failure != nullptr ? failure->kind() : GST_RESOURCE_ERROR_FAILED,
       error.what());
}

void post_warning(GstElement* element, const std::string& text) {
  post(element, GST_MESSAGE_WARNING, GST_RESOURCE_ERROR_SETTINGS, text.c_str());
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

}  // namespace kxcam
