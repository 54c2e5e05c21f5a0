// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>

namespace kxcam {

// The camera's own colour matrix in its EEPROM: nine signed hundredths, row-major. Codes of both: 1, 3, 4,
// and 10 or 11 of the last cell that failed.

/// Elements are cut to hundredths; what two bytes do not hold saturates, and NaN is stored as 0.
bool WriteCcm(int camera, std::span<const double, 9> ccm);

/// False when a cell could not be read: `ccm` then holds what could, and 0 in its place. A matrix with a
/// diagonal element outside 0.1..5.0 is none; `ccm` is then the identity.
bool ReadCcm(int camera, std::span<double, 9> ccm);

}  // namespace kxcam
