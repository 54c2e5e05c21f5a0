// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>

#include "core/registry/camera_parameter.h"

namespace kxcam {

struct CameraContext;

// The camera's own colour matrix in its EEPROM: nine signed hundredths, row-major. Both fail with
// NO_DEVICE, READ_REQUEST or WRITE_REQUEST, that of the last cell that failed.

/// Elements are cut to hundredths; what two bytes do not hold saturates, and NaN is stored as 0.
bool WriteCcm(CameraContext& camera, std::span<const double, 9> ccm);

/// False when a cell could not be read: `ccm` then holds what could, and 0 in its place. A matrix with a
/// diagonal element outside 0.1..5.0 is none; `ccm` is then the identity.
bool ReadCcm(CameraContext& camera, std::span<double, 9> ccm);

// A parameter set as 64 bytes of the camera's EEPROM. Slots 1 to 3 have a block of their own, every other
// number is slot 0. Real values are kept in hundredths and cut, not rounded. Failures as above.
//
// Two quirks that stored sets of cameras in the field depend on: the black level is taken off `ae_target`
// on loading though it is not added on saving, and the polarities are only touched while everything before
// them went well.

/// Writes the record. False when a cell did not take its byte; that of the exposure's high bits does not
/// count.
bool SaveParameter(CameraContext& camera, const CameraParameter& record, int slot);

/// Reads a set into the record, bytes that cannot be read as 0. False when one of the cells up to the
/// polarities could not be read. Values are as they were stored, in range or not.
bool LoadParameter(CameraContext& camera, CameraParameter& record, int slot);

}  // namespace kxcam
