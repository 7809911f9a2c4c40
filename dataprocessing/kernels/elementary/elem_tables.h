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
// (e^r - 1 - r) / r^2, |r| <= ln 2 / 32, to 2^-64.4
alignas(64) inline constexpr double elem_expDouble[] = {
    0x1.0000000000001p-1,
    0x1.5555555555556p-3,
    0x1.55555554e93b7p-5,
    0x1.11111110e1059p-7,
    0x1.6c17ed5c1f49ep-10,
    0x1.a01b0c3c80bbcp-13,
};
// 2^(i / 16)
alignas(64) inline constexpr double elem_exp2[] = {
    0x1.0000000000000p+0,
    0x1.0b5586cf9890fp+0,
    0x1.172b83c7d517bp+0,
    0x1.2387a6e756238p+0,
    0x1.306fe0a31b715p+0,
    0x1.3dea64c123422p+0,
    0x1.4bfdad5362a27p+0,
    0x1.5ab07dd485429p+0,
    0x1.6a09e667f3bcdp+0,
    0x1.7a11473eb0187p+0,
    0x1.8ace5422aa0dbp+0,
    0x1.9c49182a3f090p+0,
    0x1.ae89f995ad3adp+0,
    0x1.c199bdd85529cp+0,
    0x1.d5818dcfba487p+0,
    0x1.ea4afa2a490dap+0,
};
// what is left of it, relative to it
alignas(64) inline constexpr double elem_exp2Rest[] = {
    0.0,
    0x1.79aa65d837b6dp-54,
    -0x1.01b15eaa59348p-55,
    0x1.68efde3a8a894p-54,
    0x1.34d754db0abb6p-55,
    0x1.59f48a72a4c6dp-55,
    0x1.690cebb7aafb0p-56,
    0x1.063e1e21c5409p-54,
    -0x1.3b3efbf5e2228p-54,
    -0x1.b32dcb94da51dp-56,
    0x1.db72fc1f0eab4p-55,
    0x1.1affc2b91ce27p-56,
    0x1.c1a7792cb3387p-55,
    0x1.36eae30af0cb3p-56,
    0x1.4a385a63d07a7p-56,
    -0x1.ff7128fd391f0p-55,
};
// 16 / ln 2
inline constexpr double elem_perStep = 0x1.71547652b82fep+4;
// ln 2 / 16 to 37 bits
inline constexpr double elem_stepHigh = 0x1.62e42fefa0000p-5;
// ln 2 / 16 - stepHigh
inline constexpr double elem_stepLow = 0x1.cf79abc9e3b3ap-44;
// the same intervals
alignas(64) inline constexpr double elem_logDoubleFactor[] = {
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
// -log(factor), a multiple of 2^-42
alignas(64) inline constexpr double elem_logDouble[] = {
    -0x1.51aad872e0000p-2,
    -0x1.27161913f8000p-2,
    -0x1.f871b28956000p-3,
    -0x1.a8becfc882000p-3,
    -0x1.5c94007598000p-3,
    -0x1.10f8e42254000p-3,
    -0x1.9375e55594000p-4,
    -0x1.0759835990000p-4,
    -0x1.0b94f7c198000p-5,
    0.0,
    0x1.eea31c0068000p-5,
    0x1.e3707ee304000p-4,
    0x1.60b3100b0a000p-3,
    0x1.c6ffbc6f00000p-3,
    0x1.16b5ccbad0000p-2,
    0x1.4718dc271c000p-2,
};
// what is left of it
alignas(64) inline constexpr double elem_logDoubleRest[] = {
    0x1.f4bd8db0a7cc1p-44,
    -0x1.4f4f1f61564b4p-44,
    0x1.f75fd6a526efep-44,
    -0x1.e3185cf21b9cfp-44,
    0x1.a8d948cd23322p-44,
    0x1.93b3843396307p-45,
    -0x1.eddc37380c364p-44,
    0x1.b8ecfe4b59987p-44,
    0x1.e89896f022783p-45,
    0.0,
    0x1.c3dd83606d891p-44,
    0x1.0f684e6766abdp-45,
    -0x1.71456c988f814p-44,
    0x1.ee138d3a69d43p-44,
    -0x1.23299042d74bfp-44,
    0x1.06c18fb4c14c5p-44,
};
// ln 2, a multiple of 2^-42
inline constexpr double elem_ln2Multiple = 0x1.62e42fefa3800p-1;
// what is left of it
inline constexpr double elem_ln2Rest = 0x1.ef35793c76730p-45;
// (log(1 + r) - r + r^2 / 2) / r^3, to 2^-64.9
alignas(64) inline constexpr double elem_log1pDouble[] = {
    0x1.5555555555555p-2,
    -0x1.fffffffffff9fp-3,
    0x1.9999999999940p-3,
    -0x1.5555555697d8ap-3,
    0x1.24924925bbfefp-3,
    -0x1.ffffdbcbc1a5dp-4,
    0x1.c71c505ba6ec5p-4,
    -0x1.9a5a39fb5632fp-4,
    0x1.750ee707f5a58p-4,
};
// about 1 / p, multiples of 2^-13
alignas(64) inline constexpr double elem_logSecondFactor[] = {
    0x1.0000000000000p+0,
    0x1.fe00000000000p-1,
    0x1.fc00000000000p-1,
    0x1.fa10000000000p-1,
    0x1.f820000000000p-1,
    0x1.f630000000000p-1,
    0x1.f440000000000p-1,
    0x1.f260000000000p-1,
    0x1.f080000000000p-1,
    0x1.0730000000000p+0,
    0x1.0628000000000p+0,
    0x1.0518000000000p+0,
    0x1.0410000000000p+0,
    0x1.0308000000000p+0,
    0x1.0208000000000p+0,
    0x1.0100000000000p+0,
};
// -log(factor), a multiple of 2^-42
alignas(64) inline constexpr double elem_logSecond[] = {
    0.0,
    0x1.0080559580000p-8,
    0x1.0101575880000p-7,
    0x1.7e38762ca0000p-7,
    0x1.fbea8b13c0000p-7,
    0x1.3d0c443d70000p-6,
    0x1.7c61b1cf60000p-6,
    0x1.b9e8027e20000p-6,
    0x1.f7a9b16780000p-6,
    -0x1.c5a92e1630000p-6,
    -0x1.8556516070000p-6,
    -0x1.42cc921480000p-6,
    -0x1.01f5658730000p-6,
    -0x1.81b889ec00000p-7,
    -0x1.02f9537860000p-7,
    -0x1.ff00aa2b00000p-9,
};
// what is left of it
alignas(64) inline constexpr double elem_logSecondRest[] = {
    0.0,
    0x1.166afcb31c67bp-45,
    0x1.bce251998b506p-44,
    0x1.8e5f252316acap-48,
    0x1.ec927b17e4e13p-50,
    0x1.2d40e4f2f6eeap-45,
    -0x1.08fc8f849a447p-45,
    -0x1.b9c9bb4f4fcfcp-44,
    0x1.42ad9271be7d7p-45,
    0x1.962e95bcf75e5p-44,
    0x1.deb6e0a90848cp-47,
    0x1.dde394cdaf04bp-44,
    -0x1.6107d26f92eb5p-44,
    0x1.834c73c4ec934p-45,
    0x1.fb18dfad4852dp-45,
    -0x1.0bc04a086b56ap-45,
};
// (log(1 + r) - r + r^2 / 2) / r^3, to 2^-73.4
alignas(64) inline constexpr double elem_log1pSecond[] = {
    0x1.5555555555555p-2,
    -0x1.0000000000000p-2,
    0x1.999999998fe00p-3,
    -0x1.555555554c94bp-3,
    0x1.2492a73a24382p-3,
    -0x1.000054ad03bcfp-3,
};
// (sin(r) / r - 1) / r^2 in r^2, |r| <= pi / 32, to 2^-63.2
alignas(64) inline constexpr double elem_sinDouble[] = {
    -0x1.5555555555555p-3,
    0x1.111111111046fp-7,
    -0x1.a01a0139b7e26p-13,
    0x1.71cda20bfd969p-19,
};
// (cos(r) - 1 + r^2 / 2) / r^4 in r^2, |r| <= pi / 32, to 2^-71.9
alignas(64) inline constexpr double elem_cosDouble[] = {
    0x1.5555555555555p-5,
    -0x1.6c16c16c163abp-10,
    0x1.a01a015bd8506p-16,
    -0x1.27d9eb3dc85ddp-22,
};
// sin(i pi / 16)
alignas(64) inline constexpr double elem_sinOf[] = {
    0.0,
    0x1.8f8b83c69a60bp-3,
    0x1.87de2a6aea963p-2,
    0x1.1c73b39ae68c8p-1,
    0x1.6a09e667f3bcdp-1,
    0x1.a9b66290ea1a3p-1,
    0x1.d906bcf328d46p-1,
    0x1.f6297cff75cb0p-1,
    0x1.0000000000000p+0,
    0x1.f6297cff75cb0p-1,
    0x1.d906bcf328d46p-1,
    0x1.a9b66290ea1a3p-1,
    0x1.6a09e667f3bcdp-1,
    0x1.1c73b39ae68c8p-1,
    0x1.87de2a6aea963p-2,
    0x1.8f8b83c69a60bp-3,
};
// what is left of them
alignas(64) inline constexpr double elem_sinOfRest[] = {
    0.0,
    -0x1.26d19b9ff8d82p-57,
    -0x1.72cedd3d5a610p-57,
    0x1.b25dd267f6600p-55,
    -0x1.bdd3413b26456p-55,
    0x1.9f630e8b6dac8p-60,
    0x1.457e610231ac2p-56,
    0x1.562172a361fd3p-56,
    0.0,
    0x1.562172a361fd3p-56,
    0x1.457e610231ac2p-56,
    0x1.9f630e8b6dac8p-60,
    -0x1.bdd3413b26456p-55,
    0x1.b25dd267f6600p-55,
    -0x1.72cedd3d5a610p-57,
    -0x1.26d19b9ff8d82p-57,
};
// cos(i pi / 16)
alignas(64) inline constexpr double elem_cosOf[] = {
    0x1.0000000000000p+0,
    0x1.f6297cff75cb0p-1,
    0x1.d906bcf328d46p-1,
    0x1.a9b66290ea1a3p-1,
    0x1.6a09e667f3bcdp-1,
    0x1.1c73b39ae68c8p-1,
    0x1.87de2a6aea963p-2,
    0x1.8f8b83c69a60bp-3,
    0.0,
    -0x1.8f8b83c69a60bp-3,
    -0x1.87de2a6aea963p-2,
    -0x1.1c73b39ae68c8p-1,
    -0x1.6a09e667f3bcdp-1,
    -0x1.a9b66290ea1a3p-1,
    -0x1.d906bcf328d46p-1,
    -0x1.f6297cff75cb0p-1,
};
// what is left of them
alignas(64) inline constexpr double elem_cosOfRest[] = {
    0.0,
    0x1.562172a361fd3p-56,
    0x1.457e610231ac2p-56,
    0x1.9f630e8b6dac8p-60,
    -0x1.bdd3413b26456p-55,
    0x1.b25dd267f6600p-55,
    -0x1.72cedd3d5a610p-57,
    -0x1.26d19b9ff8d82p-57,
    0.0,
    0x1.26d19b9ff8d82p-57,
    0x1.72cedd3d5a610p-57,
    -0x1.b25dd267f6600p-55,
    0x1.bdd3413b26456p-55,
    -0x1.9f630e8b6dac8p-60,
    -0x1.457e610231ac2p-56,
    -0x1.562172a361fd3p-56,
};
// 16 / pi
inline constexpr double elem_perSixteenth = 0x1.45f306dc9c883p+2;
// pi / 16
inline constexpr double elem_sixteenthHigh = 0x1.921fb54442d18p-3;
// what is left of it
inline constexpr double elem_sixteenthLow = 0x1.1a62633145c07p-57;
// (atan(t) / t - 1) / t^2 in t^2, |t| <= 0.0324, to 2^-65.5
alignas(64) inline constexpr double elem_atanDouble[] = {
    -0x1.5555555555555p-2,
    0x1.9999999999852p-3,
    -0x1.2492492230174p-3,
    0x1.c71c4019209d8p-4,
    -0x1.7389b85d95037p-4,
};
// atan(i / 16)
alignas(64) inline constexpr double elem_atanOf[] = {
    0.0,
    0x1.ff55bb72cfdeap-5,
    0x1.fd5ba9aac2f6ep-4,
    0x1.7b97b4bce5b02p-3,
    0x1.f5b75f92c80ddp-3,
    0x1.362773707ebccp-2,
    0x1.6f61941e4def1p-2,
    0x1.a64eec3cc23fdp-2,
    0x1.dac670561bb4fp-2,
    0x1.0657e94db30d0p-1,
    0x1.1e00babdefeb4p-1,
    0x1.345f01cce37bbp-1,
    0x1.4978fa3269ee1p-1,
    0x1.5d58987169b18p-1,
    0x1.700a7c5784634p-1,
    0x1.819d0b7158a4dp-1,
};
// what is left of them
alignas(64) inline constexpr double elem_atanOfRest[] = {
    0.0,
    -0x1.c934d86d23f1dp-60,
    -0x1.cd37686760c17p-59,
    0x1.347b0b4f881cap-58,
    0x1.8ab6e3cf7afbdp-57,
    -0x1.963a544b672d8p-57,
    -0x1.c63aae6f6e918p-56,
    -0x1.24dec1b50b7ffp-56,
    0x1.a2b7f222f65e2p-56,
    -0x1.d5b495f6349e6p-56,
    -0x1.928df287a668fp-58,
    0x1.1021137c71102p-55,
    0x1.2419a87f2a458p-56,
    0x1.0028e4bc5e7cap-57,
    -0x1.8c34d25aadef6p-56,
    -0x1.bf76229d3b917p-56,
};
// what is left of pi
inline constexpr double elem_piRest = 0x1.1a62633145c07p-53;

} // namespace dataprocessing::detail
