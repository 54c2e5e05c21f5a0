// SPDX-License-Identifier: Apache-2.0
#include "kxcamsrc.h"

#include <string>

#include <gst/base/gstpushsrc.h>

#include "controls.h"
#include "formats.h"
#include "source.h"

using kxcam::Source;

struct GstKxcamSrc {
  GstPushSrc parent;
  Source* source;
};

struct GstKxcamSrcClass {
  GstPushSrcClass parent_class;
};

G_DEFINE_TYPE(GstKxcamSrc, gst_kxcam_src, GST_TYPE_PUSH_SRC)

namespace {

enum Property : guint {
  kSerial = 1,
  kResolution,
  kRoi,
  kSettings,
  kTimeout,
  kReconnect,
  kStats,
  kFirstControl,
};

Source& source_of(gpointer element) {
  return *static_cast<GstKxcamSrc*>(element)->source;
}

void set_property(GObject* object, guint id, const GValue* value, GParamSpec* spec) {
  Source& source = source_of(object);
  switch (id) {
    case kSerial:
      source.set_serial(g_value_get_string(value));
      break;
    case kResolution:
      source.set_resolution(g_value_get_int(value));
      break;
    case kRoi:
      source.set_roi(g_value_get_string(value));
      break;
    case kSettings:
      source.set_settings(g_value_get_string(value));
      break;
    case kTimeout:
      source.set_timeout(g_value_get_int(value));
      break;
    case kReconnect:
      source.set_reconnect(g_value_get_boolean(value) != FALSE);
      break;
    default: {
      const size_t control = id - kFirstControl;
      if (id >= kFirstControl && control < kxcam::controls().size()) {
        source.set_control(control, kxcam::number_in(kxcam::controls()[control], value));
      } else {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
      }
    }
  }
}

void get_property(GObject* object, guint id, GValue* value, GParamSpec* spec) {
  const Source& source = source_of(object);
  switch (id) {
    case kSerial:
      g_value_set_string(value, source.serial().c_str());
      break;
    case kResolution:
      g_value_set_int(value, source.resolution());
      break;
    case kRoi:
      g_value_set_string(value, source.roi().c_str());
      break;
    case kSettings:
      g_value_set_string(value, source.settings().c_str());
      break;
    case kTimeout:
      g_value_set_int(value, source.timeout());
      break;
    case kReconnect:
      g_value_set_boolean(value, source.reconnect() ? TRUE : FALSE);
      break;
    case kStats:
      g_value_take_boxed(value, source.statistics());
      break;
    default: {
      const size_t control = id - kFirstControl;
      if (id >= kFirstControl && control < kxcam::controls().size()) {
        kxcam::set_value(kxcam::controls()[control], source.control(control), value);
      } else {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
      }
    }
  }
}

void finalize(GObject* object) {
  delete &source_of(object);
  G_OBJECT_CLASS(gst_kxcam_src_parent_class)->finalize(object);
}

GstStateChangeReturn change_state(GstElement* element, GstStateChange change) {
  Source& source = source_of(element);
  if (change == GST_STATE_CHANGE_NULL_TO_READY && !source.open()) return GST_STATE_CHANGE_FAILURE;
  if (change == GST_STATE_CHANGE_PAUSED_TO_PLAYING) source.begin();
  const auto result = GST_ELEMENT_CLASS(gst_kxcam_src_parent_class)->change_state(element, change);
  const bool failed = result == GST_STATE_CHANGE_FAILURE;
  if (change == GST_STATE_CHANGE_READY_TO_NULL || (change == GST_STATE_CHANGE_NULL_TO_READY && failed))
    source.close();
  return result;
}

gboolean start(GstBaseSrc* element) {
  source_of(element).start();
  return TRUE;
}

GstCaps* get_caps(GstBaseSrc* element, GstCaps* filter) {
  GstCaps* caps = source_of(element).caps();
  if (filter == nullptr) return caps;
  GstCaps* common = gst_caps_intersect_full(filter, caps, GST_CAPS_INTERSECT_FIRST);
  gst_caps_unref(caps);
  return common;
}

gboolean negotiate(GstBaseSrc* element) {
  GstPad* pad = GST_BASE_SRC_PAD(element);
  GstCaps* peer = gst_pad_peer_query_caps(pad, nullptr);
  GstCaps* own = source_of(element).caps();
  const bool fits = gst_caps_can_intersect(own, peer) != FALSE;
  if (!fits && !GST_PAD_IS_FLUSHING(pad)) source_of(element).post_no_caps(peer);
  gst_caps_unref(own);
  gst_caps_unref(peer);
  return fits ? GST_BASE_SRC_CLASS(gst_kxcam_src_parent_class)->negotiate(element) : FALSE;
}

GstCaps* fixate(GstBaseSrc* element, GstCaps* caps) {
  return GST_BASE_SRC_CLASS(gst_kxcam_src_parent_class)->fixate(element, source_of(element).fixate(caps));
}

gboolean set_caps(GstBaseSrc* element, GstCaps* caps) {
  return source_of(element).set_caps(caps) ? TRUE : FALSE;
}

gboolean decide_allocation(GstBaseSrc* element, GstQuery* query) {
  source_of(element).choose_pool(query);
  return GST_BASE_SRC_CLASS(gst_kxcam_src_parent_class)->decide_allocation(element, query);
}

gboolean unlock(GstBaseSrc* element) {
  source_of(element).interrupt(true);
  return TRUE;
}

gboolean unlock_stop(GstBaseSrc* element) {
  source_of(element).interrupt(false);
  return TRUE;
}

gboolean query(GstBaseSrc* element, GstQuery* query) {
  GstClockTime least = 0;
  GstClockTime most = 0;
  if (GST_QUERY_TYPE(query) == GST_QUERY_LATENCY) {
    if (!source_of(element).latency(least, most)) return FALSE;
    gst_query_set_latency(query, TRUE, least, most);
    return TRUE;
  }
  return GST_BASE_SRC_CLASS(gst_kxcam_src_parent_class)->query(element, query);
}

GstFlowReturn create(GstPushSrc* element, GstBuffer** buffer) {
  return source_of(element).create(buffer);
}

gboolean trigger_shot(GstKxcamSrc* element) {
  return source_of(element).trigger() ? TRUE : FALSE;
}

gboolean one_push_white_balance(GstKxcamSrc* element) {
  return source_of(element).measure_white_balance() ? TRUE : FALSE;
}

void install_properties(GObjectClass* type) {
  constexpr auto kFlags = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS);
  constexpr auto kAnyTime = static_cast<GParamFlags>(kFlags | GST_PARAM_MUTABLE_PLAYING);
  const auto install = [type](guint id, GParamSpec* spec) {
    g_object_class_install_property(type, id, spec);
  };
  install(kSerial, g_param_spec_string(
                       "serial", "Serial number",
                       "Camera to open, in the change from NULL to READY (empty: the first one that is free)",
                       "", kFlags));
  install(kResolution, g_param_spec_int("resolution", "Resolution",
                                        "Number of a resolution (-1: the first that fits the caps)", -1, 255,
                                        -1, kAnyTime));
  install(kRoi, g_param_spec_string("roi", "Region of interest",
                                    "Part of the full picture as X,Y,WIDTH,HEIGHT, instead of a resolution",
                                    "", kAnyTime));
  install(kSettings,
          g_param_spec_string("settings", "Settings",
                              "File of `kxcam params save` to load, in the change from NULL to READY", "",
                              kFlags));
  install(kTimeout,
          g_param_spec_int("timeout", "Time-out", "Time without a frame that is an error (0: for ever) [ms]",
                           0, G_MAXINT, 5000, kAnyTime));
  install(kReconnect,
          g_param_spec_boolean("reconnect", "Reconnect",
                               "Wait for a camera that was unplugged or reset, instead of an error", FALSE,
                               kAnyTime));
  install(kStats,
          g_param_spec_boxed("stats", "Statistics", "What became of the frames since the camera was opened",
                             GST_TYPE_STRUCTURE,
                             static_cast<GParamFlags>(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS)));
  for (size_t i = 0; i < kxcam::controls().size(); ++i) {
    const kxcam_control& control = kxcam::controls()[i];
    // The library's time-out is that of queries of kxcam.h, which the element does not make.
    if (g_object_class_find_property(type, control.name) != nullptr) continue;
    install(kFirstControl + static_cast<guint>(i), kxcam::property_of(control));
  }
}

