/*
 * qxcalc.h - public interface of the qxcalc-avx numeric library.
 *
 * The host keeps its signal channels in its own memory and calls one exported
 * function at a time. Nothing here keeps global state: every function works on
 * the buffers and records passed to it; the CHS interpolator is the only object
 * that lives between calls, and the caller holds it through a handle.
 *
 * Binary interface (32-bit x86): every export is __stdcall (the callee pops its
 * arguments), exported under its plain name; float and double results come
 * back on the x87 stack. On x86-64 the platform's native convention is used
 * (on 64-bit Windows the Microsoft x64 one, results in xmm0; the DLL has the
 * same names and ordinals). Records are laid out as the host's Windows
 * compiler lays them out: doubles aligned to 8 inside records, reserved fields
 * present, pointers of the host's width (both layouts are pinned at the end).
 *
 * Unless a function says otherwise it validates nothing: valid pointers,
 * counts and alignment are the caller's duty, and a count of 0 does nothing.
 */
#ifndef QXCALC_H
#define QXCALC_H

#include <stddef.h>
#include <stdint.h>

#if defined(__i386__) || defined(_M_IX86)
#  if defined(_MSC_VER)
#    define QXCALC_CALL __stdcall
#  else
#    define QXCALC_CALL __attribute__((__stdcall__))
#  endif
#else
#  define QXCALC_CALL
#endif

#if defined(_WIN32)
#  define QXCALC_API /* exports come from the module-definition file */
#elif defined(QXCALC_BUILDING_LIBRARY)
#  define QXCALC_API __attribute__((visibility("default")))
#else
#  define QXCALC_API
#endif

/* Doubles inside records sit on 8-byte boundaries, as on the host's compiler;
 * the System V i386 ABI alone would place them on 4. */
#if defined(_MSC_VER)
#  define QXCALC_ALIGN8
#else
#  define QXCALC_ALIGN8 __attribute__((aligned(8)))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Status codes (returned by the CHS interpolator functions only) ------ */

typedef uint32_t QxcalcStatus;
enum {
    QxcalcStatusOk = 0,              /* the operation was carried out */
    QxcalcStatusInvalidArgument = 1, /* NULL pointer or handle, count 0, non-positive rate */
    QxcalcStatusTooManyValues = 2,   /* block longer than the ring's length minus 2 */
    QxcalcStatusStopped = 3,         /* the interpolator has been stopped */
    QxcalcStatusBadBufferSize = 4    /* ring length 0, 1 or not a power of two */
};

/* ---- Raw sample formats of the channel-scaling family -------------------- */

/* The numbering is fixed and deliberately irregular. */
typedef enum RawSampleType {
    QxcalcRawUInt8 = 0,  /* uint8_t  */
    QxcalcRawInt8 = 1,   /* int8_t   */
    QxcalcRawInt16 = 2,  /* int16_t  */
    QxcalcRawUInt16 = 3, /* uint16_t */
    QxcalcRawInt32 = 4,  /* int32_t  */
    QxcalcRawFloat = 5,  /* float    */
    QxcalcRawInt64 = 6,  /* int64_t  */
    QxcalcRawDouble = 7, /* double   */
    QxcalcRawUInt32 = 8  /* uint32_t */
} RawSampleType;

/* The short names of the status codes and formats (StatusOk, Int16, Float,
 * ...), for hosts written against them: define QXCALC_SHORT_NAMES before
 * including this header. They are global names that a host's own Float or
 * Double would collide with, so they are off by default. */
#ifdef QXCALC_SHORT_NAMES
enum {
    StatusOk = QxcalcStatusOk,
    StatusInvalidArgument = QxcalcStatusInvalidArgument,
    StatusTooManyValues = QxcalcStatusTooManyValues,
    StatusStopped = QxcalcStatusStopped,
    StatusBadBufferSize = QxcalcStatusBadBufferSize
};
enum {
    UInt8 = QxcalcRawUInt8,
    Int8 = QxcalcRawInt8,
    Int16 = QxcalcRawInt16,
    UInt16 = QxcalcRawUInt16,
    Int32 = QxcalcRawInt32,
    Float = QxcalcRawFloat,
    Int64 = QxcalcRawInt64,
    Double = QxcalcRawDouble,
    UInt32 = QxcalcRawUInt32
};
#endif

