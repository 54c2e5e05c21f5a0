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

/// Byte k of six vectors that take the bytes of three channels in turn: which byte of its channel it holds,
/// whichever vector of a half it is in. A channel is a vector of even samples, bytes 0 to 63, and one of odd
/// ones, from 64 on.
struct Interleave3 {
  alignas(64) uint8_t index[2][3][64];
};

constexpr Interleave3 interleave3() {
  Interleave3 result{};
  for (int half = 0; half < 2; ++half) {
    for (int channel = 0; channel < 3; ++channel) {
      for (int k = 0; k < 64; ++k) {
        const int vector = (channel + 2 * k) % 3;  // 64 is 1 modulo 3, so the channel moves on by a vector
        const int pixel = 64 * half + (64 * vector + k) / 3;
        result.index[half][channel][k] = static_cast<uint8_t>((pixel & 1) * 64 + pixel / 2);
      }
    }
  }
  return result;
}

/// Bytes of two vectors, the second one's from 64 on.
struct Pick {
  alignas(64) uint8_t index[64];
};

constexpr Pick every_second(int first) {
  Pick result{};
  for (int k = 0; k < 64; ++k) result.index[k] = static_cast<uint8_t>(first + 2 * k);
  return result;
}

constexpr Pick in_turn(int first) {
  Pick result{};
  for (int k = 0; k < 64; ++k) result.index[k] = static_cast<uint8_t>((k & 1) * 64 + first + k / 2);
  return result;
}

constexpr Pick from(int first) {
  Pick result{};
  for (int k = 0; k < 64; ++k) result.index[k] = static_cast<uint8_t>(first + k);
  return result;
}