void install_action(GObjectClass* type, const char* name, gboolean (*action)(GstKxcamSrc*)) {
  g_signal_new_class_handler(name, G_TYPE_FROM_CLASS(type),
                             static_cast<GSignalFlags>(G_SIGNAL_RUN_LAST | G_SIGNAL_ACTION),
                             G_CALLBACK(action), nullptr, nullptr, nullptr, G_TYPE_BOOLEAN, 0);
}

}  // namespace

static void gst_kxcam_src_init(GstKxcamSrc* element) {
  element->source = new Source(GST_BASE_SRC(element));
  gst_base_src_set_live(GST_BASE_SRC(element), TRUE);
  gst_base_src_set_format(GST_BASE_SRC(element), GST_FORMAT_TIME);
}

static void gst_kxcam_src_class_init(GstKxcamSrcClass* type) {
  auto* const object = G_OBJECT_CLASS(type);
  object->set_property = set_property;
  object->get_property = get_property;
  object->finalize = finalize;
  install_properties(object);
  install_action(object, "trigger-shot", trigger_shot);
  install_action(object, "one-push-white-balance", one_push_white_balance);

  auto* const element = GST_ELEMENT_CLASS(type);
  element->change_state = change_state;
  gst_element_class_set_static_metadata(element, "kxcam source", "Source/Video/Hardware",
                                        "Pictures of an industrial USB camera",
                                        "kxcam maintainers <maintainers@kxcam.example>");
  GstCaps* caps = kxcam::template_caps();
  gst_element_class_add_pad_template(element, gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, caps));
  gst_caps_unref(caps);

  auto* const source = GST_BASE_SRC_CLASS(type);
  source->start = start;
  source->get_caps = get_caps;
  source->negotiate = negotiate;
  source->fixate = fixate;
  source->set_caps = set_caps;
  source->decide_allocation = decide_allocation;
  source->unlock = unlock;
  source->unlock_stop = unlock_stop;
  source->query = query;
  GST_PUSH_SRC_CLASS(type)->create = create;
}
