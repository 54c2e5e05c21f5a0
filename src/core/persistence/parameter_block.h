// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>

#include "core/registry/camera_parameter.h"

namespace kxcam {

// The camera's own colour matrix in its EEPROM: nine signed hundredths, row-major. Codes of both: 1, 3, 4,
// and 10 or 11 of the last cell that failed.

/// Elements are cut to hundredths; what two bytes do not hold saturates, and NaN is stored as 0.
bool WriteCcm(int camera, std::span<const double, 9> ccm);

/// False when a cell could not be read: `ccm` then holds what could, and 0 in its place. A matrix with a
/// diagonal element outside 0.1..5.0 is none; `ccm` is then the identity.
bool ReadCcm(int camera, std::span<double, 9> ccm);

// A parameter set as 64 bytes of the camera's EEPROM. Slots 1 to 3 have a block of their own, every other
// number is slot 0. Real values are kept in hundredths and cut, not rounded. Codes of both: 1, 3, 4, and
// 10 or 11 of the last cell that failed.
//
// Two quirks that stored sets of cameras in the field depend on: the black level is taken off `ae_target`
// on loading though it is not added on saving, and the polarities are only touched while everything before
// them went well.

/// Writes the record. False when a cell did not take its byte; that of the exposure's high bits does not
/// count.
bool SaveParameter(int camera, const CameraParameter& record, int slot);

/// Reads a set into the record, bytes that cannot be read as 0. False when one of the cells up to the
/// polarities could not be read. Values are as they were stored, in range or not.
bool LoadParameter(int camera, CameraParameter& record, int slot);

}  // namespace kxcam
