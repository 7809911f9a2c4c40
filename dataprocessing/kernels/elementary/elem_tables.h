#pragma once

#include <cstdint>

// Polynomials and tables of the elementary functions, written by tools/elementary/coefficients.py.
// Coefficients begin with that of the lowest power.

// clang-format off

namespace dataprocessing::detail {

// (e^r - 1 - r) / r^2, |r| <= ln 2 / 2, to 2^-37.7
alignas(64) inline constexpr double elem_expFloat[] = {
    0x1.0000000000000p-1,
    0x1.55555567532adp-3,
    0x1.5555555c87148p-5,
    0x1.1110c632a3088p-7,
    0x1.6c16858b7acb9p-10,
    0x1.a15179d80ae96p-13,
    0x1.a1132015ba37ep-16,
};
// (sinh(r) / r - 1) / r^2 in r^2, |r| <= ln 2 / 2, to 2^-47.5
alignas(64) inline constexpr double elem_sinhFloat[] = {
    0x1.5555555554f96p-3,
    0x1.111111170bc08p-7,
    0x1.a019c36bc053cp-13,
    0x1.72ad458027fbcp-19,
};
// (cosh(r) - 1) / r^2 in r^2, |r| <= ln 2 / 2, to 2^-44.0
alignas(64) inline constexpr double elem_coshFloat[] = {
    0x1.fffffffffe062p-2,
    0x1.55555565c7e0ep-5,
    0x1.6c166bde96885p-10,
    0x1.a136bf03ec612p-16,
};
// 1 / ln 2
inline constexpr double elem_perLn2 = 0x1.71547652b82fep+0;
// ln 2 to 33 bits
inline constexpr double elem_ln2High = 0x1.62e42fef00000p-1;
// ln 2 - ln2High
inline constexpr double elem_ln2Low = 0x1.473de6af278edp-34;
// The bits of 0.703125, where the intervals of the logarithms begin
inline constexpr std::uint64_t elem_logFirst = 0x3fe6800000000000;
// about 1 / z in 16 intervals of z from 0.703125 on, multiples of 2^-9
alignas(64) inline constexpr double elem_logFactor[] = {
    0x1.6400000000000p+0,
    0x1.5580000000000p+0,
    0x1.4780000000000p+0,
    0x1.3b00000000000p+0,
    0x1.2f80000000000p+0,
    0x1.2480000000000p+0,
    0x1.1a80000000000p+0,
    0x1.1100000000000p+0,
    0x1.0880000000000p+0,
    0x1.0000000000000p+0,
    0x1.e200000000000p-1,
    0x1.c700000000000p-1,
    0x1.af00000000000p-1,
    0x1.9a00000000000p-1,
    0x1.8600000000000p-1,
    0x1.7400000000000p-1,
};
// -log(factor)
alignas(64) inline constexpr double elem_logFloat[] = {
    -0x1.51aad872df82dp-2,
    -0x1.27161913f853dp-2,
    -0x1.f871b28955045p-3,
    -0x1.a8becfc882f19p-3,
    -0x1.5c940075972b9p-3,
    -0x1.10f8e422539b1p-3,
    -0x1.9375e55595edep-4,
    -0x1.075983598e471p-4,
    -0x1.0b94f7c196176p-5,
    0.0,
    0x1.eea31c006b87cp-5,
    0x1.e3707ee30487bp-4,
    0x1.60b3100b09476p-3,
    0x1.c6ffbc6f00f71p-3,
    0x1.16b5ccbacfb73p-2,
    0x1.4718dc271c41bp-2,
};
// -log2(factor)
alignas(64) inline constexpr double elem_log2Float[] = {
    -0x1.e726aa1e754d2p-2,
    -0x1.a9b835c98c70ap-2,
    -0x1.6be12866f820dp-2,
    -0x1.32639636b2836p-2,
    -0x1.f6e456567fe55p-3,
    -0x1.89d0d0ab430cdp-3,
    -0x1.2309065d29791p-3,
    -0x1.7beee96b8a281p-4,
    -0x1.820a01ac754cbp-5,
    0.0,
    0x1.64ce26c067157p-4,
    0x1.5cba53a0762edp-3,
    0x1.fcd677e5ac81dp-3,
    0x1.48365e695d797p-2,
    0x1.921800924dd3bp-2,
    0x1.d7e6c0abc3579p-2,
};
// -log10(factor)
alignas(64) inline constexpr double elem_log10Float[] = {
    -0x1.254b4d35e7d3cp-3,
    -0x1.004f0857edc5cp-3,
    -0x1.b627942aeceddp-4,
    -0x1.70eddb7d7ea07p-4,
    -0x1.2ec568056c16fp-4,
    -0x1.da338aaa98a0cp-5,
    -0x1.5e70fd3ee6b34p-5,
    -0x1.c97c3735e7c0ap-6,
    -0x1.d0d65e890405ap-7,
    0.0,
    0x1.ada2e8e3e546fp-6,
    0x1.a3e9002c711d2p-5,
    0x1.3259d2107db54p-4,
    0x1.8b350364c6257p-4,
    0x1.e42b4c16caaf3p-4,
    0x1.1c1ce9955c0c6p-3,
};
// ln 2
inline constexpr double elem_ln2 = 0x1.62e42fefa39efp-1;
// log10 2
inline constexpr double elem_log10Of2 = 0x1.34413509f79ffp-2;
// log10 e
inline constexpr double elem_log10E = 0x1.bcb7b1526e50ep-2;
// (log(1 + r) - r) / r^2, to 2^-42.9
alignas(64) inline constexpr double elem_log1pFloat[] = {
    -0x1.00000000080ecp-1,
    0x1.5555555563a88p-2,
    -0x1.fffff6f426f3cp-3,
    0x1.9999918f04027p-3,
    -0x1.55b59c36e72f4p-3,
    0x1.24e7ddeb9d4ebp-3,
};
// the same for powers, to 2^-49.1
alignas(64) inline constexpr double elem_log1pPower[] = {
    -0x1.0000000000000p-1,
    0x1.55555555877b1p-2,
    -0x1.000000002d224p-2,
    0x1.99998d16e5020p-3,
    -0x1.55554a12d4371p-3,
    0x1.24f623f15cdb1p-3,
    -0x1.0059def252e0cp-3,
};
// (sin(r) / r - 1) / r^2 in r^2, |r| <= pi / 2, to 2^-41.5
alignas(64) inline constexpr double elem_sinFloat[] = {
    -0x1.55555555549a8p-3,
    0x1.1111110fbcec0p-7,
    -0x1.a01a000e8ffe4p-13,
    0x1.71dd8cdba9615p-19,
    -0x1.ae20805beb1f2p-26,
    0x1.54e1345b8f051p-33,
};
// the same, |r| <= pi / 4, to 2^-45.7
alignas(64) inline constexpr double elem_sinEighthFloat[] = {
    -0x1.5555555555161p-3,
    0x1.1111110fd1496p-7,
    -0x1.a019fd95094bep-13,
    0x1.71d9a549ac8fbp-19,
    -0x1.aa262ee715b00p-26,
};
// (cos(r) - 1) / r^2 in r^2, |r| <= pi / 4, to 2^-41.5
alignas(64) inline constexpr double elem_cosEighthFloat[] = {
    -0x1.fffffffffe656p-2,
    0x1.5555555147373p-5,
    -0x1.6c16badbea939p-10,
    0x1.a01291464359ep-16,
    -0x1.2473214f428b9p-22,
};
// (asin(s) / s - 1) / s^2 in s^2, |s| <= 1/2, to 2^-41.9
alignas(64) inline constexpr double elem_asinFloat[] = {
    0x1.555555555bb08p-3,
    0x1.333333131447fp-4,
    0x1.6db6f6000eadfp-5,
    0x1.f1beb39d0c483p-6,
    0x1.6f34e8d0b24a5p-6,
    0x1.14eb1fd23981cp-6,
    0x1.1460edb1ea630p-6,
    0x1.148f816806cb3p-10,
    0x1.d0a710b072b00p-6,
};
// (atan(t) / t - 1) / t^2 in t^2, |t| <= tan(pi / 8), to 2^-43.1
alignas(64) inline constexpr double elem_atanFloat[] = {
    -0x1.5555555552562p-2,
    0x1.9999998825918p-3,
    -0x1.249240c37ad76p-3,
    0x1.c7195c8f27c64p-4,
    -0x1.7415369b05321p-4,
    0x1.37797a2bb25f5p-4,
    -0x1.ed97727799b19p-5,
    0x1.0dafbdea6ce78p-5,
};
// 1 / pi
inline constexpr double elem_perPi = 0x1.45f306dc9c883p-2;
// pi to 30 bits
inline constexpr double elem_piHigh = 0x1.921fb54000000p+1;
// 30 bits of pi - piHigh
inline constexpr double elem_piMiddle = 0x1.10b4611800000p-29;
// pi - piHigh - piMiddle
inline constexpr double elem_piLow = 0x1.313198a2e0370p-60;
// pi
inline constexpr double elem_pi = 0x1.921fb54442d18p+1;

} // namespace dataprocessing::detail
