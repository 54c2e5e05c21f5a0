// SPDX-License-Identifier: Apache-2.0
// Needs AVX-512 BW and VBMI.
#if defined(__GNUC__) && !defined(__clang__)
// gcc's own headers leave registers undefined on purpose, and it warns of them where they are inlined.
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include <immintrin.h>

#include "isp/kernels/vector_kernels.h"

namespace kxcam {
namespace {

/// Byte k of three vectors that take the bytes of three channels in turn holds byte index[channel][k] of
/// its channel, whichever vector it is in.
struct Interleave3 {
  alignas(64) uint8_t index[3][64];
};

constexpr Interleave3 interleave3() {
  Interleave3 result{};
  for (int channel = 0; channel < 3; ++channel) {
    for (int k = 0; k < 64; ++k) {
      const int vector = (channel + 2 * k) % 3;  // 64 is 1 modulo 3, so the channel moves on by a vector
      result.index[channel][k] = static_cast<uint8_t>((64 * vector + k) / 3);
    }
  }
  return result;
}

struct Reversed {
  alignas(64) uint8_t index[64];
};

constexpr Reversed reversed() {
  Reversed result{};
  for (int k = 0; k < 64; ++k) result.index[k] = static_cast<uint8_t>(63 - k);
  return result;
}

/// The bytes k of a vector with k % 3 == remainder.
constexpr uint64_t every_third(int remainder) {
  uint64_t mask = 0;
  for (int k = remainder; k < 64; k += 3) mask |= uint64_t{1} << k;
  return mask;
}

constexpr Interleave3 kInterleave3 = interleave3();
constexpr Reversed kReversed = reversed();
constexpr uint64_t kThird[3] = {every_third(0), every_third(1), every_third(2)};

struct Avx512 {
  using Bytes = __m512i;
  using Selector = __mmask64;
  struct Table {
    Bytes quarters[4];
  };
  static constexpr int kBytes = 64;

  static Bytes load(const uint8_t* p) { return _mm512_loadu_si512(p); }
  static void store(uint8_t* p, Bytes v) { _mm512_storeu_si512(p, v); }
  static void stream(uint8_t* p, Bytes v) { _mm512_stream_si512(reinterpret_cast<__m512i*>(p), v); }
  static Bytes load_lanes(const uint8_t* p, ptrdiff_t stride) {
    Bytes v = _mm512_castsi128_si512(load16(p));
    v = _mm512_inserti32x4(v, load16(p + stride), 1);
    v = _mm512_inserti32x4(v, load16(p + 2 * stride), 2);
    return _mm512_inserti32x4(v, load16(p + 3 * stride), 3);
  }
  static Bytes set8(int v) { return _mm512_set1_epi8(static_cast<char>(v)); }
  static Bytes set16(uint16_t v) { return _mm512_set1_epi16(static_cast<int16_t>(v)); }

  static Bytes complement(Bytes v) { return _mm512_xor_si512(v, set8(0xFF)); }
  static Bytes bit_xor(Bytes a, Bytes b) { return _mm512_xor_si512(a, b); }
  static Bytes bit_and(Bytes a, Bytes b) { return _mm512_and_si512(a, b); }
  static Selector selector(uint16_t columns) { return _mm512_movepi8_mask(set16(columns)); }
  static Bytes select(Selector s, Bytes a, Bytes b) { return _mm512_mask_blend_epi8(s, b, a); }

  static Bytes average(Bytes a, Bytes b) { return _mm512_avg_epu8(a, b); }
  static Bytes add(Bytes a, Bytes b) { return _mm512_add_epi8(a, b); }
  static Bytes subtract(Bytes a, Bytes b) { return _mm512_sub_epi8(a, b); }
  static Bytes add_saturated(Bytes a, Bytes b) { return _mm512_adds_epu8(a, b); }
  static Bytes maximum(Bytes a, Bytes b) { return _mm512_max_epu8(a, b); }
  /// A bit for every byte of a that is above b's.
  static uint64_t above(Bytes a, Bytes b) { return _mm512_cmpgt_epu8_mask(a, b); }
  static Bytes equal(Bytes a, Bytes b) { return _mm512_movm_epi8(_mm512_cmpeq_epi8_mask(a, b)); }

