// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "device/sensors/sensor_model.h"

namespace kxsim {

// Amplification by what the gain registers hold, one function per way in which sensors encode it. 1 =
// unamplified.

double gain_in_sixteenths(const RegisterFiles& files);    ///< 0x35
double gain_with_doubler(const RegisterFiles& files);     ///< 0x35: a stage to 64, doubled, digital eighths
double gain_in_three_ranges(const RegisterFiles& files);  ///< 0x35: steps of 2, 4 and 16
double gain_in_32nds(const RegisterFiles& files);         ///< 0x305E
double gain_in_128ths(const RegisterFiles& files);        ///< 0x305E
double gain_of_columns(const RegisterFiles& files);       ///< 0x305E: three ranges of column gain
double gain_of_range_and_digits(const RegisterFiles& files);  ///< 0x305E: range above bit 7, digital below
double gain_of_product(const RegisterFiles& files);           ///< 0x305E: analogue x digital
double gain_from_128(const RegisterFiles& files);             ///< 0x11, above bit 8
double gain_of_powers(const RegisterFiles& files);            ///< 0x3E08: a power of two, 0x3E09: in 32nds
double gain_of_stages(const RegisterFiles& files);            ///< 0x3E08: stages, 0x3E09: in 64ths
double gain_in_168ths(const RegisterFiles& files);            ///< 0x3E08 and 0x3E09 together
double gain_in_192nds(const RegisterFiles& files);            ///< 0xCD
double gain_in_decibels_3204(const RegisterFiles& files);     ///< 0x3204: tenths of a decibel
double gain_in_decibels_301f(const RegisterFiles& files);     ///< 0x301F: tenths of a decibel
double gain_in_decibels_3014(const RegisterFiles& files);     ///< 0x3014: three tenths of a decibel
double gain_of_ramp_2048(const RegisterFiles& files);  ///< 0x09 and 0x0A: slope of the converter's ramp
double gain_of_ramp_1024(const RegisterFiles& files);  ///< 0x13 and 0x14, x the bridge's parameter 2
double gain_of_ramp_256(const RegisterFiles& files);   ///< 0x15

}  // namespace kxsim