/* ---- Records that cross the boundary ------------------------------------ */

/* Scaled channel values, double output: output[i] = raw[i] * scale + offset. */
typedef struct ChannelScaleParams_double {
    const void* rawData;       /* first raw sample, naturally aligned for sampleType */
    double* output;            /* count doubles (32-byte aligned for _aligned_output) */
    double scale QXCALC_ALIGN8;
    double offset QXCALC_ALIGN8;
    int32_t count;             /* <= 0 writes nothing */
    uint32_t sampleType;       /* a RawSampleType code; > 8 writes nothing */
} ChannelScaleParams_double;

/* Scaled channel values, float output. */
typedef struct ChannelScaleParams_float {
    const void* rawData;       /* first raw sample, naturally aligned for sampleType */
    float* output;             /* count floats (32-byte aligned for _aligned_output) */
    float scale;               /* widened to double for Double samples */
    float offset;              /* likewise */
    int32_t count;             /* <= 0 writes nothing */
    uint32_t sampleType;       /* a RawSampleType code; > 8 writes nothing */
} ChannelScaleParams_float;

/* One block of an IIR section: history (x, y) beside coefficients (b, a), so
 * that each pair moves or multiplies as one 16-byte unit. */
typedef struct IIRBlock {
    double x QXCALC_ALIGN8; /* input history: the section's input after its gain */
    double y QXCALC_ALIGN8; /* output history: the section's output */
    double b QXCALC_ALIGN8; /* feed-forward coefficient for x; never moves */
    double a QXCALC_ALIGN8; /* feedback coefficient for y (subtracted); unused in the newest block */
} IIRBlock;

/* An IIR cascade owned by the caller. A section's blocks run from the oldest
 * sample (first) to the newest (last); zero the x/y history to start a stream. */
typedef struct IIRFilter {
    int32_t coefficientCount; /* 3: second-order sections of three blocks; else general */
    int32_t sectionCount;     /* sections in the cascade; < 1 passes the sample through */
    int32_t order;            /* general path: order + 1 blocks per section (1 if <= 0) */
    uint32_t reserved;        /* not read */
    const double* gains;      /* one input gain per section, read only */
    IIRBlock* sections;       /* the sections' blocks end to end, section 0 first;
                                 read and written; 16-byte aligned */
} IIRFilter;

/* Pink-noise filter state: eight doubles, zero at the start of a stream; any
 * alignment. Updated by every call. */
typedef struct PinkFilterState {
    double s[8] QXCALC_ALIGN8;
} PinkFilterState;

/* One XY-graph mapping call: where the points come from, the axes, the plot
 * rectangle and where the pixels go. The caller advances pointsLeft, index and
 * ySamples by the count written to *pointCountOut before the next call. */
