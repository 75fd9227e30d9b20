/* Statistics of a long 16-bit signal fed block by block: the library adds
 * each block into the caller's sum and sum of squares; the caller keeps the
 * sample count and the running minimum and maximum, and forms the average,
 * the RMS and the standard deviation at the end. */
#include <math.h>
#include <stdio.h>

#include <qxcalc.h>

enum { SignalLength = 100000, BlockLength = 4096 };

typedef struct RunningStats {
    double sum, sumOfSquares; /* added into by the library */
    uint32_t count;           /* samples fed so far */
    int16_t minValue, maxValue;
} RunningStats;

/* Blocks of 8 samples or more report their own minimum and maximum; shorter
 * ones continue the values passed in. Passing the running values in and
 * folding the answer back covers both cases. */
static void feedBlock(RunningStats* s, const int16_t* block, uint32_t n)
{
    if (n == 0)
        return;
    int16_t lo = s->count ? s->minValue : block[0];
    int16_t hi = s->count ? s->maxValue : block[0];
    qxcalcGetMinMaxAveRMS_int16_t(block, n, &lo, &hi, &s->sum, &s->sumOfSquares, 0.0f);
    if (s->count == 0 || lo < s->minValue)
        s->minValue = lo;
    if (s->count == 0 || hi > s->maxValue)
        s->maxValue = hi;
    s->count += n;
}

int main(void)
{
    static int16_t signal[SignalLength];
    for (uint32_t i = 0; i < SignalLength; ++i) /* a 50 Hz tone at 10 kHz around 1000 counts */
        signal[i] = (int16_t)lround(1000.0 + 8000.0 * sin(2.0 * M_PI * 50.0 * i / 10000.0));

    RunningStats s = {0};
    for (uint32_t at = 0; at < SignalLength; at += BlockLength) {
        uint32_t n = SignalLength - at < BlockLength ? SignalLength - at : BlockLength;
        feedBlock(&s, signal + at, n);
    }

    double average = s.sum / s.count;
    double rms = sqrt(s.sumOfSquares / s.count);
    /* The offset is added before squaring: -average gives the RMS of the
     * signal's alternating part (its standard deviation) in a second pass. */
    double acSum = 0.0, acSquares = 0.0;
    int16_t lo = 0, hi = 0;
    qxcalcGetMinMaxAveRMS_int16_t(signal, SignalLength, &lo, &hi, &acSum, &acSquares,
                                  (float)-average);
    double acRms = sqrt(acSquares / SignalLength);

    printf("%u samples: min %d, max %d, average %.3f, RMS %.3f, AC RMS %.3f\n", s.count,
           s.minValue, s.maxValue, average, rms, acRms);
    /* 8000 / sqrt(2) = 5656.9 for the tone; the whole signal adds the 1000 counts of DC. */
    return fabs(average - 1000.0) < 1.0 && fabs(acRms - 5656.854) < 1.0
                   && fabs(rms - sqrt(1000.0 * 1000.0 + acRms * acRms)) < 1.0
               ? 0
               : 1;
}