  /// Does nothing and returns false if rounding might matter. The minimum of 1000 and what is no number is
  /// the latter, in this order of operands, and becomes a negative integer.
  static bool flatten16_rounded(uint8_t* p, float gain, const float* columns) {
    const __m512i wide = _mm512_cvtepu8_epi32(load16(p));
    const __m512 gains = _mm512_sub_ps(_mm512_set1_ps(gain), _mm512_loadu_ps(columns));
    const __m512 flat = _mm512_min_ps(_mm512_set1_ps(1000), _mm512_mul_ps(gains, _mm512_cvtepi32_ps(wide)));
    const __m512i low = _mm512_cvttps_epi32(_mm512_sub_ps(flat, _mm512_set1_ps(kRoundingError)));
    const __m512i high = _mm512_cvttps_epi32(_mm512_add_ps(flat, _mm512_set1_ps(kRoundingError)));
    if (_mm512_cmpneq_epi32_mask(low, high) != 0) return false;
    const __mmask16 below_255 = _mm512_cmplt_epi32_mask(wide, _mm512_set1_epi32(255));
    _mm512_mask_cvtusepi32_storeu_epi8(p, below_255, _mm512_max_epi32(low, _mm512_setzero_si512()));
    return true;
  }

  static void flatten16(uint8_t* p, double gain, const double* columns) {
    const __m128i raw = load16(p);
    const __m512i wide = _mm512_cvtepu8_epi32(raw);
    const __m256i low = flatten8(_mm512_castsi512_si256(wide), gain, columns);
    const __m256i high = flatten8(_mm512_extracti64x4_epi64(wide, 1), gain, columns + 8);
    const __m512i flat = _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
    const __mmask16 below_255 = _mm512_cmplt_epi32_mask(wide, _mm512_set1_epi32(255));
    _mm512_mask_cvtepi32_storeu_epi8(p, below_255, flat);
  }

  static Bytes no_sums() { return _mm512_setzero_si512(); }
  static Bytes add_sums(Bytes sums, Bytes v) {
    return _mm512_add_epi64(sums, _mm512_sad_epu8(v, _mm512_setzero_si512()));
  }
  static uint64_t total(Bytes sums) {
    uint64_t parts[8];
    _mm512_storeu_si512(parts, sums);
    uint64_t result = 0;
    for (const uint64_t part : parts) result += part;
    return result;
  }

  static Bytes interleave_low(Bytes a, Bytes b) { return _mm512_unpacklo_epi8(a, b); }
  static Bytes interleave_high(Bytes a, Bytes b) { return _mm512_unpackhi_epi8(a, b); }
  static Bytes widen_low(Bytes v) { return _mm512_unpacklo_epi8(v, _mm512_setzero_si512()); }
  static Bytes widen_high(Bytes v) { return _mm512_unpackhi_epi8(v, _mm512_setzero_si512()); }
  static Bytes narrow(Bytes low, Bytes high) { return _mm512_packus_epi16(low, high); }
  static Bytes add16(Bytes a, Bytes b) { return _mm512_add_epi16(a, b); }
  static Bytes subtract16(Bytes a, Bytes b) { return _mm512_sub_epi16(a, b); }
  static Bytes multiply16(Bytes a, Bytes b) { return _mm512_mullo_epi16(a, b); }
  static Bytes multiply_high16(Bytes a, Bytes b) { return _mm512_mulhi_epu16(a, b); }
  /// From the upper half of each 16 bits to all of them, with the sign.
  static Bytes shift_right_signed16(Bytes v) { return _mm512_srai_epi16(v, 8); }