typedef struct GraphMapping {
    uint32_t pointsLeft;    /* points from the current one on; >= 4 maps four, else one */
    uint8_t reserved;       /* not read */
    uint8_t xSource;        /* 0 index, 1 xValues[index], 2 index*xScale+xOffset,
                               other: xMin (one point) or 0 (four points) */
    uint8_t ySampleType;    /* 5: ySamples is float, else double */
    uint8_t xAxisType;      /* 0 linear, 1 logarithmic, else x used as the position itself */
    uint32_t index;         /* index of the current point; four points read index + 0..3 */
    uint8_t yAxisType;      /* 0 linear, 1 logarithmic, else decibels (20 log10(y / dbReference)) */
    uint8_t reservedBytes[3]; /* not read */
    int16_t left;           /* pixel x of the x axis start */
    int16_t top;            /* pixel y of the y axis end */
    int16_t right;          /* pixel x of the x axis end */
    int16_t bottom;         /* pixel y of the y axis start */
    double xScale QXCALC_ALIGN8;  /* for xSource 2 */
    double xOffset QXCALC_ALIGN8; /* for xSource 2 */
    double yScale QXCALC_ALIGN8;  /* y = sample * yScale + yOffset */
    double yOffset QXCALC_ALIGN8;
    double xMax QXCALC_ALIGN8;    /* linear x axis end */
    double xMin QXCALC_ALIGN8;    /* linear x axis start */
    double xLogMax QXCALC_ALIGN8; /* logarithmic x axis end, in log10 units */
    double xLogMin QXCALC_ALIGN8; /* logarithmic x axis start, in log10 units */
    double yMax QXCALC_ALIGN8;    /* linear or decibel y axis end */
    double yMin QXCALC_ALIGN8;    /* linear or decibel y axis start */
    double yLogMax QXCALC_ALIGN8; /* logarithmic y axis end, in log10 units */
    double yLogMin QXCALC_ALIGN8; /* logarithmic y axis start, in log10 units */
    double dbReference QXCALC_ALIGN8; /* the y of 0 dB */
    const void* ySamples;   /* the current point's sample (and the next three), per ySampleType */
    const double* xValues;  /* x array for xSource 1 */
    int32_t* xPixelsOut;    /* receives 1 or 4 pixel x values */
    int32_t* yPixelsOut;    /* receives 1 or 4 pixel y values */
    uint32_t* pointCountOut; /* receives 1 or 4 */
} GraphMapping;

/* Creation parameters of a CHS interpolator. */
typedef struct CHSInterpolatorParams {
    double inputRate QXCALC_ALIGN8;  /* > 0 */
    double outputRate QXCALC_ALIGN8; /* > 0 */
    uint32_t bufferLength;           /* input ring length: a power of two, at least 2 */
} CHSInterpolatorParams;

/* Opaque interpolator object, created and released by the library. */
typedef struct CHSInterpolator CHSInterpolator;

/* ---- Version -------------------------------------------------------------- */

/* Writes 1 and 44 to major and minor, and (level > 9) as 0/1 to levelAboveNine. */
QXCALC_API void QXCALC_CALL qxcalcGetVersion(int32_t* major, int32_t* minor, int32_t level,
                                             int32_t* levelAboveNine);

/* ---- Minimum and maximum ---------------------------------------------------
 * Block minimum and maximum. count >= 1 is required. Floating-point NaN and
 * signed-zero results follow the library's comparison order: on blocks of at
 * least one vector a NaN as the last sample is reported; shorter blocks skip
 * NaNs after the first sample. */
QXCALC_API void QXCALC_CALL qxcalcGetMinMax_double(const double* samples, uint32_t count,
                                                   double* minValue, double* maxValue);
QXCALC_API void QXCALC_CALL qxcalcGetMinMax_float(const float* samples, uint32_t count,
                                                  float* minValue, float* maxValue);
QXCALC_API void QXCALC_CALL qxcalcGetMinMax_int16_t(const int16_t* samples, uint32_t count,
                                                    int16_t* minValue, int16_t* maxValue);
QXCALC_API void QXCALC_CALL qxcalcGetMinMax_int32_t(const int32_t* samples, uint32_t count,
                                                    int32_t* minValue, int32_t* maxValue);

/* ---- Minimum, maximum, sum and sum of squares -------------------------------
 * Adds the block's samples to *sum and (sample + offset)^2 to *sumOfSquares.
 * Blocks shorter than one vector continue *minValue and *maxValue as running
 * values; longer blocks overwrite them with this block's own. count 0 writes
 * nothing. */
QXCALC_API void QXCALC_CALL qxcalcGetMinMaxAveRMS_double(const double* samples, uint32_t count,
                                                         double* minValue, double* maxValue,
                                                         double* sum, double* sumOfSquares,
                                                         double offset);
QXCALC_API void QXCALC_CALL qxcalcGetMinMaxAveRMS_float(const float* samples, uint32_t count,
                                                        float* minValue, float* maxValue,
                                                        double* sum, double* sumOfSquares,
                                                        float offset);
