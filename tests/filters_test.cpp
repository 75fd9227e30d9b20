// Filters swept against scalar models (every output and the section memory after it); the pink filter by values.
#include <gtest/gtest.h>
#include <algorithm>
#include "qxcalc.hpp"
#include "support/lane_model.h"
#include "support/sweep.h"

using namespace qxtest;

namespace {

// Sections shift their blocks B[0..n] and take the gained input. The general kind keeps one running sum, oldest
// block first, and NaN passes its limits; the second-order kind sums b- and a-products apart, NaN becomes 1e10.
double modelIIR(const IIRFilter& f, double u)
{
    const bool second = f.coefficientCount == 3;
    const int n = second ? 2 : std::max(f.order, 0);
    for (int s = 0; s < f.sectionCount; ++s) {
        IIRBlock* B = f.sections + s * (n + 1);
        for (int k = 0; k < n; ++k) {
            B[k].x = B[k + 1].x;
            B[k].y = B[k + 1].y;
        }
        B[n].x = mulX86(u, f.gains[s]);
        const auto bx = [&](int k) { return mulX86(B[k].b, B[k].x); };
        const auto ay = [&](int k) { return mulX86(B[k].a, B[k].y); };
        double acc = second ? addX86(bx(0), bx(1)) - addX86(ay(0), ay(1)) : 0;
        for (int k = 0; k < n && !second; ++k) acc = addX86(acc, bx(k) - ay(k));
        const double y = addX86(second ? bx(2) : mulX86(B[n].x, B[n].b), acc);
        u = B[n].y = second ? (y < 1e10 ? std::max(y, -1e10) : 1e10) : (y > 1e10 ? 1e10 : y < -1e10 ? -1e10 : y);
    }
    return u;
}

// Runs of h[i] * t[i]: blocks of 32 into four eight-lane accumulators added ((A + B) + C) + D to V, groups of eight
// into V, the rest into S; run 2 first feeds S until its taps reach a 32-byte boundary.
float modelFIR(const float* h, const float* t, int length, int position)
{
    float V[8] = {}, S = 0;
    const auto run = [&](const float* samples, const float* taps, int n) {
        float acc[4][8] = {};
        for (int i = 0; i < n; ++i) {
            float& to = i < n / 32 * 32 ? acc[i % 32 / 8][i % 8] : i < n / 8 * 8 ? V[i % 8] : S;
            to = addX86(to, mulX86(samples[i], taps[i]));
            if (i + 1 != n / 32 * 32) continue;
            for (int l = 0; l < 8; ++l)
                V[l] = addX86(V[l], addX86(addX86(addX86(acc[0][l], acc[1][l]), acc[2][l]), acc[3][l]));
        }
    };
    const int m = length - position, peel = position < 8 ? position : (int)peelOf<32>(t + m);
    run(h + position, t, m);
    run(h, t + m, peel);
    run(h + peel, t + m + peel, position - peel);
    const float low = addX86(addX86(V[0], V[1]), addX86(V[2], V[3]));
    const float high = addX86(addX86(V[4], V[5]), addX86(V[6], V[7]));
    return addX86(addX86(low, high), S);
}

// History and b within +-1, a within +-0.02 (stable up to order 12); gains alike.
void fillSections(std::byte* to, std::size_t n, DataSet set, uint32_t seed)
{
    fillSamples<double>(to, n, set, seed);
    for (std::size_t i = 0; i < n; ++i) reinterpret_cast<double*>(to)[i] *= i % 4 == 3 ? 2e-8 : 1e-6;
}

// 64 samples, two far beyond the limits and a -0, through 0..8 sections of each order (13: second-order;
// odd: the float variant); the trace holds each output and the memory after it.
TEST(IIRFilter, CascadesOfEveryKindAndOrderMatchTheModel)
{
    for (int32_t order = -1; order <= 13 && !HasFailure(); ++order) {
        const int32_t kind = order < 13 ? 0 : 3;
        const int32_t doubles = 4 * (kind == 3 ? 3 : std::max(order, 0) + 1);  // per section
        const auto stream = [&](bool model) {
            return [=](const Blocks& b, uint32_t n) {
                IIRFilter f{kind, int32_t(n), order, 0, b.at<double>(1), b.at<IIRBlock>(0)};
                double* trace = b.at<double>(2);
                const auto filter = [&](auto u) {
                    return model ? decltype(u)(modelIIR(f, u)) : qxcalc::Exports<decltype(u)>::iirFilter(&f, u);
                };
                for (std::size_t j = 0, step = 1 + n * doubles; j < 64; ++j) {
                    const double u = j == 9 ? 3e12 : j == 40 ? -3e12 : j == 20 ? -0.0 : double(j * 37 % 23) * 0.09 - 1;
                    trace[j * step] = order % 2 ? filter(float(u)) : filter(u);
                    std::memcpy(trace + j * step + 1, f.sections, n * doubles * sizeof(double));
                }
            };
        };
        BlockSpec sections = block<double>("sections", Role::InOut, 16, [=](uint32_t n) { return n * doubles; });
        BlockSpec gains = block<double>("gains", Role::In);
        sections.fill = gains.fill = fillSections;
        const BlockSpec trace =
            block<double>("trace", Role::Out, 32, [=](uint32_t n) { return 64 * (1 + n * doubles); });
        sweep({"IIRFilter order " + std::to_string(order), {sections, gains, trace}, stream(false), stream(true),
               {0, 1, 2, 3, 4, 5, 6, 7, 8}});
    }
}

TEST(PinkFilter, WorkedValuesAndTheOrderInWhichNaNsMeet)
{
    PinkFilterState s{};
    EXPECT_NEAR(qxcalcPinkFilter_double(&s, 1.0), 0.35262232, 1e-12);      // 0.2 * sum of Ki
    EXPECT_NEAR(qxcalcPinkFilter_double(&s, 0.0), 0.170828117956, 1e-12);  // 0.2 * sum of Ki * Ai
    const int order[8] = {2, 6, 0, 4, 3, 7, 1, 5};  // ((s2 + s6) + (s0 + s4)) + ((s3 + s7) + (s1 + s5))
    for (int j = 0; j < 8; ++j) {  // the first NaN in that order survives, also in s6, s7 (0 * NaN)
        for (int k = 0; k < 8; ++k) s.s[order[k]] = k < j ? 1.0 : nanWithPayload<double>(order[k] + 1);
        EXPECT_EQ(bitsOf(qxcalcPinkFilter_double(&s, 0.0)), bitsOf(nanWithPayload<double>(order[j] + 1))) << j;
    }
}

TEST(FIRFilter, EveryLengthPositionAndTapsOffsetMatchesTheModel)  // length 0 gives 0; taps at every offset mod 32
{
    const auto everyPosition = [](auto fir) {
        return [=](const Blocks& b, uint32_t n) {
            for (uint32_t p = 0; p <= n; ++p)
                b.at<float>(2)[p] = fir(b.at<float>(0), b.at<float>(1), int32_t(n), int32_t(p));
        };
    };
    const BlockSpec outputs = block<float>("y", Role::Out, 32, [](uint32_t n) { return n + 1; });
    sweep({"FIRFilter", {block<float>("history", Role::In, 16), block<float>("taps", Role::In), outputs},
           everyPosition(qxcalcFIRFilter_float), everyPosition(modelFIR), countsAround({}, 0, 300, {512})});
}

}  // namespace
