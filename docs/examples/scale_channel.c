/* Raw channel samples to physical values: value = raw * scale + offset.
 * A 16-bit ADC channel with a +/-10 V range becomes volts in double and in
 * float; a float channel is rescaled in place; a 32-byte aligned buffer takes
 * the _aligned_output form. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <qxcalc.h>

enum { Count = 1000 };

int main(void)
{
    int16_t raw[Count];
    for (int i = 0; i < Count; ++i)
        raw[i] = (int16_t)(i * 65 - 32768); /* -32768 .. 32167 counts */

    /* Counts to volts: 10 V / 32768 counts, with a 2.5 mV zero error removed. */
    double volts[Count];
    ChannelScaleParams_double toVolts = {raw, volts, 10.0 / 32768.0, -0.0025, Count, QxcalcRawInt16};
    qxcalcChannelGetScaledValuesAtPos_double(&toVolts);

    /* The same in float: the sample and both operations in single precision. */
    float voltsF[Count];
    ChannelScaleParams_float toVoltsF = {raw, voltsF, 10.0f / 32768.0f, -0.0025f, Count, QxcalcRawInt16};
    qxcalcChannelGetScaledValuesAtPos_float(&toVoltsF);

    /* A position inside the channel is an address: samples 500..599 only. */
    double window[100];
    ChannelScaleParams_double part = toVolts;
    part.rawData = raw + 500;
    part.output = window;
    part.count = 100;
    qxcalcChannelGetScaledValuesAtPos_double(&part);

    /* In place works when the raw format is the output type: volts to millivolts. */
    ChannelScaleParams_float toMillivolts = {voltsF, voltsF, 1000.0f, 0.0f, Count, QxcalcRawFloat};
    qxcalcChannelGetScaledValuesAtPos_float(&toMillivolts);

    /* The _aligned_output forms need a 32-byte aligned output and write the same bytes. */
    double* aligned = aligned_alloc(32, Count * sizeof(double));
    if (!aligned)
        return 1;
    ChannelScaleParams_double alignedParams = toVolts;
    alignedParams.output = aligned;
    qxcalcChannelGetScaledValuesAtPos_double_aligned_output(&alignedParams);
    int same = memcmp(aligned, volts, sizeof volts) == 0 && memcmp(window, volts + 500, sizeof window) == 0;
    free(aligned);

    printf("raw %d -> %.6f V (double), %.3f mV (float); raw %d -> %.6f V\n", raw[0], volts[0],
           voltsF[0], raw[Count - 1], volts[Count - 1]);
    return same && fabs(volts[0] + 10.0025) < 1e-12 && fabs(voltsF[0] + 10002.5f) < 0.01f ? 0 : 1;
}