QXCALC_API void QXCALC_CALL qxcalcGetMinMaxAveRMS_int16_t(const int16_t* samples, uint32_t count,
                                                          int16_t* minValue, int16_t* maxValue,
                                                          double* sum, double* sumOfSquares,
                                                          float offset);
QXCALC_API void QXCALC_CALL qxcalcGetMinMaxAveRMS_int32_t(const int32_t* samples, uint32_t count,
                                                          int32_t* minValue, int32_t* maxValue,
                                                          double* sum, double* sumOfSquares,
                                                          double offset);

/* Copies source[i * stride] to destination[i] for i < count and gathers the
 * same statistics. With count >= 8 a stride <= 1 reads the source contiguously.
 * Source span and destination must be valid and must not overlap. */
QXCALC_API void QXCALC_CALL qxcalcMoveAndGetMinMaxAveRMS_int16_t(
    int16_t* destination, const int16_t* source, uint32_t count, int16_t* minValue,
    int16_t* maxValue, double* sum, double* sumOfSquares, float offset, int32_t stride);

/* ---- Vector scaling and integer width conversion ---------------------------
 * count 0 touches nothing; source and destination must not overlap. */

/* destination[i] = source[i], sign-extended (-1 stays -1), for i < count. */
QXCALC_API void QXCALC_CALL qxcalcConvertInt16ToInt32(const int16_t* source, int32_t* destination,
                                                      uint32_t count);
/* destination[i] = the low 16 bits of source[i]: wraps modulo 2^16 and never
 * saturates (70000 -> 4464, -40000 -> 25536). */
QXCALC_API void QXCALC_CALL qxcalcConvertInt32ToInt16(const int32_t* source, int16_t* destination,
                                                      uint32_t count);
/* samples[i] = factor * samples[i] in place, one rounding each; of two NaNs
 * the factor's payload survives. */
QXCALC_API void QXCALC_CALL qxcalcMultiplyVectorByScalar_double(double* samples, uint32_t count,
                                                                double factor);
QXCALC_API void QXCALC_CALL qxcalcMultiplyVectorByScalar_float(float* samples, uint32_t count,
                                                               float factor);

/* ---- Scaled channel values ------------------------------------------------
 * output[i] = converted rawData[i] * scale + offset for i < count: multiply,
 * then add, each rounded in the output's precision. Samples that precision
 * cannot hold (Int32, UInt32, Int64 into float; Int64 into double) are rounded
 * once, straight to it; the float forms scale Double samples in double and
 * round only the result. count <= 0 or a
 * sampleType above 8 writes nothing. In place only when the raw format equals
 * the output type. The _aligned_output forms require a 32-byte aligned output
 * and write the same bytes as their plain twins. */
QXCALC_API void QXCALC_CALL qxcalcChannelGetScaledValuesAtPos_double(
    const ChannelScaleParams_double* params);
QXCALC_API void QXCALC_CALL qxcalcChannelGetScaledValuesAtPos_double_aligned_output(
    const ChannelScaleParams_double* params);
QXCALC_API void QXCALC_CALL qxcalcChannelGetScaledValuesAtPos_float(
    const ChannelScaleParams_float* params);
QXCALC_API void QXCALC_CALL qxcalcChannelGetScaledValuesAtPos_float_aligned_output(
    const ChannelScaleParams_float* params);

/* ---- IIR, pink-noise and FIR filters --------------------------------------- */

/* Pushes one sample through the caller's cascade (in double) and returns the
 * last section's output; every section output is held within +/-1e10, a NaN one
 * stays NaN on general sections, becomes +1e10 on second-order ones. */
QXCALC_API float QXCALC_CALL qxcalcIIRFilter_float(IIRFilter* filter, float sample);
QXCALC_API double QXCALC_CALL qxcalcIIRFilter_double(IIRFilter* filter, double sample);
/* Turns one white-noise sample into one pink-noise sample with a fixed bank of
 * eight first-order sections whose state the caller keeps. */
QXCALC_API double QXCALC_CALL qxcalcPinkFilter_double(PinkFilterState* state, double white);
/* One FIR output: sum of taps[k] * history[(position + k) mod length] in
 * single precision, history[position] being the oldest sample of the ring.
 * Reads only; 0 <= position <= length; its rounding depends on the taps' address. */
