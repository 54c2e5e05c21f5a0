// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/streaming_bit.h"

#include "core/sensors/mode_bits.h"
#include "core/sensors/trigger_request.h"

namespace kxcam {

namespace {
constexpr uint32_t kResetRegister = 0x301A;
constexpr uint32_t kStreaming = 0x4;
}  // namespace

bool switch_streaming_bit(CameraContext& camera, bool triggered) {
  return switch_mode_bits(camera, kResetRegister, kStreaming, !triggered) &&
         request_trigger_mode(camera, triggered);
}

}  // namespace kxcam
