// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "device/eeprom.h"
#include "device/model.h"
#include "device/spi_flash.h"

namespace kxsim {

/// What the maker writes into a camera before it leaves: neutral settings and an exposure of that many lines
/// in both parameter sets, an empty list of dead pixels, no colour correction, and in the flash no fixed
/// pattern and a straight lookup table. A camera without all that comes up with every switch on, mirrored and
/// rotated.
void program_factory_settings(const Model& model, uint32_t exposure, Eeprom& eeprom, SpiFlash& flash);

}  // namespace kxsim