QXCALC_API float QXCALC_CALL qxcalcFIRFilter_float(const float* history, const float* taps,
                                                   int32_t length, int32_t position);

/* ---- Cycle analysis ------------------------------------------------------- */

/* Centred moving average over w = windowLength | 1 samples, slid as ((m * w + entering) - leaving) / w;
 * the ends repeat the nearest mean. count < w writes nothing; input and output must not overlap.
 * The vector form slides five segments from fresh sums (last bits differ) when count >= 64 and
 * windowLength <= count / 32, else it runs _scalar. */
QXCALC_API void QXCALC_CALL qxcalcCACalcAveFilter_double(const double* input, double* output,
                                                         uint16_t windowLength, uint32_t count);
QXCALC_API void QXCALC_CALL qxcalcCACalcAveFilter_double_scalar(const double* input,
                                                                double* output,
                                                                uint16_t windowLength,
                                                                uint32_t count);
/* One FIR output: sum of float(samples[-i]) * coefficients[i * stride] for
 * i < count, samples pointing at the newest sample; single precision, 0.0 for
 * count 0. Reads only samples[1-count .. 0] and the coefficients used. */
QXCALC_API float QXCALC_CALL qxcalcCACalcFilter_float(const float* samples, uint32_t count,
                                                      const float* coefficients, uint32_t stride);
QXCALC_API float QXCALC_CALL qxcalcCACalcFilter_int16_t(const int16_t* samples, uint32_t count,
                                                        const float* coefficients,
                                                        uint32_t stride);
QXCALC_API float QXCALC_CALL qxcalcCACalcFilter_int32_t(const int32_t* samples, uint32_t count,
                                                        const float* coefficients,
                                                        uint32_t stride);
/* Pressure-volume axis positions: input[i] * scale + offset, rounded and clamped to [minValue,
 * maxValue]. Under 8 values halves round away from zero and maxValue wins a crossed range; from 8
 * on the caller's rounding mode applies (ties to even by default) and minValue wins. */
QXCALC_API void QXCALC_CALL qxcalcCAPV_lin(const float* input, uint32_t count, int32_t* output,
                                           int32_t minValue, int32_t maxValue, float scale,
                                           float offset);
/* The same on a logarithmic axis: fast log10(input[i] / reference) * scale +
 * offset, ratios floored at 1.0e-9 (nine decades; from 8 values on NaN too). */
QXCALC_API void QXCALC_CALL qxcalcCAPV_log(const float* input, uint32_t count, int32_t* output,
                                           int32_t minValue, int32_t maxValue, float scale,
                                           float offset, float reference);
/* channel[i - first] = raw[i] - offset for first <= i < end; reports the largest
 * value above 1.17549435e-38 and its raw index, or that value and 0xFFFFFFFF. */
QXCALC_API void QXCALC_CALL qxCalcCACopyRawDataToChannels(const float* raw, float* channel,
                                                          uint32_t first, uint32_t end,
                                                          float offset, float* maxValue,
                                                          uint32_t* maxIndex);
/* Narrows count doubles to floats at the start of the same buffer (16-byte aligned
 * from 4 values), in the current rounding mode; bytes after the floats are kept. */
QXCALC_API void QXCALC_CALL qxcalcCADoubleArrToSingleArrInplace(void* data, uint32_t count);
/* Widens count floats to doubles in the same buffer, 8 * count bytes long and
 * 32-byte aligned from 8 values; returns data. */
QXCALC_API double* QXCALC_CALL qxcalcCASingleArrToDoubleArrInplace(void* data, uint32_t count);
/* Folds a new cycle into the cumulative mean curve of end - first positions:
 * overall = (overall * cycleCount + cycle) / (cycleCount + 1), whole blocks
 * of 8 in double, the rest in float. *maxValue receives the curve's largest
 * value above 1.17549435e-38 (that value when none is larger). */
