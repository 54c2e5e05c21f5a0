// SPDX-License-Identifier: Apache-2.0
// System, interface, device: from handles to modules.
#include "exports.h"
#include "system.h"

using namespace kxcam::gentl;

namespace {

void answer_id(const std::string& id, char* text, size_t* size) {
  Answer(nullptr, text, size).text(id);
}

}  // namespace

int32_t GCInitLib() {
  return status_of([&] { Library::instance().begin(); });
}

int32_t GCCloseLib() {
  return status_of([&] { Library::instance().end(); });
}

int32_t GCGetInfo(int32_t command, int32_t* type, void* data, size_t* size) {
  return status_of([&] {
    Library::instance().require_begun();
    system_info(SystemInfo{command}, Answer(type, data, size));
  });
}

int32_t GCGetLastError(int32_t* code, char* text, size_t* size) {
  try {
    const Failure& failure = last_failure();
    if (code != nullptr) *code = failure.status;
    answer_id(failure.text, text, size);
    return kSuccess;
  } catch (const Failure& failure) {
    return failure.status;  // not kept: it would take the place of what was asked for
  }
}

int32_t TLOpen(void** system) {
  return status_of([&] {
    required(system);
    *system = Library::instance().open_system();
  });
}

int32_t TLClose(void* system) {
  return status_of([&] { Library::instance().close_system(*find<System>(system)); });
}

int32_t TLGetInfo(void* system, int32_t command, int32_t* type, void* data, size_t* size) {
  return status_of([&] {
    find<System>(system);
    system_info(SystemInfo{command}, Answer(type, data, size));
  });
}

int32_t TLUpdateInterfaceList(void* system, uint8_t* changed, uint64_t /*timeout_ms*/) {
  return status_of([&] {
    find<System>(system);
    if (changed != nullptr) *changed = 0;
  });
}

int32_t TLGetNumInterfaces(void* system, uint32_t* count) {
  return status_of([&] {
    find<System>(system);
    required(count) = 1;
  });
}

int32_t TLGetInterfaceID(void* system, uint32_t index, char* id, size_t* size) {
  return status_of([&] {
    find<System>(system);
    if (index != 0) fail(kInvalidIndex, "there is one interface");
    answer_id(kInterfaceId, id, size);
  });
}

int32_t TLGetInterfaceInfo(void* system, const char* id, int32_t command, int32_t* type, void* data,
                           size_t* size) {
  return status_of([&] {
    find<System>(system);
    if (id_of(id) != kInterfaceId) fail(kInvalidId, "no such interface");
    interface_info(InterfaceInfo{command}, Answer(type, data, size));
  });
}

int32_t TLOpenInterface(void* system, const char* id, void** interface) {
  return status_of([&] {
    const auto opener = find<System>(system);
    required(interface) = opener->open_interface(id_of(id));
  });
}

int32_t IFClose(void* interface) {
  return status_of([&] {
    const auto closed = find<Interface>(interface);
    HandleTable::instance().find<System>(closed->parent())->close_interface(*closed);
  });
}

int32_t IFGetInfo(void* interface, int32_t command, int32_t* type, void* data, size_t* size) {
  return status_of([&] {
    find<Interface>(interface);
    interface_info(InterfaceInfo{command}, Answer(type, data, size));
  });
}

int32_t IFGetParentTL(void* interface, void** system) {
  return status_of([&] { required(system) = find<Interface>(interface)->parent(); });
}

int32_t IFUpdateDeviceList(void* interface, uint8_t* changed, uint64_t /*timeout_ms*/) {
  return status_of([&] {
    const bool is_other = find<Interface>(interface)->update();
    if (changed != nullptr) *changed = Bool8{is_other};
  });
}

int32_t IFGetNumDevices(void* interface, uint32_t* count) {
  return status_of([&] { required(count) = static_cast<uint32_t>(find<Interface>(interface)->count()); });
}

int32_t IFGetDeviceID(void* interface, uint32_t index, char* id, size_t* size) {
  return status_of([&] { answer_id(find<Interface>(interface)->at(index).id, id, size); });
}

int32_t IFGetDeviceInfo(void* interface, const char* id, int32_t command, int32_t* type, void* data,
                        size_t* size) {
  return status_of([&] {
    find<Interface>(interface)->device_info(id_of(id), DeviceInfo{command}, Answer(type, data, size));
  });
}

int32_t IFOpenDevice(void* interface, const char* id, int32_t access, void** device) {
  return status_of([&] {
    const auto opener = find<Interface>(interface);
    required(device);
    *device = opener->open_device(id_of(id), OpenAccess{access});
  });
}

int32_t DevClose(void* device) {
  return status_of([&] {
    const auto closed = find<Device>(device);
    HandleTable::instance().find<Interface>(closed->parent())->close_device(*closed);
  });
}

int32_t DevGetInfo(void* device, int32_t command, int32_t* type, void* data, size_t* size) {
  return status_of([&] {
    find<Device>(device)->entry().info(DeviceInfo{command}, AccessStatus::kOpenHere,
                                       Answer(type, data, size));
  });
}

int32_t DevGetParentIF(void* device, void** interface) {
  return status_of([&] { required(interface) = find<Device>(device)->parent(); });
}

int32_t DevGetPort(void* device, void** port) {
  return status_of([&] { required(port) = find<Device>(device)->remote_port(); });
}

int32_t DevGetNumDataStreams(void* device, uint32_t* count) {
  return status_of([&] {
    find<Device>(device);
    required(count) = 1;
  });
}

int32_t DevGetDataStreamID(void* device, uint32_t index, char* id, size_t* size) {
  return status_of([&] {
    find<Device>(device);
    if (index != 0) fail(kInvalidIndex, "there is one stream");
    answer_id(kStreamId, id, size);
  });
}

int32_t DevOpenDataStream(void* device, const char* id, void** stream) {
  return status_of([&] {
    const auto opener = find<Device>(device);
    required(stream);
    *stream = opener->open_stream(id_of(id));
  });
}