constexpr Pick reversed() {
  Pick result{};
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
constexpr Pick kSplit[2] = {every_second(0), every_second(1)};
constexpr Pick kJoin[2] = {in_turn(0), in_turn(32)};
constexpr Pick kFromLeft = from(62);
constexpr Pick kReversed = reversed();
constexpr uint64_t kOddBytes = 0xAAAAAAAAAAAAAAAA;
constexpr uint64_t kThird[3] = {every_third(0), every_third(1), every_third(2)};

struct Avx512 {
  using Bytes = __m512i;
  using Shift = __m512i;
  struct Table {
    Bytes quarters[4];
  };
  static constexpr int kBytes = 64;
  static constexpr bool kTablesInRegisters = true;
  static constexpr int kLaneBits = 1;  // of equal_lanes()

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

  static Bytes complement(Bytes v) { return _mm512_subs_epu8(set8(0xFF), v); }
  static Bytes bit_xor(Bytes a, Bytes b) { return _mm512_xor_si512(a, b); }
  static Bytes bit_and(Bytes a, Bytes b) { return _mm512_and_si512(a, b); }
  static Bytes bit_or(Bytes a, Bytes b) { return _mm512_or_si512(a, b); }

  static Bytes average(Bytes a, Bytes b) { return _mm512_avg_epu8(a, b); }
  static Bytes add(Bytes a, Bytes b) { return _mm512_add_epi8(a, b); }
  static Bytes subtract(Bytes a, Bytes b) { return _mm512_sub_epi8(a, b); }
  static Bytes add_saturated(Bytes a, Bytes b) { return _mm512_adds_epu8(a, b); }
  static Bytes add_signed_saturated(Bytes a, Bytes b) { return _mm512_adds_epi8(a, b); }
  static Bytes maximum(Bytes a, Bytes b) { return _mm512_max_epu8(a, b); }
  static bool any_above(Bytes a, Bytes b) { return _mm512_cmpgt_epu8_mask(a, b) != 0; }
  static Bytes select_above(Bytes a, Bytes b, Bytes if_above, Bytes otherwise) {
    return _mm512_mask_blend_epi8(_mm512_cmpgt_epu8_mask(a, b), otherwise, if_above);
  }
  static bool same(Bytes a, Bytes b) { return _mm512_cmpneq_epi64_mask(a, b) == 0; }
  static Bytes equal(Bytes a, Bytes b) { return _mm512_movm_epi8(_mm512_cmpeq_epi8_mask(a, b)); }

  static void flatten16(const uint8_t* from, double gain, const double* columns, uint8_t* to) {
    const __m128i raw = load16(from);
    const __m512i wide = _mm512_cvtepu8_epi32(raw);
    const __m256i low = flatten8(_mm512_castsi512_si256(wide), gain, columns);
    const __m256i high = flatten8(_mm512_extracti64x4_epi64(wide, 1), gain, columns + 8);
    const __m512i flat = _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
    const __mmask16 saturated = _mm512_cmpeq_epi32_mask(wide, _mm512_set1_epi32(255));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to),
                     _mm512_cvtepi32_epi8(_mm512_mask_mov_epi32(flat, saturated, wide)));
  }
  /// `flat`, but for what was 255 before.
  static Bytes keep_saturated(Bytes raw, Bytes flat) {
    return _mm512_mask_mov_epi8(flat, _mm512_cmpeq_epi8_mask(raw, set8(0xFF)), raw);
  }
  static Bytes even_and_odd(Bytes even, Bytes odd) { return _mm512_mask_blend_epi8(kOddBytes, even, odd); }
  /// kLaneBits bits for every 16 bits, the lowest of which is set when they are equal.
  static uint64_t equal_lanes(Bytes a, Bytes b) { return _mm512_cmpeq_epi16_mask(a, b); }

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
  static Bytes multiply_high_signed16(Bytes a, Bytes b) { return _mm512_mulhi_epi16(a, b); }
  static Bytes shift_left16(Bytes v, int bits) { return _mm512_slli_epi16(v, bits); }
  static Bytes shift_right16(Bytes v, int bits) { return _mm512_srli_epi16(v, bits); }
  static Shift shift(int bits) { return set16(static_cast<uint16_t>(bits)); }
  static Bytes shift_right_signed16(Bytes v, Shift bits) { return _mm512_srav_epi16(v, bits); }
  /// From the upper half of each 16 bits to all of them, with the sign.
  static Bytes shift_right_signed16(Bytes v) { return _mm512_srai_epi16(v, 8); }

  /// The even and the odd bytes of two vectors that follow each other, and the other way round.
  static void split(Bytes first, Bytes second, Bytes (&halves)[2]) {
    halves[0] = _mm512_permutex2var_epi8(first, load(kSplit[0].index), second);
    halves[1] = _mm512_permutex2var_epi8(first, load(kSplit[1].index), second);
  }
  static void join(const Bytes (&halves)[2], Bytes (&vectors)[2]) {
    vectors[0] = _mm512_permutex2var_epi8(halves[0], load(kJoin[0].index), halves[1]);
    vectors[1] = _mm512_permutex2var_epi8(halves[0], load(kJoin[1].index), halves[1]);
  }
  /// The vector that begins two bytes before v.
  static Bytes from_left(Bytes before, Bytes v) {
    return _mm512_permutex2var_epi8(before, load(kFromLeft.index), v);
  }
  static Bytes reverse(Bytes v) { return _mm512_permutexvar_epi8(load(kReversed.index), v); }
  static void arrange(const uint8_t* table, Lookup& lookup) { std::memcpy(lookup.bytes, table, 256); }
  static Table table(const Lookup& lookup) {
    const uint8_t* bytes = lookup.bytes;
    return {{load(bytes), load(bytes + 64), load(bytes + 128), load(bytes + 192)}};
  }
  static void look_up(const Table& table, Bytes (&v)[2]) {
#pragma GCC unroll 2
    for (int i = 0; i < 2; ++i) {
      const Bytes low = _mm512_permutex2var_epi8(table.quarters[0], v[i], table.quarters[1]);
      const Bytes high = _mm512_permutex2var_epi8(table.quarters[2], v[i], table.quarters[3]);
      v[i] = _mm512_mask_blend_epi8(_mm512_movepi8_mask(v[i]), low, high);
    }
  }

  static void put3(uint8_t* to, const Bytes (&c)[3][2]) {
#pragma GCC unroll 2
    for (int half = 0; half < 2; ++half) {
      const auto& index = kInterleave3.index[half];
      const Bytes p0 = _mm512_permutex2var_epi8(c[0][0], load(index[0]), c[0][1]);
      const Bytes p1 = _mm512_permutex2var_epi8(c[1][0], load(index[1]), c[1][1]);
      const Bytes p2 = _mm512_permutex2var_epi8(c[2][0], load(index[2]), c[2][1]);
      store(to + 192 * half, three(p0, p1, p2));
      store(to + 192 * half + 64, three(p1, p2, p0));
      store(to + 192 * half + 128, three(p2, p0, p1));
    }
  }

  static void put4(uint8_t* to, const Bytes (&c)[3][2]) {
    const Bytes zero = _mm512_setzero_si512();
    // Lane k of part `high` of a channel holds pixels 32 k + 16 high and the next fifteen.
    Bytes joined[3][2];
#pragma GCC unroll 3
    for (int i = 0; i < 3; ++i) {
      joined[i][0] = _mm512_unpacklo_epi8(c[i][0], c[i][1]);
      joined[i][1] = _mm512_unpackhi_epi8(c[i][0], c[i][1]);
    }
#pragma GCC unroll 2
    for (int high = 0; high < 2; ++high, to += 64) {
      const Bytes ab[2] = {_mm512_unpacklo_epi8(joined[0][high], joined[1][high]),
                           _mm512_unpackhi_epi8(joined[0][high], joined[1][high])};
      const Bytes c0[2] = {_mm512_unpacklo_epi8(joined[2][high], zero),
                           _mm512_unpackhi_epi8(joined[2][high], zero)};
      // In every lane four pixels of the sixteen.
      const Bytes part[4] = {_mm512_unpacklo_epi16(ab[0], c0[0]), _mm512_unpackhi_epi16(ab[0], c0[0]),
                             _mm512_unpacklo_epi16(ab[1], c0[1]), _mm512_unpackhi_epi16(ab[1], c0[1])};
      const Bytes lanes01[2] = {_mm512_shuffle_i32x4(part[0], part[1], 0x44),
                                _mm512_shuffle_i32x4(part[2], part[3], 0x44)};
      const Bytes lanes23[2] = {_mm512_shuffle_i32x4(part[0], part[1], 0xEE),
                                _mm512_shuffle_i32x4(part[2], part[3], 0xEE)};
      put_beside_fourth(to, _mm512_shuffle_i32x4(lanes01[0], lanes01[1], 0x88));
      put_beside_fourth(to + 128, _mm512_shuffle_i32x4(lanes01[0], lanes01[1], 0xDD));
      put_beside_fourth(to + 256, _mm512_shuffle_i32x4(lanes23[0], lanes23[1], 0x88));
      put_beside_fourth(to + 384, _mm512_shuffle_i32x4(lanes23[0], lanes23[1], 0xDD));
    }
  }

 private:
  /// The bytes k of a, b and c with k % 3 of 0, 1 and 2.
  static Bytes three(Bytes a, Bytes b, Bytes c) {
    return _mm512_mask_blend_epi8(kThird[2], _mm512_mask_blend_epi8(kThird[1], a, b), c);
  }

  static __m128i load16(const uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  }

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