QXCALC_API void QXCALC_CALL qxCalcCAOverallPressure(const float* cycleValues,
                                                    float* overallValues, uint32_t first,
                                                    uint32_t end, uint64_t cycleCount,
                                                    float* maxValue);
/* Folds a new cycle into the running sum and mean over the last windowCycles
 * cycles, last - first + 1 positions: cycleCount 0 copies the cycle, below
 * windowCycles adds it, from then on adds it and subtracts leavingValues (the
 * cycle folded in windowCycles calls earlier). */
QXCALC_API void QXCALC_CALL qxCalcCARunningVal(const float* cycleValues,
                                               const float* leavingValues, float* sumValues,
                                               float* meanValues, uint32_t first, uint32_t last,
                                               uint64_t cycleCount, uint32_t windowCycles);

/* ---- Graph and cursor helpers --------------------------------------------- */

/* Maps one point (pointsLeft <= 3: +0.5 and truncation) or four (double lanes:
 * half to even) to pixels, positions limited to +-1e6 axis lengths and pixels
 * to -32768..32767; the paths differ in their log and dB domains on purpose.
 * Results and their count go through the record's pointers. */
QXCALC_API void QXCALC_CALL qxcalcGetXYValGraph2D(const GraphMapping* mapping);
/* Finds the pixel nearest to (cursorX, cursorY) whose colour is none of 0x000000,
 * 0x010000, 0x808080, 0x848284 and ignoredColour; row r starts r * (stride / 4)
 * pixels below `pixels`. Pixels after the last whole group of four report their
 * x within that tail; the 2nd and 4th pixel of a group score one column further
 * when the pixel before them lies right of a cursor at column >= 0. Outputs
 * keep their values if no pixel counts; height <= 0 returns at once. */
QXCALC_API void QXCALC_CALL qxcalcFindCursorXY(const uint32_t* pixels, int32_t stride,
                                               int32_t width, int32_t height, int32_t cursorX,
                                               int32_t cursorY, uint32_t* foundColour,
                                               int32_t* foundX, int32_t* foundY,
                                               uint32_t ignoredColour);

/* ---- CHS interpolator: streaming sample-rate conversion -------------------
 * Converts a float signal from inputRate to outputRate by Catmull-Rom cubic
 * interpolation; output sample j lies at input position j * inputRate /
 * outputRate. Input goes into a power-of-two ring, so streams may be of any
 * length. Create, then InterpolateValues any number of times, then optionally
 * Stop, then Reset (a new stream) or Destroy.
 * Output pointers handed out refer to the interpolator's own buffer and stay
 * valid until the next call on it. A failing call changes nothing, neither the
 * interpolator nor the caller's outputs. One thread at a time per object. */

/* Creates an interpolator. Needs params, positive rates (tested as 0 >= rate,
 * so a NaN rate passes) and a power-of-two ring of at least 2 samples (a
 * one-slot ring cannot interpolate: QxcalcStatusBadBufferSize). handleOut must be
 * valid; it is written only on success. */
QXCALC_API QxcalcStatus QXCALC_CALL qxcalcCHSInterpolator_Create(
    CHSInterpolator** handleOut, const CHSInterpolatorParams* params);
/* Releases the interpolator and its buffers, in either state. */
QXCALC_API QxcalcStatus QXCALC_CALL qxcalcCHSInterpolator_Destroy(CHSInterpolator* handle);
/* Feeds count samples (1 to ring length - 2; a 2-slot ring takes none) and
 * returns every output now computable (up to about the second-newest
 * sample; none until two samples have been fed). Blocks of at most ring
 * length - 3 give outputs that do not depend on how the stream is cut: a block
 * of length - 2 overwrites a point that the call's first outputs still read.
 * Checks in order: count 0 or NULL handle (1), count too large (2), stopped (3). */
QXCALC_API QxcalcStatus QXCALC_CALL qxcalcCHSInterpolator_InterpolateValues(
    CHSInterpolator* handle, const float* samples, uint32_t count, float** outputOut,
    uint32_t* outputCountOut);
