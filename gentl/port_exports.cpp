// SPDX-License-Identifier: Apache-2.0
// Registers and events of any module: from handles to ports.
#include <cstring>

#include "exports.h"
#include "system.h"

using namespace kxcam::gentl;

namespace {

/// Runs `access` for one entry after the other; `*count` becomes how many succeeded.
template <class Access>
void stacked(RegisterEntry* entries, size_t* count, Access access) {
  const size_t all = required(count);
  if (all > 0) required(entries);
  for (*count = 0; *count < all; ++*count) {
    RegisterEntry entry;  // packed: not to be bound to
    std::memcpy(&entry, reinterpret_cast<const char*>(entries) + *count * sizeof entry, sizeof entry);
    access(entry);
  }
}

}  // namespace

int32_t GCReadPort(void* port, uint64_t address, void* data, size_t* size) {
  return status_of([&] {
    const auto module = find<PortModule>(port);
    module->port().read(address, data, required(size));
  });
}

int32_t GCWritePort(void* port, uint64_t address, const void* data, size_t* size) {
  return status_of([&] {
    const auto module = find<PortModule>(port);
    module->port().write(address, data, required(size));
  });
}

int32_t GCReadPortStacked(void* port, RegisterEntry* entries, size_t* count) {
  return status_of([&] {
    const auto module = find<PortModule>(port);
    stacked(entries, count,
            [&](const RegisterEntry& entry) { module->port().read(entry.address, entry.data, entry.size); });
  });
}

int32_t GCWritePortStacked(void* port, RegisterEntry* entries, size_t* count) {
  return status_of([&] {
    const auto module = find<PortModule>(port);
    stacked(entries, count,
            [&](const RegisterEntry& entry) { module->port().write(entry.address, entry.data, entry.size); });
  });
}

int32_t GCGetPortInfo(void* port, int32_t command, int32_t* type, void* data, size_t* size) {
  return status_of([&] { find<PortModule>(port)->port().info(PortInfo{command}, Answer(type, data, size)); });
}

int32_t GCGetPortURL(void* port, char* url, size_t* size) {
  return status_of([&] { Answer(nullptr, url, size).text(find<PortModule>(port)->port().url()); });
}

int32_t GCGetNumPortURLs(void* port, uint32_t* count) {
  return status_of([&] {
    find<PortModule>(port);
    required(count) = 1;
  });
}

int32_t GCGetPortURLInfo(void* port, uint32_t index, int32_t command, int32_t* type, void* data,
                         size_t* size) {
  return status_of([&] {
    const auto module = find<PortModule>(port);
    if (index != 0) fail(kInvalidIndex, "there is one description");
    module->port().url_info(UrlInfo{command}, Answer(type, data, size));
  });
}

int32_t GCRegisterEvent(void* source, int32_t kind, void** event) {
  return status_of([&] {
    const auto module = find<PortModule>(source);
    required(event);
    *event = module->events().enter(module->new_event(EventKind{kind}), EventKind{kind});
  });
}

int32_t GCUnregisterEvent(void* source, int32_t kind) {
  return status_of([&] { find<PortModule>(source)->events().remove(EventKind{kind}); });
}

int32_t EventGetData(void* event, void* data, size_t* size, uint64_t timeout_ms) {
  return status_of([&] { find<Event>(event)->take(data, size, timeout_ms); });
}

int32_t EventGetDataInfo(void* event, const void* data, size_t data_size, int32_t command, int32_t* type,
                         void* room, size_t* size) {
  return status_of([&] {
    find<Event>(event)->data_info(data, data_size, EventDataInfo{command}, Answer(type, room, size));
  });
}

int32_t EventGetInfo(void* event, int32_t command, int32_t* type, void* data, size_t* size) {
  return status_of([&] { find<Event>(event)->info(EventInfo{command}, Answer(type, data, size)); });
}

int32_t EventFlush(void* event) {
  return status_of([&] { find<Event>(event)->flush(); });
}

int32_t EventKill(void* event) {
  return status_of([&] { find<Event>(event)->kill(); });
}
