// SPDX-License-Identifier: Apache-2.0
#include <immintrin.h>

#include "isp/kernels/shuffle_lookup.h"
#include "isp/kernels/vector_kernels.h"

namespace kxcam {
namespace {

/// For each channel of three, and each of three vectors of 16 interleaved bytes: which of the channel's
/// bytes a byte is, or 0x80 where it is another channel's.
struct Interleave3 {
  alignas(16) uint8_t index[3][3][16];
};

constexpr Interleave3 interleave3() {
  Interleave3 result{};
  for (int channel = 0; channel < 3; ++channel) {
    for (int k = 0; k < 48; ++k) {
      result.index[channel][k / 16][k % 16] = static_cast<uint8_t>(k % 3 == channel ? k / 3 : 0x80);
    }
  }
  return result;
}

constexpr Interleave3 kInterleave3 = interleave3();
alignas(16) constexpr uint8_t kReversed[16] = {15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0};

struct Ssse3 {
  using Bytes = __m128i;
  using Selector = __m128i;  // all bits of a byte or none
  using Lookups = ShuffleLookup<Ssse3>;
  using Table = const Lookup*;
  static constexpr int kBytes = 16;
  static constexpr int kLookUpsAtOnce = 1;

  static Bytes load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
  static void store(uint8_t* p, Bytes v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
  static void stream(uint8_t* p, Bytes v) { _mm_stream_si128(reinterpret_cast<__m128i*>(p), v); }
  static Bytes load_lanes(const uint8_t* p, ptrdiff_t) { return load(p); }
  static Bytes load_piece(const uint8_t* p) { return load(p); }
  static Bytes set8(int v) { return _mm_set1_epi8(static_cast<char>(v)); }
  static Bytes set16(uint16_t v) { return _mm_set1_epi16(static_cast<int16_t>(v)); }

  static Bytes complement(Bytes v) { return _mm_xor_si128(v, set8(0xFF)); }
  static Bytes bit_xor(Bytes a, Bytes b) { return _mm_xor_si128(a, b); }
  static Bytes bit_and(Bytes a, Bytes b) { return _mm_and_si128(a, b); }
  static Selector selector(uint16_t columns) { return set16(columns); }
  static Selector highest_bits(Bytes v) { return _mm_cmpgt_epi8(_mm_setzero_si128(), v); }
  static Bytes select(Selector s, Bytes a, Bytes b) {
    return _mm_or_si128(_mm_and_si128(s, a), _mm_andnot_si128(s, b));
  }

  static Bytes average(Bytes a, Bytes b) { return _mm_avg_epu8(a, b); }
  static Bytes add(Bytes a, Bytes b) { return _mm_add_epi8(a, b); }
  static Bytes subtract(Bytes a, Bytes b) { return _mm_sub_epi8(a, b); }
  static Bytes add_saturated(Bytes a, Bytes b) { return _mm_adds_epu8(a, b); }
  static Bytes subtract_signed_saturated(Bytes a, Bytes b) { return _mm_subs_epi8(a, b); }
  static Bytes maximum(Bytes a, Bytes b) { return _mm_max_epu8(a, b); }
  /// A bit for every byte of a that is above b's.
  static uint64_t above(Bytes a, Bytes b) {
    return static_cast<uint16_t>(~_mm_movemask_epi8(equal(_mm_subs_epu8(a, b), _mm_setzero_si128())));
  }
  static Bytes equal(Bytes a, Bytes b) { return _mm_cmpeq_epi8(a, b); }

  /// Does nothing and returns false if rounding might matter. The minimum of 1000 and what is no number is
  /// the latter, in this order of operands, and becomes a negative integer.
  static bool flatten16_rounded(uint8_t* p, float gain, const float* columns) {
    const Bytes raw = load(p);
    const Bytes zero = _mm_setzero_si128();
    const Bytes halves[2] = {_mm_unpacklo_epi8(raw, zero), _mm_unpackhi_epi8(raw, zero)};
    Bytes sure = set8(0xFF);
    Bytes flat[2];
    for (int i = 0; i < 2; ++i) {
      const Rounded first = flatten4_rounded(_mm_unpacklo_epi16(halves[i], zero), gain, columns + 8 * i);
      const Rounded second = flatten4_rounded(_mm_unpackhi_epi16(halves[i], zero), gain, columns + 8 * i + 4);
      sure = _mm_and_si128(sure, _mm_and_si128(_mm_cmpeq_epi32(first.low, first.high),
                                               _mm_cmpeq_epi32(second.low, second.high)));
      flat[i] = _mm_packs_epi32(first.low, second.low);
    }
    if (_mm_movemask_epi8(sure) != 0xFFFF) return false;
    store(p, _mm_or_si128(_mm_packus_epi16(flat[0], flat[1]), equal(raw, set8(0xFF))));
    return true;
  }

  static void flatten16(uint8_t* p, double gain, const double* columns) {
    const Bytes raw = load(p);
    const Bytes zero = _mm_setzero_si128();
    const Bytes low = _mm_unpacklo_epi8(raw, zero);
    const Bytes high = _mm_unpackhi_epi8(raw, zero);
    const Bytes flat_low = _mm_packs_epi32(flatten4(_mm_unpacklo_epi16(low, zero), gain, columns),
                                           flatten4(_mm_unpackhi_epi16(low, zero), gain, columns + 4));
    const Bytes flat_high = _mm_packs_epi32(flatten4(_mm_unpacklo_epi16(high, zero), gain, columns + 8),
                                            flatten4(_mm_unpackhi_epi16(high, zero), gain, columns + 12));
    store(p, _mm_or_si128(_mm_packus_epi16(flat_low, flat_high), equal(raw, set8(0xFF))));
  }

  static Bytes no_sums() { return _mm_setzero_si128(); }
  static Bytes add_sums(Bytes sums, Bytes v) {
    return _mm_add_epi64(sums, _mm_sad_epu8(v, _mm_setzero_si128()));
  }
  static uint64_t total(Bytes sums) {
    return static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_add_epi64(sums, _mm_unpackhi_epi64(sums, sums))));
  }

