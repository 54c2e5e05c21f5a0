// SPDX-License-Identifier: Apache-2.0
#include "core/persistence/parameter_block.h"

#include <algorithm>
#include <array>

#include "core/control/registers.h"
#include "core/control/trigger.h"
#include "isp/saturating_cast.h"

namespace kxcam {

namespace {

/// Reads values of a block, one cell a request. A cell that cannot be read counts as 0.
class EepromReader {
 public:
  EepromReader(CameraContext& camera, uint32_t block) : camera_(camera), block_(block) {}

  uint8_t byte(uint32_t offset) {
    const std::optional<uint8_t> value = eeprom_read(camera_, block_ + offset);
    ok_ = value.has_value() && ok_;
    return value.value_or(0);
  }
  uint16_t word(uint32_t offset) {
    const uint8_t high = byte(offset);
    const uint8_t low = byte(offset + 1);
    return static_cast<uint16_t>(high << 8 | low);
  }

  /// Whether every cell so far could be read.
  bool ok() const { return ok_; }

 private:
  CameraContext& camera_;
  uint32_t block_;
  bool ok_ = true;
};

/// The same for writing. A cell that does not take its byte does not keep the next ones from being written.
class EepromWriter {
 public:
  EepromWriter(CameraContext& camera, uint32_t block) : camera_(camera), block_(block) {}

  void byte(uint32_t offset, uint8_t value) { ok_ = eeprom_write(camera_, block_ + offset, value) && ok_; }
  void word(uint32_t offset, uint16_t value) {
    byte(offset, static_cast<uint8_t>(value >> 8));
    byte(offset + 1, static_cast<uint8_t>(value));
  }

  /// Whether every cell so far took its byte.
  bool ok() const { return ok_; }

 private:
  CameraContext& camera_;
  uint32_t block_;
  bool ok_ = true;
};

constexpr std::array kIdentity = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};

uint32_t offset_of(size_t element) {
  return static_cast<uint32_t>(2 * element);
}

bool is_plausible(std::span<const double, 9> ccm) {
  constexpr std::array<size_t, 3> kDiagonal = {0, 4, 8};
  return std::ranges::all_of(kDiagonal, [&](size_t i) { return ccm[i] >= 0.1 && ccm[i] <= 5.0; });
}

/// One setting of a set: its place in the block, what is stored for a value, and what a stored value means.
struct StoredSetting {
  enum class Cells : uint8_t { kByte, kWord };
  /// Which results a failed cell spoils.
  enum class Counts : uint8_t { kAlways, kWhenSaved, kNever };
  using Store = uint16_t (*)(const CameraParameter& record);
  using Restore = void (*)(CameraParameter& record, uint16_t raw);
  /// The stored value that is taken instead, for those that are out of range or were never written.
  using Limit = uint16_t (*)(uint16_t raw);

  uint8_t offset;
  Cells cells;
  Store store;
  Restore restore;
  Limit limit = nullptr;
  Counts counts = Counts::kAlways;
  bool only_if_intact = false;  ///< left out when a cell before it failed

