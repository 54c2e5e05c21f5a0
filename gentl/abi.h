// SPDX-License-Identifier: Apache-2.0
// Numbers and layouts of the GenTL C interface, version 1.5, that this producer answers to.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kxcam::gentl {

using Handle = void*;
using Bool8 = uint8_t;

inline constexpr uint64_t kForEver = ~uint64_t{0};

enum Status : int32_t {
  kSuccess = 0,
  kError = -1001,
  kNotInitialized = -1002,
  kNotImplemented = -1003,
  kResourceInUse = -1004,
  kAccessDenied = -1005,
  kInvalidHandle = -1006,
  kInvalidId = -1007,
  kNoData = -1008,
  kInvalidParameter = -1009,
  kIo = -1010,
  kTimeout = -1011,
  kAbort = -1012,
  kInvalidBuffer = -1013,
  kNotAvailable = -1014,
  kInvalidAddress = -1015,
  kBufferTooSmall = -1016,
  kInvalidIndex = -1017,
  kInvalidValue = -1019,
  kResourceExhausted = -1020,
  kOutOfMemory = -1021,
  kBusy = -1022,
};

enum class Type : int32_t {
  kUnknown = 0,
  kString = 1,
  kInt32 = 5,
  kUint32 = 6,
  kUint64 = 8,
  kPointer = 10,
  kBool8 = 11,
  kSize = 12,
};

enum class SystemInfo : int32_t {
  kId,
  kVendor,
  kModel,
  kVersion,
  kType,
  kFileName,
  kPath,
  kDisplayName,
  kEncoding,
  kVersionMajor,
  kVersionMinor
};
enum class InterfaceInfo : int32_t { kId, kDisplayName, kType };
enum class DeviceInfo : int32_t {
  kId,
  kVendor,
  kModel,
  kType,
  kDisplayName,
  kAccessStatus,
  kUserName,
  kSerial,
  kVersion,
  kTicksPerSecond
};
enum class StreamInfo : int32_t {
  kId,
  kDelivered,
  kUnderrun,
  kAnnounced,
  kQueued,
  kAwaitingDelivery,
  kStarted,
  kPayloadSize,
  kGrabbing,
  kDefinesPayload,
  kType,
  kMostChunks,
  kLeastBuffers,
  kAlignment
};
enum class BufferInfo : int32_t {
  kBase,
  kSize,
  kUser,
  kTimestamp,
  kNewData,
  kQueued,
  kAcquiring,
  kIncomplete,
  kType,
  kFilled,
  kWidth,
  kHeight,
  kOffsetX,
  kOffsetY,
  kPaddingX,
  kPaddingY,
  kFrameId,
  kImagePresent,
  kImageOffset,
  kPayloadType,
  kPixelFormat,
  kPixelNamespace,
  kDeliveredHeight,
  kDeliveredChunks,
  kChunkLayout,
  kFileName,
  kEndianness,
  kDataSize,
  kTimestampNs,
  kLargerThanBuffer,
  kContainsChunks,
  kIsComposite
};
enum class PortInfo : int32_t {
  kId,
  kVendor,
  kModel,
  kType,
  kModule,
  kLittleEndian,
  kBigEndian,
  kReadable,
  kWritable,
  kNotAccessible,
  kNotImplemented,
  kVersion,
  kName
};
enum class UrlInfo : int32_t {
  kUrl,
  kSchemaMajor,
  kSchemaMinor,
  kFileMajor,
  kFileMinor,
  kFileSubMinor,
  kSha1,
  kAddress,
  kSize,
  kScheme,
  kFileName
};
enum class EventInfo : int32_t { kKind, kInQueue, kFired, kLargest, kLargestValue };
enum class EventDataInfo : int32_t { kId, kValue, kNumber };

enum class EventKind : int32_t { kError = 0, kNewBuffer = 1 };
enum class AccessStatus : int32_t { kReadWrite = 1, kBusy = 4, kOpenHere = 5 };
enum class OpenAccess : int32_t { kRead = 2, kControl = 3, kExclusive = 4 };
enum class FlushOperation : int32_t {
  kInputToOutput,
  kDiscardOutput,
  kAllToInput,
  kUnqueuedToInput,
  kDiscardAll
};

inline constexpr int32_t kUtf8 = 1;
inline constexpr size_t kPayloadImage = 1;
inline constexpr uint64_t kPixelNames32 = 4;  ///< the namespace of 32-bit pixel format codes
inline constexpr int32_t kLittleEndianData = 1;
inline constexpr int32_t kSchemeLocal = 0;

#pragma pack(push, 1)
struct NewBuffer {
  Handle buffer;
  void* user;
};
struct RegisterEntry {
  uint64_t address;
  void* data;
  size_t size;
};
struct ChunkEntry {
  uint64_t id;
  ptrdiff_t offset;
  size_t length;
};
#pragma pack(pop)
static_assert(sizeof(NewBuffer) == 16);
static_assert(sizeof(RegisterEntry) == 24);
static_assert(sizeof(ChunkEntry) == 24);

}  // namespace kxcam::gentl
