// SPDX-License-Identifier: Apache-2.0
// The functions of the GenTL C interface, which consumers look up by these names.
#pragma once

#include "abi.h"

#define KXCAM_GENTL extern "C" __attribute__((visibility("default"))) int32_t

KXCAM_GENTL GCInitLib();
KXCAM_GENTL GCCloseLib();
KXCAM_GENTL GCGetInfo(int32_t command, int32_t* type, void* data, size_t* size);
KXCAM_GENTL GCGetLastError(int32_t* code, char* text, size_t* size);
KXCAM_GENTL GCReadPort(void* port, uint64_t address, void* data, size_t* size);
KXCAM_GENTL GCWritePort(void* port, uint64_t address, const void* data, size_t* size);
KXCAM_GENTL GCReadPortStacked(void* port, kxcam::gentl::RegisterEntry* entries, size_t* count);
KXCAM_GENTL GCWritePortStacked(void* port, kxcam::gentl::RegisterEntry* entries, size_t* count);
KXCAM_GENTL GCGetPortInfo(void* port, int32_t command, int32_t* type, void* data, size_t* size);
KXCAM_GENTL GCGetPortURL(void* port, char* url, size_t* size);
KXCAM_GENTL GCGetNumPortURLs(void* port, uint32_t* count);
KXCAM_GENTL GCGetPortURLInfo(void* port, uint32_t index, int32_t command, int32_t* type, void* data,
                             size_t* size);
KXCAM_GENTL GCRegisterEvent(void* source, int32_t kind, void** event);
KXCAM_GENTL GCUnregisterEvent(void* source, int32_t kind);

KXCAM_GENTL EventGetData(void* event, void* data, size_t* size, uint64_t timeout_ms);
KXCAM_GENTL EventGetDataInfo(void* event, const void* data, size_t data_size, int32_t command, int32_t* type,
                             void* room, size_t* size);
KXCAM_GENTL EventGetInfo(void* event, int32_t command, int32_t* type, void* data, size_t* size);
KXCAM_GENTL EventFlush(void* event);
KXCAM_GENTL EventKill(void* event);

KXCAM_GENTL TLOpen(void** system);
KXCAM_GENTL TLClose(void* system);
KXCAM_GENTL TLGetInfo(void* system, int32_t command, int32_t* type, void* data, size_t* size);
KXCAM_GENTL TLUpdateInterfaceList(void* system, uint8_t* changed, uint64_t timeout_ms);
KXCAM_GENTL TLGetNumInterfaces(void* system, uint32_t* count);
KXCAM_GENTL TLGetInterfaceID(void* system, uint32_t index, char* id, size_t* size);
KXCAM_GENTL TLGetInterfaceInfo(void* system, const char* id, int32_t command, int32_t* type, void* data,
                               size_t* size);
KXCAM_GENTL TLOpenInterface(void* system, const char* id, void** interface);

KXCAM_GENTL IFClose(void* interface);
KXCAM_GENTL IFGetInfo(void* interface, int32_t command, int32_t* type, void* data, size_t* size);
KXCAM_GENTL IFGetParentTL(void* interface, void** system);
KXCAM_GENTL IFUpdateDeviceList(void* interface, uint8_t* changed, uint64_t timeout_ms);
KXCAM_GENTL IFGetNumDevices(void* interface, uint32_t* count);
KXCAM_GENTL IFGetDeviceID(void* interface, uint32_t index, char* id, size_t* size);
KXCAM_GENTL IFGetDeviceInfo(void* interface, const char* id, int32_t command, int32_t* type, void* data,
                            size_t* size);
KXCAM_GENTL IFOpenDevice(void* interface, const char* id, int32_t access, void** device);

KXCAM_GENTL DevClose(void* device);
KXCAM_GENTL DevGetInfo(void* device, int32_t command, int32_t* type, void* data, size_t* size);
KXCAM_GENTL DevGetParentIF(void* device, void** interface);
KXCAM_GENTL DevGetPort(void* device, void** port);
KXCAM_GENTL DevGetNumDataStreams(void* device, uint32_t* count);
KXCAM_GENTL DevGetDataStreamID(void* device, uint32_t index, char* id, size_t* size);
KXCAM_GENTL DevOpenDataStream(void* device, const char* id, void** stream);

KXCAM_GENTL DSClose(void* stream);
KXCAM_GENTL DSGetInfo(void* stream, int32_t command, int32_t* type, void* data, size_t* size);
KXCAM_GENTL DSGetParentDev(void* stream, void** device);
KXCAM_GENTL DSAnnounceBuffer(void* stream, void* memory, size_t size, void* user, void** buffer);
KXCAM_GENTL DSAllocAndAnnounceBuffer(void* stream, size_t size, void* user, void** buffer);
KXCAM_GENTL DSRevokeBuffer(void* stream, void* buffer, void** memory, void** user);
KXCAM_GENTL DSQueueBuffer(void* stream, void* buffer);
KXCAM_GENTL DSGetBufferID(void* stream, uint32_t index, void** buffer);
KXCAM_GENTL DSFlushQueue(void* stream, int32_t operation);
KXCAM_GENTL DSStartAcquisition(void* stream, int32_t flags, uint64_t pictures);
KXCAM_GENTL DSStopAcquisition(void* stream, int32_t flags);
KXCAM_GENTL DSGetBufferInfo(void* stream, void* buffer, int32_t command, int32_t* type, void* data,
                            size_t* size);
KXCAM_GENTL DSGetBufferChunkData(void* stream, void* buffer, kxcam::gentl::ChunkEntry* chunks, size_t* count);
KXCAM_GENTL DSGetNumBufferParts(void* stream, void* buffer, uint32_t* count);
KXCAM_GENTL DSGetBufferPartInfo(void* stream, void* buffer, uint32_t part, int32_t command, int32_t* type,
                                void* data, size_t* size);
