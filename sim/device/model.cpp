// SPDX-License-Identifier: Apache-2.0
#include "device/model.h"

#include <algorithm>
#include <array>

namespace kxsim {
namespace {

using enum ColorMode;

// clang-format off
constexpr std::array kModels = {
    Model{0x0030, 0x0030, "Model 0.3MP-C",     kBggr,   752, 480},
    Model{0x003B, 0x003B, "Model 0.3MP-M",     kMono8,  752, 480},
    Model{0x0100, 0x0100, "Model 1MP-C",       kBggr,   1280, 800},
    Model{0x0120, 0x0120, "Model 1.2MP-C",     kGrbg,   1280, 960},
    Model{0x012B, 0x012B, "Model 1.2MP-M",     kMono8,  1280, 960},
    Model{0x0130, 0x0130, "Model 1.3MP-C",     kGrbg,   1280, 1024},
    Model{0x013B, 0x013B, "Model 1.3MP-M",     kMono8,  1280, 1024},
    Model{0x0200, 0x0200, "Model 2MP-C",       kGrbg,   1920, 1080},
    Model{0x020B, 0x020B, "Model 2MP-M",       kMono8,  1920, 1080},
    Model{0x0300, 0x0300, "Model 3.1MP-C",     kGrbg,   2048, 1536},
    Model{0x0400, 0x0400, "Model 3.6MP-C",     kBggr,   2560, 1440},
    Model{0x040B, 0x040B, "Model 3.6MP-M",     kMono8,  2560, 1440},
    Model{0x0410, 0x0410, "Model 4MP-C",       kBggr,   2688, 1520},
    Model{0x041B, 0x041B, "Model 4MP-M",       kMono8,  2688, 1520},
    Model{0x0500, 0x0500, "Model 5MP-C",       kGrbg,   2592, 1944},
    Model{0x050B, 0x050B, "Model 5MP-M",       kMono8,  2592, 1944},
    Model{0x0A00, 0x0A00, "Model 10MP-C",      kGrbg,   3664, 2748},
    Model{0x0A0B, 0x0A0B, "Model 10MP-M",      kMono8,  3664, 2748},
    Model{0x0E00, 0x0E00, "Model 14.4MP-C",    kGrbg,   4384, 3288},
    Model{0x3030, 0x0030, "Model 0.3MP-C",     kBggr,   752, 480},
    Model{0x303B, 0x003B, "Model 0.3MP-M",     kMono8,  752, 480},
    Model{0x304B, 0x004B, "Model 0.3MP-M",     kMono8,  640, 480},
    Model{0x350B, 0x050B, "Model 5MP-M",       kMono8,  2592, 1944},
    Model{0x3500, 0x0500, "Model 5MP-C",       kGrbg,   2592, 1944},
    Model{0x3A00, 0x0A00, "Model 10MP-C",      kGrbg,   3664, 2748},
    Model{0x3A0B, 0x0A0B, "Model 10MP-M",      kMono8,  3664, 2748},
    Model{0x3E00, 0x0E00, "Model 14.4MP-C",    kGrbg,   4384, 3288},
    Model{0x3120, 0x0120, "Model 1.2MP-C",     kGrbg,   1280, 960},
    Model{0x312B, 0x012B, "Model 1.2MP-M",     kMono8,  1280, 960},
    Model{0x3130, 0x3130, "Model 1.3MP-C",     kBggr,   1280, 1024},
    Model{0x313B, 0x313B, "Model 1.3MP-M",     kMono8,  1280, 1024},
    Model{0x3200, 0x3200, "Model 2MP-C",       kRggb,   1920, 1080},
    Model{0x320B, 0x320B, "Model 2MP-M",       kMono8,  1920, 1080},
    Model{0x3E60, 0x0E60, "Model 1.3MP-C",     kBggr,   1280, 1024},
    Model{0x3E6B, 0x0E6B, "Model 1.3MP-M",     kMono8,  1280, 1024},
    Model{0x3E70, 0x0E70, "Model 1.9MP-C",     kBggr,   1600, 1200},
    Model{0x3E7B, 0x0E7B, "Model 1.9MP-M",     kMono8,  1600, 1200},
    Model{0x3180, 0x0180, "Model 18MP-C",      kGrbg,   4912, 3684},
    Model{0x318B, 0x018B, "Model 18MP-M",      kMono8,  4912, 3684},
    Model{0x3010, 0x0010, "Model 0.1MP-C",     kBggr,   400, 400},
    Model{0x301B, 0x001B, "Model 0.1MP-M",     kMono8,  400, 400},
    Model{0x3600, 0x0600, "Model 0.3MP-C",     kRggb,   720, 540},
    Model{0x360B, 0x060B, "Model 0.3MP-M",     kMono8,  720, 540},
    Model{0x369B, 0x060B, "Model 0.3MP-M12",   kMono12, 720, 540},
    Model{0x3620, 0x0620, "Model 2.3MP-C",     kRggb,   1920, 1200},
    Model{0x362B, 0x062B, "Model 2.3MP-M",     kMono8,  1920, 1200},
    Model{0x36C0, 0x0620, "Model 2.3MP-C",     kRggb,   1920, 1200},
    Model{0x36CB, 0x062B, "Model 2.3MP-M",     kMono8,  1920, 1200},
    Model{0x3630, 0x0630, "Model 3.1MP-C",     kRggb,   2048, 1536},
    Model{0x363B, 0x063B, "Model 3.1MP-M",     kMono8,  2048, 1536},
    Model{0x3650, 0x0650, "Model 5MP-C",       kRggb,   2448, 2048},
    Model{0x365B, 0x065B, "Model 5MP-M",       kMono8,  2448, 2048},
    Model{0x3680, 0x0680, "Model 8.8MP-C",     kRggb,   4096, 2160},
    Model{0x368B, 0x068B, "Model 8.8MP-M",     kMono8,  4096, 2160},
    Model{0x3710, 0x0710, "Model 12.2MP-C",    kRggb,   4096, 3000},
    Model{0x371B, 0x071B, "Model 12.2MP-M",    kMono8,  4096, 3000},
    Model{0x3C30, 0x0C30, "Model 3.1MP-C",     kRggb,   2064, 1544},
    Model{0x3C3B, 0x0C3B, "Model 3.1MP-M",     kMono8,  2064, 1544},
    Model{0x3C50, 0x0C50, "Model 5MP-C",       kRggb,   2480, 2056},
    Model{0x3C5B, 0x0C5B, "Model 5MP-M",       kMono8,  2480, 2056},
    Model{0x3C80, 0x0C80, "Model 8.8MP-C",     kRggb,   4096, 2160},
    Model{0x3C8B, 0x0C8B, "Model 8.8MP-M",     kMono8,  4096, 2160},
    Model{0x3DC0, 0x0DC0, "Model 13.2MP-C",    kGrbg,   4200, 3160},
    Model{0x3DCB, 0x0DCB, "Model 13.2MP-M",    kMono8,  4200, 3160},
    Model{0x3510, 0x0510, "Model 5MP-C",       kGrbg,   2592, 1944},
    Model{0x351B, 0x051B, "Model 5MP-M",       kMono8,  2592, 1944},
    Model{0x3A30, 0x0A30, "Model 0.3MP-C",     kGrbg,   640, 480},
    Model{0x3A3B, 0x0A3B, "Model 0.3MP-M",     kMono8,  640, 480},
    Model{0x3B10, 0x0B10, "Model 1.3MP-C",     kGrbg,   1280, 1024},
    Model{0x3B1B, 0x0B1B, "Model 1.3MP-M",     kMono8,  1280, 1024},
    Model{0x3B20, 0x0B20, "Model 2.3MP-C",     kGrbg,   1920, 1200},
    Model{0x3B2B, 0x0B2B, "Model 2.3MP-M",     kMono8,  1920, 1200},
    Model{0x3B50, 0x0B50, "Model 5.3MP-C",     kGrbg,   2592, 2048},
    Model{0x3B5B, 0x0B5B, "Model 5.3MP-M",     kMono8,  2592, 2048},
    Model{0x3320, 0x0320, "Model 2.2MP-C",     kGrbg,   2048, 1088},
    Model{0x332B, 0x032B, "Model 2.2MP-M",     kMono8,  2048, 1088},
    Model{0x3860, 0x0860, "Model 6.2MP-C",     kRggb,   3072, 2048},
    Model{0x386B, 0x086B, "Model 6.2MP-M",     kMono8,  3072, 2048},
    Model{0x3910, 0x0910, "Model 12.2MP-C",    kRggb,   4024, 3036},
    Model{0x391B, 0x091B, "Model 12.2MP-M",    kMono8,  4024, 3036},
    Model{0x3920, 0x0920, "Model 19.9MP-C",    kGbrg,   5472, 3648},
    Model{0x392B, 0x092B, "Model 19.9MP-M",    kMono8,  5472, 3648},
};
// clang-format on

}  // namespace

std::span<const Model> all_models() {
  return kModels;
}

const Model* find_model(uint32_t product_id) {
  const auto* const found = std::ranges::find(kModels, product_id, &Model::product_id);
  return found == kModels.end() ? nullptr : found;
}

}  // namespace kxsim
