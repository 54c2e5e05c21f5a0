// SPDX-License-Identifier: Apache-2.0
#include "element_bus.h"

#include <sstream>

#include <gst/video/video.h>

#include "eventually.h"

namespace kxcam::test {
namespace {

// Of GStreamer's plugins only its own elements: what else is installed is not to be scanned by each test.
void load_plugins() {
  setenv("GST_REGISTRY_DISABLE", "yes", 1);
  gst_init(nullptr, nullptr);
  for (const char* file : {KXCAM_PLUGIN, GSTREAMER_PLUGINS "/libgstcoreelements.so"}) {
    GError* error = nullptr;
    GstPlugin* plugin = gst_plugin_load_file(file, &error);
    EXPECT_NE(plugin, nullptr) << (error != nullptr ? error->message : file);
    if (plugin != nullptr) gst_object_unref(plugin);
  }
}

std::string text_of(const GValue* value) {
  gchar* text = gst_value_serialize(value);
  std::string result = text != nullptr ? text : "";
  g_free(text);
  return result;
}

}  // namespace

Element::Element(const std::string& properties, const std::string& caps) {
  GstElement* element = gst_element_factory_make("kxcamsrc", nullptr);
  std::istringstream words(properties);
  for (std::string word; words >> word;) {
    const auto equals = word.find('=');
    gst_util_set_object_arg(G_OBJECT(element), word.substr(0, equals).c_str(),
                            word.substr(equals + 1).c_str());
  }
  harness_.reset(gst_harness_new_with_element(element, nullptr, "src"));
  gst_object_unref(element);
  gst_harness_use_systemclock(harness_.get());
  gst_harness_set_sink_caps_str(harness_.get(), caps.c_str());
  bus_.reset(gst_bus_new());
  gst_bus_set_sync_handler(bus_.get(), note_failure, this, nullptr);
  gst_element_set_bus(get(), bus_.get());
}

Element::~Element() {
  gst_element_set_state(get(), GST_STATE_NULL);
  gst_element_set_bus(get(), nullptr);
}

GstBusSyncReply Element::note_failure(GstBus* /*bus*/, GstMessage* message, gpointer self) {
  if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) static_cast<Element*>(self)->failed_ = true;
  return GST_BUS_PASS;
}

void Element::take_video_meta() {
  gst_harness_add_propose_allocation_meta(harness(), GST_VIDEO_META_API_TYPE, nullptr);
}

Buffer Element::pull() {
  Buffer buffer;
  EXPECT_TRUE(eventually([&] {
    buffer.reset(gst_harness_try_pull(harness()));
    return buffer != nullptr || failed_;
  }));
  return buffer;
}

std::vector<Buffer> Element::pull(size_t count) {
  std::vector<Buffer> buffers;
  while (buffers.size() < count) buffers.push_back(pull());
  return buffers;
}

std::string Element::property(const char* name) const {
  GValue value = G_VALUE_INIT;
  g_object_get_property(G_OBJECT(get()), name, &value);
  std::string text = text_of(&value);
  g_value_unset(&value);
  return text;
}

bool Element::act(const char* signal) {
  gboolean done = FALSE;
  g_signal_emit_by_name(get(), signal, &done);
  return done != FALSE;
}

uint64_t Element::statistic(const char* name) const {
  GstStructure* stats = nullptr;
  g_object_get(get(), "stats", &stats, nullptr);
  guint64 count = 0;
  EXPECT_TRUE(gst_structure_get_uint64(stats, name, &count)) << name;
  gst_structure_free(stats);
  return count;
}

Caps Element::caps() const {
  GstPad* pad = gst_element_get_static_pad(get(), "src");
  Caps caps(gst_pad_query_caps(pad, nullptr));
  gst_object_unref(pad);
  return caps;
}

std::string Element::current(const char* field) const {
  GstPad* pad = gst_element_get_static_pad(get(), "src");
  const Caps caps(gst_pad_get_current_caps(pad));
  gst_object_unref(pad);
  if (caps == nullptr) return "";
  return text_of(gst_structure_get_value(gst_caps_get_structure(caps.get(), 0), field));
}

Message Element::message(GstMessageType type, GstClockTime patience) {
  return Message(gst_bus_timed_pop_filtered(bus_.get(), patience, type));
}

std::string Element::error() {
  const Message found = message(GST_MESSAGE_ERROR);
  if (found == nullptr) return "";
  GError* error = nullptr;
  gst_message_parse_error(found.get(), &error, nullptr);
  std::string text = error->message;
  g_error_free(error);
  return text;
}

std::string Element::warning() {
  const Message found = message(GST_MESSAGE_WARNING);
  if (found == nullptr) return "";
  GError* error = nullptr;
  gst_message_parse_warning(found.get(), &error, nullptr);
  std::string text = error->message;
  g_error_free(error);
  return text;
}

ElementBus::ElementBus() {
  load_plugins();
}

std::shared_ptr<kxsim::SimulatedCamera> ElementBus::plug_still(const std::string& description) {
  auto camera = plug(description);
  camera->set_frame_source(fill_still);
  return camera;
}

void fill_still(const kxsim::FrameRequest& /*request*/, std::span<uint8_t> bytes) {
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>((i * 0x9E3779B1U) >> 24);
}

}  // namespace kxcam::test