  constexpr StoredSetting within(Limit range) const {
    StoredSetting row = *this;
    row.limit = range;
    return row;
  }
  constexpr StoredSetting read_as(Restore meaning) const {
    StoredSetting row = *this;
    row.restore = meaning;
    return row;
  }
  constexpr StoredSetting counting(Counts results) const {
    StoredSetting row = *this;
    row.counts = results;
    return row;
  }
  constexpr StoredSetting if_intact() const {
    StoredSetting row = *this;
    row.only_if_intact = true;
    return row;
  }
};

using Parameter = CameraParameter;
using Cells = StoredSetting::Cells;
using Counts = StoredSetting::Counts;

/// What a Relaxed member holds.
template <auto kMember>
using ValueOf = decltype((std::declval<const Parameter&>().*kMember).load());

/// The low bits of an integer.
template <auto kMember>
constexpr StoredSetting integer(uint8_t offset, Cells cells) {
  return {.offset = offset,
          .cells = cells,
          .store = [](const Parameter& p) { return static_cast<uint16_t>((p.*kMember).load()); },
          .restore = [](Parameter& p, uint16_t raw) { p.*kMember = static_cast<ValueOf<kMember>>(raw); }};
}

template <auto kMember>
constexpr StoredSetting word(uint8_t offset) {
  return integer<kMember>(offset, Cells::kWord);
}

template <auto kMember>
constexpr StoredSetting byte(uint8_t offset) {
  return integer<kMember>(offset, Cells::kByte);
}

/// A real number in hundredths.
template <auto kMember>
constexpr StoredSetting hundredths(uint8_t offset) {
  return {.offset = offset,
          .cells = Cells::kWord,
          .store = [](const Parameter& p) { return saturating_cast<uint16_t>((p.*kMember).load() * 100); },
          .restore = [](Parameter& p, uint16_t raw) { p.*kMember = raw * 0.01; }};
}

constexpr uint16_t kErasedWord = 0xFFFF;

template <uint16_t kDefault>
uint16_t unless_erased(uint16_t raw) {
  return raw == kErasedWord ? kDefault : raw;
}

/// A time of the trigger unit in tens of its units.
template <auto kMember>
constexpr StoredSetting tens(uint8_t offset) {
  return {.offset = offset,
          .cells = Cells::kWord,
          .store = [](const Parameter& p) { return static_cast<uint16_t>((p.*kMember).load() / 10); },
          .restore = [](Parameter& p, uint16_t raw) { p.*kMember = raw * 10; },
          .limit = unless_erased<0>,
          .counts = Counts::kWhenSaved};
}

/// A word that is kept 0.
constexpr StoredSetting reserved(uint8_t offset) {
  return {.offset = offset,
          .cells = Cells::kWord,
          .store = [](const Parameter&) -> uint16_t { return 0; },
          .restore = [](Parameter&, uint16_t) {}};
}

uint16_t possible_time_out(uint16_t raw) {
  constexpr uint16_t kShortest = 500;
  constexpr uint16_t kLongest = 50000;
  return raw >= kShortest && raw != kErasedWord ? std::min(raw, kLongest) : kShortest;
}

/// Beyond the 16 bits that the block's second word holds; a block without them has 0xFF here.
constexpr StoredSetting exposure_high_bits(uint8_t offset) {
  return {.offset = offset,
          .cells = Cells::kByte,
          .store = [](const Parameter& p) { return static_cast<uint16_t>(p.exposure >> 16); },
          .restore = [](Parameter& p, uint16_t raw) { p.exposure = p.exposure | raw << 16; },
          .limit = [](uint16_t raw) -> uint16_t { return raw == 0xFF ? 0 : raw; },
          .counts = Counts::kNever};
}

/// In the order in which cameras are asked; some rows depend on those before them.
constexpr std::array kStoredSettings = {
    word<&Parameter::gain>(0x00),
    word<&Parameter::exposure>(0x02),
    hundredths<&Parameter::gamma>(0x04),
    hundredths<&Parameter::contrast>(0x06),
    word<&Parameter::isp_flags>(0x08),
    hundredths<&Parameter::wb_gain_r>(0x0A),
    hundredths<&Parameter::wb_gain_g>(0x0C),
    hundredths<&Parameter::wb_gain_b>(0x0E),
    word<&Parameter::black_level>(0x10),
    word<&Parameter::ae_target>(0x12).read_as(
        [](Parameter& p, uint16_t raw) { p.ae_target = std::max(raw - p.black_level, 0); }),
    hundredths<&Parameter::saturation>(0x14),
    byte<&Parameter::interpolation>(0x16),
    byte<&Parameter::resolution_mode>(0x17),
    word<&Parameter::delay>(0x18),
    byte<&Parameter::advanced_gain>(0x1A),
    byte<&Parameter::image_format>(0x1B),
    byte<&Parameter::resolution_index>(0x1C),
    byte<&Parameter::enable_roi>(0x1D).within([](uint16_t raw) -> uint16_t { return raw == 1 ? 1 : 0; }),
    word<&Parameter::roi_offset_x>(0x1E),
    word<&Parameter::roi_offset_y>(0x20),
    word<&Parameter::roi_width>(0x22),
    word<&Parameter::roi_height>(0x24),
    word<&Parameter::time_out>(0x26).within(possible_time_out),
    byte<&Parameter::snap_mode>(0x28).within(
        [](uint16_t raw) -> uint16_t { return raw == kSnapTriggered ? kSnapTriggered : kSnapTimed; }),
    word<&Parameter::line_height>(0x29).within([](uint16_t raw) { return std::max<uint16_t>(raw, 1); }),
    reserved(0x2B),
    byte<&Parameter::line_trigger>(0x2D),
    word<&Parameter::snap_num>(0x2E).within(unless_erased<1>),
    StoredSetting{
        .offset = 0x30,
        .cells = Cells::kWord,
        .store = [](const Parameter& p) { return saturating_cast<uint16_t>(p.frame_rate * 10); },
        .restore = [](Parameter& p, uint16_t raw) { p.frame_rate = raw * 0.1; },
        .limit = unless_erased<100>,
    },
    byte<&Parameter::trigger_polarity>(0x32).if_intact(),
    byte<&Parameter::strobe_polarity>(0x33).if_intact(),
    tens<&Parameter::trigger_delay>(0x34),
    tens<&Parameter::strobe_delay>(0x36),
    tens<&Parameter::strobe_duration>(0x38),
    word<&Parameter::debouncer_time>(0x3A).within(unless_erased<0>).counting(Counts::kWhenSaved),
    exposure_high_bits(0x3E),
};

uint32_t block_of(int slot) {
  constexpr uint32_t kBlockSize = 64;
  constexpr int kLastSlot = 3;
  const bool own_block = slot >= 1 && slot <= kLastSlot;
  return kParameterAddress + (own_block ? kBlockSize * static_cast<uint32_t>(slot) : 0);
}

}  // namespace

