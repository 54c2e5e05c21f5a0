/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Reads and sets a camera's features as Aravis understands the producer's description, through the producer's
 * registers: genicam PRODUCER. Prints how many features there are.
 */
#include <arv.h>
#include <dlfcn.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void *producer, *port;
#define CALL(name, types, ...) (((int32_t(*) types)dlsym(producer, #name))(__VA_ARGS__))

/* A device whose memory is the producer's port. */
typedef struct {
  ArvDevice parent;
} PortDevice;
typedef struct {
  ArvDeviceClass parent;
} PortDeviceClass;
G_DEFINE_TYPE(PortDevice, port_device, ARV_TYPE_DEVICE)

static gboolean outcome(int32_t status, guint64 address, GError** error) {
  if (status != 0)
    g_set_error(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_TRANSFER_ERROR, "0x%lx: %d", (unsigned long)address,
                status);
  return status == 0;
}
static gboolean read_memory(ArvDevice* device, guint64 address, guint32 size, void* buffer, GError** error) {
  size_t length = size;
  (void)device;
  return outcome(CALL(GCReadPort, (void*, uint64_t, void*, size_t*), port, address, buffer, &length), address,
                 error);
}
static gboolean write_memory(ArvDevice* device, guint64 address, guint32 size, void* buffer, GError** error) {
  size_t length = size;
  (void)device;
  return outcome(CALL(GCWritePort, (void*, uint64_t, const void*, size_t*), port, address, buffer, &length),
                 address, error);
}
static void port_device_init(PortDevice* device) {
  (void)device;
}
static void port_device_class_init(PortDeviceClass* type) {
  type->parent.read_memory = read_memory;
  type->parent.write_memory = write_memory;
}

static void require(bool met, const char* what, GError* error) {
  if (met) return;
  fprintf(stderr, "not met: %s%s%s\n", what, error == NULL ? "" : ": ", error == NULL ? "" : error->message);
  exit(1);
}

static ArvGcFeatureNode* feature(ArvGc* genicam, const char* name) {
  ArvGcNode* node = arv_gc_get_node(genicam, name);
  require(ARV_IS_GC_FEATURE_NODE(node), name, NULL);
  return ARV_GC_FEATURE_NODE(node);
}

static int read_all(ArvGc* genicam, const char* category) {
  int count = 0;
  for (const GSList* each = arv_gc_category_get_features(ARV_GC_CATEGORY(arv_gc_get_node(genicam, category)));
       each != NULL; each = each->next) {
    const char* name = each->data;
    ArvGcFeatureNode* node = feature(genicam, name);
    GError* error = NULL;
    if (ARV_IS_GC_CATEGORY(node)) {
      count += read_all(genicam, name);
      continue;
    }
    ++count;
    require(arv_gc_feature_node_get_tooltip(node) != NULL, name, NULL);
    bool readable = arv_gc_feature_node_is_available(node, &error) && !ARV_IS_GC_COMMAND(node);
    require(error == NULL, name, error);
    if (!readable) continue;
    const char* value = arv_gc_feature_node_get_value_as_string(node, &error);
    require(error == NULL && value != NULL, name, error);
  }
  return count;
}

/* Whether Aravis, which checks ranges and access itself, could set it. */
static bool set(ArvGc* genicam, const char* name, const char* value) {
  GError* error = NULL;
  arv_gc_feature_node_set_value_from_string(feature(genicam, name), value, &error);
  bool is_set = error == NULL;
  g_clear_error(&error);
  return is_set;
}
static bool is(ArvGc* genicam, const char* name, const char* value) {
  GError* error = NULL;
  const char* present = arv_gc_feature_node_get_value_as_string(feature(genicam, name), &error);
  require(error == NULL, name, error);
  return strcmp(present, value) == 0;
}

int main(int count, char** arguments) {
  void *system, *interface, *device;
  char id[64];
  size_t size = sizeof id;
  require(count == 2, "one argument", NULL);
  producer = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  require(producer != NULL, "the producer can be loaded", NULL);
  require(CALL(GCInitLib, (void)) == 0, "GCInitLib", NULL);
  require(CALL(TLOpen, (void**), &system) == 0, "TLOpen", NULL);
  require(CALL(TLOpenInterface, (void*, const char*, void**), system, "USB", &interface) == 0, "an interface",
          NULL);
  require(CALL(IFGetDeviceID, (void*, uint32_t, char*, size_t*), interface, 0, id, &size) == 0, "a device",
          NULL);
  require(CALL(IFOpenDevice, (void*, const char*, int32_t, void**), interface, id, 3, &device) == 0,
          "it opens", NULL);
  require(CALL(DevGetPort, (void*, void**), device, &port) == 0, "its port", NULL);

  char url[256];
  unsigned long address, length;
  size = sizeof url;
  require(CALL(GCGetPortURL, (void*, char*, size_t*), port, url, &size) == 0, "a description", NULL);
  require(sscanf(url, "Local:///%*[^;];%lx;%lx", &address, &length) == 2, url, NULL);
  char* xml = malloc(length);
  size = length;
  require(CALL(GCReadPort, (void*, uint64_t, void*, size_t*), port, address, xml, &size) == 0, "its text",
          NULL);

  ArvGc* genicam = arv_gc_new(g_object_new(port_device_get_type(), NULL), xml, length);
  require(ARV_IS_GC(genicam), "Aravis understands it", NULL);
  arv_gc_set_range_check_policy(genicam, ARV_RANGE_CHECK_POLICY_ENABLE);
  arv_gc_set_access_check_policy(genicam, ARV_ACCESS_CHECK_POLICY_ENABLE);
  printf("%d features\n", read_all(genicam, "Root"));

  require(set(genicam, "PixelFormat", "Mono8") && is(genicam, "PixelFormat", "Mono8"), "PixelFormat is set",
          NULL);
  require(set(genicam, "Width", "640") && is(genicam, "Width", "640"), "Width is set", NULL);
  require(!set(genicam, "Width", "1000000"), "Width has a limit", NULL);
  require(set(genicam, "TLParamsLocked", "1") && !set(genicam, "Width", "320"), "Width is locked", NULL);
  require(set(genicam, "TLParamsLocked", "0") && set(genicam, "Width", "320"), "Width is free again", NULL);
  require(set(genicam, "GainAuto", "Off"), "GainAuto is set", NULL);
  require(set(genicam, "Gain", "40") && is(genicam, "Gain", "40"), "Gain is set", NULL);
  require(set(genicam, "GainAuto", "Continuous") && !set(genicam, "Gain", "41"), "GainAuto locks Gain", NULL);
  require(CALL(GCCloseLib, (void)) == 0, "GCCloseLib", NULL);
  free(xml);
  return 0;
}
