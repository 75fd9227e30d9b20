// qxcalcPinkFilter_double: turns one white-noise sample into one pink-noise
// sample. The caller's eight doubles s0..s7 (zero at the start of a stream,
// any alignment) are a bank of first-order sections fed with w = 0.2 * white:
// si <- si * Ai + w * Ki. Sections 6 and 7 have no memory (A = 0) and carry
// the current sample's direct terms; 0 * NaN keeps a NaN there, as in every
// other lane. The result is the sum of the new values in the fixed order
// ((s2 + s6) + (s0 + s4)) + ((s3 + s7) + (s1 + s5)).
//
// The bank runs as two four-lane vectors, s0..s3 and s4..s7: their lane-wise
// sum pairs si with si+4, and swapping its halves lines up the pairs that
// are added next.

#include "qxcalc.h"
#include "simd/lanes.h"
#include "simd/ordered.h"

namespace qx::filters {
namespace {

using simd::addInOrder;

constexpr double kWhiteScale = 0.2;

// Ai: how much of its previous value each section keeps.
alignas(32) constexpr double kRetention[8] = {0.99886, 0.99332, 0.969, 0.8665, 0.55, -0.7616, 0, 0};
// Ki: the weight of the scaled white sample in each section.
alignas(32) constexpr double kInputWeight[8] = {0.0555179, 0.0750759, 0.153852, 0.3104856,
                                                0.5329522, -0.016898, 0.115926, 0.5362};

// Four sections from state + first: si * Ai + w * Ki, stored back and returned.
QX_INLINE __m256d advanceFour(double* state, unsigned first, __m256d w)
{
    const __m256d kept = _mm256_mul_pd(_mm256_loadu_pd(state + first), _mm256_load_pd(kRetention + first));
    const __m256d next = addInOrder(kept, _mm256_mul_pd(w, _mm256_load_pd(kInputWeight + first)));
    _mm256_storeu_pd(state + first, next);
    return next;
}

double pinkFilter(PinkFilterState* state, double white)
{
    const __m256d w = _mm256_set1_pd(kWhiteScale * white);
    const __m256d low = advanceFour(state->s, 0, w);
    const __m256d high = advanceFour(state->s, 4, w);
    const __m256d pairs = addInOrder(low, high);  // (s0 + s4, s1 + s5, s2 + s6, s3 + s7)
    const __m256d swapped = _mm256_permute2f128_pd(pairs, pairs, 0x01);
    const __m256d quads = addInOrder(swapped, pairs);  // ((s2 + s6) + (s0 + s4), (s3 + s7) + (s1 + s5), ..)
    return addInOrder(_mm256_cvtsd_f64(quads), _mm256_cvtsd_f64(simd::Lanes<double>::moveDown<1>(quads)));
}

}  // namespace
}  // namespace qx::filters

extern "C" double QXCALC_CALL qxcalcPinkFilter_double(PinkFilterState* state, double white)
{
    return qx::filters::pinkFilter(state, white);
}
