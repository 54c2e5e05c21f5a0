// SPDX-License-Identifier: Apache-2.0
// Streams and buffers: from handles to modules.
#include "exports.h"
#include "system.h"

using namespace kxcam::gentl;

int32_t DSClose(void* stream) {
  return status_of([&] {
    const auto closed = find<Stream>(stream);
    HandleTable::instance().remove(*closed);
    closed->close();
  });
}

int32_t DSGetInfo(void* stream, int32_t command, int32_t* type, void* data, size_t* size) {
  return status_of([&] { find<Stream>(stream)->info(StreamInfo{command}, Answer(type, data, size)); });
}

int32_t DSGetParentDev(void* stream, void** device) {
  return status_of([&] { required(device) = find<Stream>(stream)->device(); });
}

int32_t DSAnnounceBuffer(void* stream, void* memory, size_t size, void* user, void** buffer) {
  return status_of([&] {
    const auto owner = find<Stream>(stream);
    required(buffer);
    *buffer = owner->announce(memory, size, user);
  });
}

int32_t DSAllocAndAnnounceBuffer(void* stream, size_t size, void* user, void** buffer) {
  return status_of([&] {
    const auto owner = find<Stream>(stream);
    required(buffer);
    *buffer = owner->allocate(size, user);
  });
}

int32_t DSRevokeBuffer(void* stream, void* buffer, void** memory, void** user) {
  return status_of([&] { find<Stream>(stream)->revoke(buffer, memory, user); });
}

int32_t DSQueueBuffer(void* stream, void* buffer) {
  return status_of([&] { find<Stream>(stream)->queue(buffer); });
}

int32_t DSGetBufferID(void* stream, uint32_t index, void** buffer) {
  return status_of([&] { required(buffer) = find<Stream>(stream)->buffer_at(index); });
}

int32_t DSFlushQueue(void* stream, int32_t operation) {
  return status_of([&] { find<Stream>(stream)->flush(FlushOperation{operation}); });
}

int32_t DSStartAcquisition(void* stream, int32_t /*flags*/, uint64_t pictures) {
  return status_of([&] { find<Stream>(stream)->start(pictures); });
}

// Whether it is killed or stopped: the thread ends at once, and no picture is left half.
int32_t DSStopAcquisition(void* stream, int32_t /*flags*/) {
  return status_of([&] { find<Stream>(stream)->stop(); });
}

int32_t DSGetBufferInfo(void* stream, void* buffer, int32_t command, int32_t* type, void* data,
                        size_t* size) {
  return status_of(
      [&] { find<Stream>(stream)->buffer_info(buffer, BufferInfo{command}, Answer(type, data, size)); });
}

int32_t DSGetBufferChunkData(void* stream, void* buffer, ChunkEntry* /*chunks*/, size_t* /*count*/) {
  return status_of([&] {
    find<Stream>(stream)->require_buffer(buffer);
    fail(kNoData, "pictures have no chunks");
  });
}

// Consumers take a picture with parts, be it one, by another way.
int32_t DSGetNumBufferParts(void* stream, void* buffer, uint32_t* /*count*/) {
  return status_of([&] {
    find<Stream>(stream)->require_buffer(buffer);
    fail(kNoData, "pictures have no parts");
  });
}

int32_t DSGetBufferPartInfo(void* stream, void* buffer, uint32_t /*part*/, int32_t /*command*/,
                            int32_t* /*type*/, void* /*data*/, size_t* /*size*/) {
  return status_of([&] {
    find<Stream>(stream)->require_buffer(buffer);
    fail(kNoData, "pictures have no parts");
  });
}