bool WriteCcm(CameraContext& camera, std::span<const double, 9> ccm) {
  EepromWriter block(camera, kMatrixAddress);
  for (size_t i = 0; i < ccm.size(); ++i) {
    block.word(offset_of(i), static_cast<uint16_t>(saturating_cast<int16_t>(ccm[i] * 100)));
  }
  return block.ok();
}

bool ReadCcm(CameraContext& camera, std::span<double, 9> ccm) {
  EepromReader block(camera, kMatrixAddress);
  for (size_t i = 0; i < ccm.size(); ++i) ccm[i] = static_cast<int16_t>(block.word(offset_of(i))) * 0.01;
  if (!block.ok()) return false;
  if (!is_plausible(ccm)) std::ranges::copy(kIdentity, ccm.begin());
  return true;
}

bool SaveParameter(CameraContext& camera, const CameraParameter& record, int slot) {
  EepromWriter block(camera, block_of(slot));
  bool saved = true;
  for (const StoredSetting& row : kStoredSettings) {
    if (row.only_if_intact && !block.ok()) continue;
    const uint16_t raw = row.store(record);
    if (row.cells == Cells::kWord) {
      block.word(row.offset, raw);
    } else {
      block.byte(row.offset, static_cast<uint8_t>(raw));
    }
    if (row.counts != Counts::kNever) saved = block.ok();
  }
  return saved;
}

bool LoadParameter(CameraContext& camera, CameraParameter& record, int slot) {
  EepromReader block(camera, block_of(slot));
  bool loaded = true;
  for (const StoredSetting& row : kStoredSettings) {
    if (row.only_if_intact && !block.ok()) continue;
    const uint16_t raw = row.cells == Cells::kWord ? block.word(row.offset) : block.byte(row.offset);
    row.restore(record, row.limit == nullptr ? raw : row.limit(raw));
    if (row.counts == Counts::kAlways) loaded = block.ok();
  }
  return loaded;
}

}  // namespace kxcam