  static Bytes interleave_low(Bytes a, Bytes b) { return _mm_unpacklo_epi8(a, b); }
  static Bytes interleave_high(Bytes a, Bytes b) { return _mm_unpackhi_epi8(a, b); }
  static Bytes widen_low(Bytes v) { return _mm_unpacklo_epi8(v, _mm_setzero_si128()); }
  static Bytes widen_high(Bytes v) { return _mm_unpackhi_epi8(v, _mm_setzero_si128()); }
  static Bytes narrow(Bytes low, Bytes high) { return _mm_packus_epi16(low, high); }
  static Bytes add16(Bytes a, Bytes b) { return _mm_add_epi16(a, b); }
  static Bytes subtract16(Bytes a, Bytes b) { return _mm_sub_epi16(a, b); }
  static Bytes multiply16(Bytes a, Bytes b) { return _mm_mullo_epi16(a, b); }
  static Bytes multiply_high16(Bytes a, Bytes b) { return _mm_mulhi_epu16(a, b); }
  static Bytes shift_left16(Bytes v, int bits) { return _mm_slli_epi16(v, bits); }
  /// From the upper half of each 16 bits to all of them, with the sign.
  static Bytes shift_right_signed16(Bytes v) { return _mm_srai_epi16(v, 8); }

  static Bytes shuffle(Bytes table, Bytes index) { return _mm_shuffle_epi8(table, index); }
  static Bytes reverse(Bytes v) { return shuffle(v, load(kReversed)); }
  static void arrange(const uint8_t* table, Lookup& lookup) { Lookups::arrange(table, lookup); }
  static Table table(const Lookup& lookup) { return &lookup; }
  template <int kCount>
  static void look_up(Table table, Bytes (&v)[kCount]) {
    Lookups::look_up(table, v);
  }

  template <class Put>
  static void put_interleaved3(uint8_t* to, Bytes a, Bytes b, Bytes c) {
    const auto& index = kInterleave3.index;
    for (int i = 0; i < 3; ++i) {
      const Bytes ab = _mm_or_si128(shuffle(a, load(index[0][i])), shuffle(b, load(index[1][i])));
      Put::put(to + 16 * i, _mm_or_si128(ab, shuffle(c, load(index[2][i]))));
    }
  }

  static void put_interleaved4(uint8_t* to, Bytes a, Bytes b, Bytes c) {
    const Bytes zero = _mm_setzero_si128();
    const Bytes ab[2] = {_mm_unpacklo_epi8(a, b), _mm_unpackhi_epi8(a, b)};
    const Bytes c0[2] = {_mm_unpacklo_epi8(c, zero), _mm_unpackhi_epi8(c, zero)};
    for (int i = 0; i < 2; ++i) {
      put_beside_fourth(to + 32 * i, _mm_unpacklo_epi16(ab[i], c0[i]));
      put_beside_fourth(to + 32 * i + 16, _mm_unpackhi_epi16(ab[i], c0[i]));
    }
  }

 private:
  struct Rounded {
    Bytes low;
    Bytes high;
  };

  static Rounded flatten4_rounded(Bytes levels, float gain, const float* columns) {
    const __m128 gains = _mm_sub_ps(_mm_set1_ps(gain), _mm_loadu_ps(columns));
    const __m128 flat = _mm_min_ps(_mm_set1_ps(1000), _mm_mul_ps(gains, _mm_cvtepi32_ps(levels)));
    return {_mm_cvttps_epi32(_mm_sub_ps(flat, _mm_set1_ps(kRoundingError))),
            _mm_cvttps_epi32(_mm_add_ps(flat, _mm_set1_ps(kRoundingError)))};
  }

  static Bytes flatten4(Bytes levels, double gain, const double* columns) {
    const Bytes upper = _mm_shuffle_epi32(levels, _MM_SHUFFLE(1, 0, 3, 2));
    return _mm_unpacklo_epi64(flatten2(levels, gain, columns), flatten2(upper, gain, columns + 2));
  }

  /// The maximum of what is no number and 0 is 0, in this order of operands.
  static Bytes flatten2(Bytes levels, double gain, const double* columns) {
    const __m128d gains = _mm_sub_pd(_mm_set1_pd(gain), _mm_loadu_pd(columns));
    const __m128d flat = _mm_max_pd(_mm_mul_pd(gains, _mm_cvtepi32_pd(levels)), _mm_setzero_pd());
    return _mm_cvttpd_epi32(_mm_min_pd(flat, _mm_set1_pd(255)));
  }

  static void put_beside_fourth(uint8_t* to, Bytes pixels) {
    const Bytes fourth = _mm_set1_epi32(static_cast<int>(0xFF000000U));
    store(to, _mm_or_si128(pixels, _mm_and_si128(load(to), fourth)));
  }
};

}  // namespace

constinit const RowKernels kSsse3Kernels = row_kernels<Ssse3>();

}  // namespace kxcam
