#pragma once

#include <cstddef>

// Vectors of eight floats, one per row of a block, in the compiler's own notation, for the loops that every coefficient of a picture goes
// through. The compiler makes two halves of them where the machine has no registers of that width. No fused multiplication is ever
// used, so both ways give the same bits. Private to this folder; arguments go by reference because the way such vectors are passed depends on the machine.

namespace vectors {

using Vector = float __attribute__((vector_size(32)));
using UnalignedVector = float __attribute__((vector_size(32), aligned(4)));

// Eight whole numbers beside them: comparisons give -1 for true.
using IntVector = int __attribute__((vector_size(32)));
using UnalignedIntVector = int __attribute__((vector_size(32), aligned(4)));

// Defines name(parameters) as kernel(arguments), which must be always_inline, compiled twice: for every machine, and for those with
// wide registers, where that one is taken.
#if defined(__x86_64__) && !defined(__AVX2__)
#define ORV_WIDE_WHERE_POSSIBLE(name, kernel, parameters, arguments)    \
    [[gnu::target("avx2")]] void name##Wide parameters {                \
        kernel arguments;                                               \
    }                                                                   \
    void name##Plain parameters {                                       \
        kernel arguments;                                               \
    }                                                                   \
    void name parameters {                                              \
        static const bool isWide = __builtin_cpu_supports("avx2") != 0; \
        if (isWide) {                                                   \
            name##Wide arguments;                                       \
        } else {                                                        \
            name##Plain arguments;                                      \
        }                                                               \
    }
#else
#define ORV_WIDE_WHERE_POSSIBLE(name, kernel, parameters, arguments) \
    void name parameters {                                           \
        kernel arguments;                                            \
    }
#endif

// Eight floats at any address.
[[gnu::always_inline]] inline UnalignedVector& At(float* p) {
    return *reinterpret_cast<UnalignedVector*>(p);
}
[[gnu::always_inline]] inline const UnalignedVector& At(const float* p) {
    return *reinterpret_cast<const UnalignedVector*>(p);
}

// To the nearest whole number, halves to the even one; |v| below 2^22.
[[gnu::always_inline]] inline void Round(Vector& v) {
    constexpr float kMagic = 12582912.0F;
    v = (v + kMagic) - kMagic;
}

// cos(k pi / 16) / 2, and sqrt(1/8) for the mean.
constexpr float kC1 = 0.49039264020161522F;
constexpr float kC2 = 0.46193976625564337F;
constexpr float kC3 = 0.41573480615127262F;
constexpr float kC4 = 0.35355339059327376F;
constexpr float kC5 = 0.27778511650980111F;
constexpr float kC6 = 0.19134171618254489F;
constexpr float kC7 = 0.09754516100806413F;

// The eight-point transform down the rows of a block, eight columns at a time: even and odd halves.
[[gnu::always_inline]] inline void Forward(Vector (&v)[8]) {
    const Vector s07 = v[0] + v[7];
    const Vector d07 = v[0] - v[7];
    const Vector s16 = v[1] + v[6];
    const Vector d16 = v[1] - v[6];
    const Vector s25 = v[2] + v[5];
    const Vector d25 = v[2] - v[5];
    const Vector s34 = v[3] + v[4];
    const Vector d34 = v[3] - v[4];
    const Vector outer = s07 + s34;
    const Vector outerDifference = s07 - s34;
    const Vector inner = s16 + s25;
    const Vector innerDifference = s16 - s25;
    v[0] = kC4 * (outer + inner);
    v[4] = kC4 * (outer - inner);
    v[2] = kC2 * outerDifference + kC6 * innerDifference;
    v[6] = kC6 * outerDifference - kC2 * innerDifference;
    v[1] = (kC1 * d07 + kC3 * d16) + (kC5 * d25 + kC7 * d34);
    v[3] = (kC3 * d07 - kC7 * d16) - (kC1 * d25 + kC5 * d34);
    v[5] = (kC5 * d07 - kC1 * d16) + (kC7 * d25 + kC3 * d34);
    v[7] = (kC7 * d07 - kC5 * d16) + (kC3 * d25 - kC1 * d34);
}

[[gnu::always_inline]] inline void Inverse(Vector (&v)[8]) {
    const Vector sum = kC4 * (v[0] + v[4]);
    const Vector difference = kC4 * (v[0] - v[4]);
    const Vector low = kC2 * v[2] + kC6 * v[6];
    const Vector high = kC6 * v[2] - kC2 * v[6];
    const Vector e0 = sum + low;
    const Vector e3 = sum - low;
    const Vector e1 = difference + high;
    const Vector e2 = difference - high;
    const Vector o0 = (kC1 * v[1] + kC3 * v[3]) + (kC5 * v[5] + kC7 * v[7]);
    const Vector o1 = (kC3 * v[1] - kC7 * v[3]) - (kC1 * v[5] + kC5 * v[7]);
    const Vector o2 = (kC5 * v[1] - kC1 * v[3]) + (kC7 * v[5] + kC3 * v[7]);
    const Vector o3 = (kC7 * v[1] - kC5 * v[3]) + (kC3 * v[5] - kC1 * v[7]);
    v[0] = e0 + o0;
    v[7] = e0 - o0;
    v[1] = e1 + o1;
    v[6] = e1 - o1;
    v[2] = e2 + o2;
    v[5] = e2 - o2;
    v[3] = e3 + o3;
    v[4] = e3 - o3;
}

[[gnu::always_inline]] inline void Transpose(Vector (&v)[8]) {
    Vector pair[8];
    for (int i = 0; i < 8; i += 2) {
        pair[i] = __builtin_shufflevector(v[i], v[i + 1], 0, 8, 1, 9, 4, 12, 5, 13);
        pair[i + 1] = __builtin_shufflevector(v[i], v[i + 1], 2, 10, 3, 11, 6, 14, 7, 15);
    }
    Vector four[8];
    for (int i = 0; i < 8; i += 4) {
        for (int k = 0; k < 2; ++k) {
            four[i + 2 * k] = __builtin_shufflevector(pair[i + k], pair[i + k + 2], 0, 1, 8, 9, 4, 5, 12, 13);
            four[i + 2 * k + 1] =
                __builtin_shufflevector(pair[i + k], pair[i + k + 2], 2, 3, 10, 11, 6, 7, 14, 15);
        }
    }
    for (int i = 0; i < 4; ++i) {
        v[i] = __builtin_shufflevector(four[i], four[i + 4], 0, 1, 2, 3, 8, 9, 10, 11);
        v[i + 4] = __builtin_shufflevector(four[i], four[i + 4], 4, 5, 6, 7, 12, 13, 14, 15);
    }
}

}  // namespace vectors