/* Starts a new stream with the same rates and buffers, from either state. */
QXCALC_API QxcalcStatus QXCALC_CALL qxcalcCHSInterpolator_Reset(CHSInterpolator* handle);
/* Ends the stream: repeats the newest sample once and returns the outputs up
 * to the real last sample. Only once per stream (then 3). A 2-slot ring is
 * only marked stopped; its outputs are not written. */
QXCALC_API QxcalcStatus QXCALC_CALL qxcalcCHSInterpolator_Stop(CHSInterpolator* handle,
                                                              float** outputOut,
                                                              uint32_t* outputCountOut);

#ifdef __cplusplus
} /* extern "C" */
#endif

/* ---- The record layouts of 32-bit and 64-bit hosts, pinned ---------------- */
#if defined(__cplusplus)
#  define QXCALC_LAYOUT(cond) static_assert(cond, #cond)
#else
#  define QXCALC_LAYOUT(cond) _Static_assert(cond, #cond)
#endif
/* QXCALC_PTR: a pointer's size, 4 on 32-bit hosts and 8 on 64-bit Windows and Linux alike. */
#define QXCALC_PTR sizeof(void*)
QXCALC_LAYOUT(offsetof(ChannelScaleParams_double, scale) == 2 * QXCALC_PTR);
QXCALC_LAYOUT(offsetof(ChannelScaleParams_double, offset) == 2 * QXCALC_PTR + 8);
QXCALC_LAYOUT(offsetof(ChannelScaleParams_double, count) == 2 * QXCALC_PTR + 16);
QXCALC_LAYOUT(offsetof(ChannelScaleParams_double, sampleType) == 2 * QXCALC_PTR + 20);
QXCALC_LAYOUT(sizeof(ChannelScaleParams_double) == 2 * QXCALC_PTR + 24);
QXCALC_LAYOUT(offsetof(ChannelScaleParams_float, scale) == 2 * QXCALC_PTR);
QXCALC_LAYOUT(offsetof(ChannelScaleParams_float, sampleType) == 2 * QXCALC_PTR + 12);
QXCALC_LAYOUT(sizeof(ChannelScaleParams_float) == 2 * QXCALC_PTR + 16);
QXCALC_LAYOUT(sizeof(IIRBlock) == 32);
QXCALC_LAYOUT(offsetof(IIRFilter, reserved) == 12);
QXCALC_LAYOUT(offsetof(IIRFilter, gains) == 16);
QXCALC_LAYOUT(offsetof(IIRFilter, sections) == 16 + QXCALC_PTR);
QXCALC_LAYOUT(sizeof(IIRFilter) == 16 + 2 * QXCALC_PTR);
QXCALC_LAYOUT(sizeof(PinkFilterState) == 64);
QXCALC_LAYOUT(offsetof(GraphMapping, xSource) == 5);
QXCALC_LAYOUT(offsetof(GraphMapping, xAxisType) == 7);
QXCALC_LAYOUT(offsetof(GraphMapping, index) == 8);
QXCALC_LAYOUT(offsetof(GraphMapping, yAxisType) == 12);
QXCALC_LAYOUT(offsetof(GraphMapping, left) == 16);
QXCALC_LAYOUT(offsetof(GraphMapping, bottom) == 22);
QXCALC_LAYOUT(offsetof(GraphMapping, xScale) == 24);
QXCALC_LAYOUT(offsetof(GraphMapping, dbReference) == 120);
QXCALC_LAYOUT(offsetof(GraphMapping, ySamples) == 128);
QXCALC_LAYOUT(offsetof(GraphMapping, pointCountOut) == 128 + 4 * QXCALC_PTR);
QXCALC_LAYOUT(sizeof(GraphMapping) == 136 + 4 * QXCALC_PTR);
QXCALC_LAYOUT(offsetof(CHSInterpolatorParams, outputRate) == 8);
QXCALC_LAYOUT(offsetof(CHSInterpolatorParams, bufferLength) == 16);
QXCALC_LAYOUT(sizeof(CHSInterpolatorParams) == 24);
#undef QXCALC_PTR
#undef QXCALC_LAYOUT

#endif /* QXCALC_H */
