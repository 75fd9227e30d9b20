/* Streaming sample-rate conversion, 44.1 kHz to 48 kHz: the signal arrives
 * in blocks, each call returns every output sample that the input so far
 * allows, and Stop flushes the end of the stream. */
#include <math.h>
#include <stdio.h>
#include <string.h>

#include <qxcalc.h>

enum { InputLength = 44100, BlockLength = 1000, RingLength = 4096 };

static float output[InputLength * 2];

int main(void)
{
    static float input[InputLength];
    for (int i = 0; i < InputLength; ++i) /* one second of a 1 kHz tone */
        input[i] = (float)sin(2.0 * M_PI * 1000.0 * i / 44100.0);

    /* The ring must be a power of two; a block may hold at most RingLength - 2 samples. */
    CHSInterpolatorParams params = {44100.0, 48000.0, RingLength};
    CHSInterpolator* chs = NULL;
    QxcalcStatus status = qxcalcCHSInterpolator_Create(&chs, &params);
    if (status != QxcalcStatusOk) {
        fprintf(stderr, "Create failed: status %u\n", status);
        return 1;
    }

    uint32_t produced = 0;
    for (uint32_t at = 0; at < InputLength && status == QxcalcStatusOk; at += BlockLength) {
        uint32_t n = InputLength - at < BlockLength ? InputLength - at : BlockLength;
        float* block = NULL;
        uint32_t blockCount = 0;
        status = qxcalcCHSInterpolator_InterpolateValues(chs, input + at, n, &block, &blockCount);
        if (status == QxcalcStatusOk) {
            /* The block lives in the interpolator's buffer until the next call: copy it out. */
            memcpy(output + produced, block, blockCount * sizeof(float));
            produced += blockCount;
        }
    }
    if (status == QxcalcStatusOk) {
        /* The newest sample waits for its successors; Stop delivers the outputs up to it. */
        float* block = NULL;
        uint32_t blockCount = 0;
        status = qxcalcCHSInterpolator_Stop(chs, &block, &blockCount);
        if (status == QxcalcStatusOk) {
            memcpy(output + produced, block, blockCount * sizeof(float));
            produced += blockCount;
        }
    }
    qxcalcCHSInterpolator_Destroy(chs);
    if (status != QxcalcStatusOk) {
        fprintf(stderr, "streaming failed: status %u\n", status);
        return 1;
    }

    /* Output j lies at input position j * 44100 / 48000; the cubic stays within
     * 0.2 % of the tone there (about 44 samples a period). */
    double worst = 0.0;
    for (uint32_t j = 0; j < produced; ++j) {
        double expected = sin(2.0 * M_PI * 1000.0 * j / 48000.0);
        worst = fmax(worst, fabs(output[j] - expected));
    }
    printf("%u input samples -> %u output samples, largest deviation from the tone %.2e\n",
           (unsigned)InputLength, produced, worst);
    return produced == 48000 - 1 && worst < 2e-3 ? 0 : 1;
}