  static Bytes reverse(Bytes v) { return _mm512_permutexvar_epi8(load(kReversed.index), v); }
  static void arrange(const uint8_t* table, Lookup& lookup) { std::memcpy(lookup.bytes, table, 256); }
  static Table table(const Lookup& lookup) {
    const uint8_t* bytes = lookup.bytes;
    return {{load(bytes), load(bytes + 64), load(bytes + 128), load(bytes + 192)}};
  }
  static void look_up(const Table& table, Bytes (&v)[1]) {
    const Bytes low = _mm512_permutex2var_epi8(table.quarters[0], v[0], table.quarters[1]);
    const Bytes high = _mm512_permutex2var_epi8(table.quarters[2], v[0], table.quarters[3]);
    v[0] = _mm512_mask_blend_epi8(_mm512_movepi8_mask(v[0]), low, high);
  }

  template <class Put>
  static void put_interleaved3(uint8_t* to, Bytes a, Bytes b, Bytes c) {
    const Bytes pa = _mm512_permutexvar_epi8(load(kInterleave3.index[0]), a);
    const Bytes pb = _mm512_permutexvar_epi8(load(kInterleave3.index[1]), b);
    const Bytes pc = _mm512_permutexvar_epi8(load(kInterleave3.index[2]), c);
    Put::put(to, select(kThird[2], pc, select(kThird[1], pb, pa)));
    Put::put(to + 64, select(kThird[1], pc, select(kThird[0], pb, pa)));
    Put::put(to + 128, select(kThird[0], pc, select(kThird[2], pb, pa)));
  }

  static void put_interleaved4(uint8_t* to, Bytes a, Bytes b, Bytes c) {
    const Bytes zero = _mm512_setzero_si512();
    const Bytes ab[2] = {_mm512_unpacklo_epi8(a, b), _mm512_unpackhi_epi8(a, b)};
    const Bytes c0[2] = {_mm512_unpacklo_epi8(c, zero), _mm512_unpackhi_epi8(c, zero)};
    // Lane k of part i holds pixels 16 k + 4 i and the next three.
    const Bytes part[4] = {_mm512_unpacklo_epi16(ab[0], c0[0]), _mm512_unpackhi_epi16(ab[0], c0[0]),
                           _mm512_unpacklo_epi16(ab[1], c0[1]), _mm512_unpackhi_epi16(ab[1], c0[1])};
    const Bytes lanes01[2] = {_mm512_shuffle_i32x4(part[0], part[1], 0x44),
                              _mm512_shuffle_i32x4(part[2], part[3], 0x44)};
    const Bytes lanes23[2] = {_mm512_shuffle_i32x4(part[0], part[1], 0xEE),
                              _mm512_shuffle_i32x4(part[2], part[3], 0xEE)};
    put_beside_fourth(to, _mm512_shuffle_i32x4(lanes01[0], lanes01[1], 0x88));
    put_beside_fourth(to + 64, _mm512_shuffle_i32x4(lanes01[0], lanes01[1], 0xDD));
    put_beside_fourth(to + 128, _mm512_shuffle_i32x4(lanes23[0], lanes23[1], 0x88));
    put_beside_fourth(to + 192, _mm512_shuffle_i32x4(lanes23[0], lanes23[1], 0xDD));
  }

 private:
  static __m128i load16(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

  /// The maximum of what is no number and 0 is 0, in this order of operands.
  static __m256i flatten8(__m256i levels, double gain, const double* columns) {
    const __m512d gains = _mm512_sub_pd(_mm512_set1_pd(gain), _mm512_loadu_pd(columns));
    const __m512d flat = _mm512_max_pd(_mm512_mul_pd(gains, _mm512_cvtepi32_pd(levels)), _mm512_setzero_pd());
    return _mm512_cvttpd_epi32(_mm512_min_pd(flat, _mm512_set1_pd(255)));
  }

  static void put_beside_fourth(uint8_t* to, Bytes pixels) {
    _mm512_mask_storeu_epi8(to, 0x7777777777777777, pixels);
  }
};

}  // namespace

constinit const RowKernels kAvx512Kernels = row_kernels<Avx512>();

}  // namespace kxcam
