/*
 * qxcalc.hpp - C++20 layer over qxcalc.h, header only.
 *
 * Every function here is an inline call of one export, its arguments in the
 * export's order: blocks become std::span (the count is the span's size),
 * status codes become std::error_code, the interpolator handle becomes a
 * move-only owner, and block statistics get an accumulator that forms
 * average and RMS. Nothing is checked beyond what the exports check;
 * the preconditions of qxcalc.h hold unchanged (asserts state the size,
 * non-empty and alignment rules in debug builds). Per-sample filters, the IIR
 * and graph records and the version query are used as qxcalc.h declares them.
 * Results that carry a status are [[nodiscard]]: a dropped one warns.
 */
#ifndef QXCALC_HPP
#define QXCALC_HPP

#include <bit>
#include <cassert>
#include <cmath>
#include <cstdint>
#include <span>
#include <string>
#include <system_error>
#include <type_traits>

#include "qxcalc.h"

namespace qxcalc {

namespace detail {
// The exports count in unsigned 32 bits; a longer block would be cut short.
template <class T>
uint32_t count32(std::span<T> block) noexcept
{
    assert(block.size() <= UINT32_MAX);
    return static_cast<uint32_t>(block.size());
}
// Minimum and maximum of nothing are not defined: the exports read the first sample.
template <class T>
uint32_t nonEmptyCount32(std::span<T> block) noexcept
{
    assert(!block.empty());
    return count32(block);
}
// The _aligned_output exports store whole vectors at the output's address.
inline bool startsOn32Bytes(const void* p) noexcept
{
    return reinterpret_cast<uintptr_t>(p) % 32 == 0;
}
// The filters that read backwards take their newest sample: the block's last.
template <class T>
const T* newest(std::span<const T> samples) noexcept
{
    return samples.empty() ? samples.data() : &samples.back();
}
} // namespace detail

/* ---- Status codes ---------------------------------------------------------- */

enum class Status : QxcalcStatus {
    ok = QxcalcStatusOk,
    invalidArgument = QxcalcStatusInvalidArgument,
    tooManyValues = QxcalcStatusTooManyValues,
    stopped = QxcalcStatusStopped,
    badBufferSize = QxcalcStatusBadBufferSize
};

class StatusCategory final : public std::error_category {
public:
    const char* name() const noexcept override { return "qxcalc"; }
    std::string message(int code) const override
    {
        switch (static_cast<Status>(code)) {
        case Status::ok: return "success";
        case Status::invalidArgument: return "invalid argument: null handle or pointer, count 0 or a rate not above 0";
        case Status::tooManyValues: return "too many values: a block may hold at most the ring length minus 2 samples";
        case Status::stopped: return "the interpolator has been stopped; reset it to start a new stream";
        case Status::badBufferSize: return "bad buffer size: the ring length must be a power of two, at least 2";
        }
        return "unknown qxcalc status " + std::to_string(static_cast<QxcalcStatus>(code));
    }
};

inline const std::error_category& statusCategory() noexcept
{
    static const StatusCategory category;
    return category;
}

inline std::error_code make_error_code(Status status) noexcept
{
    return {static_cast<int>(status), statusCategory()};
}

} // namespace qxcalc

template <>
struct std::is_error_code_enum<qxcalc::Status> : std::true_type {};

namespace qxcalc {

/* ---- Raw sample formats ---------------------------------------------------- */

enum class RawSampleType : uint32_t {
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

/* ---- The exports of each sample type ----------------------------------------
 * Exports<T> is the one map from a C++ sample type T to the C exports: T's code
 * as a raw channel format and, for each family that has one export per sample
 * type, the export that works on T, as a pointer of the export's own type. A
 * family without an export for T is no member of Exports<T>, so its use does
 * not compile. The typed wrappers below call through it, and so may a host's
 * code that is generic over the sample type:
 *     qxcalc::Exports<T>::getMinMax(samples, count, &minValue, &maxValue);
 *
 * Member                           What it is, for which T
 * rawSampleType                    T's code as a raw channel format: the nine formats
 * getMinMax, getMinMaxAveRMS       block statistics of T samples: int16_t, int32_t, float, double
 * StatisticsOffset                 the type of getMinMaxAveRMS's offset: float for int16_t and float
 * multiplyVectorByScalar           T samples times a T factor: float, double
 * iirFilter                        one T sample through an IIR cascade: float, double
 * channelGetScaledValuesAtPos      raw samples of any format scaled into T values: float, double;
 * ...AlignedOutput                 the same into an output that starts on 32 bytes;
 * ChannelScaleParams               the record both read
 * caCalcFilter                     the CA dot-product filter over T samples: int16_t, int32_t, float
 * convertWidth                     T integers to the other width: int16_t widened, int32_t narrowed
 * caConvertInplace                 T values to the other precision in their own buffer: float widened,
 *                                  double narrowed
 */

namespace detail {
template <RawSampleType code>
struct RawFormat {
    static constexpr RawSampleType rawSampleType = code;
};
} // namespace detail

template <class T>
struct Exports {}; // not a sample type of the library

template <> struct Exports<uint8_t> : detail::RawFormat<RawSampleType::UInt8> {};
template <> struct Exports<int8_t> : detail::RawFormat<RawSampleType::Int8> {};
template <> struct Exports<uint16_t> : detail::RawFormat<RawSampleType::UInt16> {};
template <> struct Exports<int64_t> : detail::RawFormat<RawSampleType::Int64> {};
template <> struct Exports<uint32_t> : detail::RawFormat<RawSampleType::UInt32> {};

template <>
struct Exports<int16_t> : detail::RawFormat<RawSampleType::Int16> {
    static constexpr auto getMinMax = qxcalcGetMinMax_int16_t;
    static constexpr auto getMinMaxAveRMS = qxcalcGetMinMaxAveRMS_int16_t;
    using StatisticsOffset = float;
    static constexpr auto caCalcFilter = qxcalcCACalcFilter_int16_t;
    static constexpr auto convertWidth = qxcalcConvertInt16ToInt32;
};

template <>
struct Exports<int32_t> : detail::RawFormat<RawSampleType::Int32> {
    static constexpr auto getMinMax = qxcalcGetMinMax_int32_t;
    static constexpr auto getMinMaxAveRMS = qxcalcGetMinMaxAveRMS_int32_t;
    using StatisticsOffset = double;
    static constexpr auto caCalcFilter = qxcalcCACalcFilter_int32_t;
    static constexpr auto convertWidth = qxcalcConvertInt32ToInt16;
};

template <>
struct Exports<float> : detail::RawFormat<RawSampleType::Float> {
    static constexpr auto getMinMax = qxcalcGetMinMax_float;
    static constexpr auto getMinMaxAveRMS = qxcalcGetMinMaxAveRMS_float;
    using StatisticsOffset = float;
    static constexpr auto multiplyVectorByScalar = qxcalcMultiplyVectorByScalar_float;
    static constexpr auto iirFilter = qxcalcIIRFilter_float;
    static constexpr auto channelGetScaledValuesAtPos = qxcalcChannelGetScaledValuesAtPos_float;
    static constexpr auto channelGetScaledValuesAtPosAlignedOutput =
        qxcalcChannelGetScaledValuesAtPos_float_aligned_output;
    using ChannelScaleParams = ChannelScaleParams_float;
    static constexpr auto caCalcFilter = qxcalcCACalcFilter_float;
    static constexpr auto caConvertInplace = qxcalcCASingleArrToDoubleArrInplace;
};

template <>
struct Exports<double> : detail::RawFormat<RawSampleType::Double> {
    static constexpr auto getMinMax = qxcalcGetMinMax_double;
    static constexpr auto getMinMaxAveRMS = qxcalcGetMinMaxAveRMS_double;
    using StatisticsOffset = double;
    static constexpr auto multiplyVectorByScalar = qxcalcMultiplyVectorByScalar_double;
    static constexpr auto iirFilter = qxcalcIIRFilter_double;
    static constexpr auto channelGetScaledValuesAtPos = qxcalcChannelGetScaledValuesAtPos_double;
    static constexpr auto channelGetScaledValuesAtPosAlignedOutput =
        qxcalcChannelGetScaledValuesAtPos_double_aligned_output;
    using ChannelScaleParams = ChannelScaleParams_double;
    static constexpr auto caConvertInplace = qxcalcCADoubleArrToSingleArrInplace;
};

// The format code of a C++ sample type; other types do not compile.
template <class T>
constexpr RawSampleType rawSampleTypeOf() noexcept
{
    static_assert(requires { Exports<T>::rawSampleType; }, "not a raw sample format of the channel functions");
    return Exports<T>::rawSampleType;
}

/* ---- Minimum and maximum --------------------------------------------------- */

template <class T>
struct MinMax {
    T min;
    T max;
};

namespace detail {
template <class T>
MinMax<T> getMinMax(std::span<const T> samples) noexcept
{
    MinMax<T> r;
    Exports<T>::getMinMax(samples.data(), nonEmptyCount32(samples), &r.min, &r.max);
    return r;
}
} // namespace detail

// Requires a non-empty block. One overload a sample type, so that any contiguous block converts.
inline MinMax<double> getMinMax(std::span<const double> samples) noexcept { return detail::getMinMax(samples); }
inline MinMax<float> getMinMax(std::span<const float> samples) noexcept { return detail::getMinMax(samples); }
inline MinMax<int16_t> getMinMax(std::span<const int16_t> samples) noexcept { return detail::getMinMax(samples); }
inline MinMax<int32_t> getMinMax(std::span<const int32_t> samples) noexcept { return detail::getMinMax(samples); }

/* ---- Minimum, maximum, sum and sum of squares -------------------------------
 * The offset is a float for float and int16_t samples, a double for double
 * and int32_t samples, as the exports take it. */

template <class T>
using StatisticsOffset = typename Exports<T>::StatisticsOffset;

// T is the type of minValue and maxValue; any contiguous block of T converts to the span.
template <class T>
void getMinMaxAveRMS(std::type_identity_t<std::span<const T>> samples, T& minValue, T& maxValue, double& sum,
                     double& sumOfSquares, StatisticsOffset<T> offset) noexcept
{
    Exports<T>::getMinMaxAveRMS(samples.data(), detail::count32(samples), &minValue, &maxValue, &sum, &sumOfSquares,
                                offset);
}

// destination.size() samples, source[i * stride] to destination[i].
inline void moveAndGetMinMaxAveRMS(std::span<int16_t> destination, std::span<const int16_t> source,
                                   int16_t& minValue, int16_t& maxValue, double& sum, double& sumOfSquares,
                                   float offset, int32_t stride) noexcept
{
    qxcalcMoveAndGetMinMaxAveRMS_int16_t(destination.data(), source.data(), detail::count32(destination),
                                         &minValue, &maxValue, &sum, &sumOfSquares, offset, stride);
}

// Running statistics over a signal fed block by block: the library adds each
// block to the sums; count, average and RMS are formed here. The RMS is that
// of sample + offset (the offset moves the zero, e.g. to remove a known DC
// part); the average is that of the samples themselves. Minimum and maximum
// span every block fed. Average and RMS of nothing are NaN.
template <class T>
class RunningStatistics {
public:
    using Offset = StatisticsOffset<T>;

    explicit RunningStatistics(Offset offset = 0) noexcept : offset_(offset) {}

    void add(std::span<const T> block) noexcept
    {
        if (block.empty()) return;
        // Seeded with the block's first sample, both paths of the export give
        // this block's own minimum and maximum.
        MinMax<T> own{block[0], block[0]};
        getMinMaxAveRMS(block, own.min, own.max, sum_, sumOfSquares_, offset_);
        if (count_ == 0 || own.min < minMax_.min) minMax_.min = own.min;
        if (count_ == 0 || own.max > minMax_.max) minMax_.max = own.max;
        count_ += block.size();
    }

    uint64_t count() const noexcept { return count_; }
    double sum() const noexcept { return sum_; }
    double sumOfSquares() const noexcept { return sumOfSquares_; }
    Offset offset() const noexcept { return offset_; }
    // Valid once a sample has been fed.
    T minimum() const noexcept { return minMax_.min; }
    T maximum() const noexcept { return minMax_.max; }
    double average() const noexcept { return sum_ / static_cast<double>(count_); }
    double rms() const noexcept { return std::sqrt(sumOfSquares_ / static_cast<double>(count_)); }

private:
    Offset offset_;
    uint64_t count_ = 0;
    double sum_ = 0.0;
    double sumOfSquares_ = 0.0;
    MinMax<T> minMax_{};
};

/* ---- Vector scaling and integer width conversion ---------------------------
 * source.size() values; the destination holds at least as many. */

namespace detail {
template <class From, class To>
void convertWidth(std::span<const From> source, std::span<To> destination) noexcept
{
    assert(destination.size() >= source.size());
    Exports<From>::convertWidth(source.data(), destination.data(), count32(source));
}
template <class T>
void multiplyVectorByScalar(std::span<T> samples, T factor) noexcept
{
    Exports<T>::multiplyVectorByScalar(samples.data(), count32(samples), factor);
}
} // namespace detail

inline void convertInt16ToInt32(std::span<const int16_t> source, std::span<int32_t> destination) noexcept
{
    detail::convertWidth(source, destination);
}
inline void convertInt32ToInt16(std::span<const int32_t> source, std::span<int16_t> destination) noexcept
{
    detail::convertWidth(source, destination);
}
inline void multiplyVectorByScalar(std::span<double> samples, double factor) noexcept
{
    detail::multiplyVectorByScalar(samples, factor);
}
inline void multiplyVectorByScalar(std::span<float> samples, float factor) noexcept
{
    detail::multiplyVectorByScalar(samples, factor);
}

/* ---- Scaled channel values --------------------------------------------------
 * output[i] = raw[i] * scale + offset for i < output.size(). aligned32 picks
 * the _aligned_output export: the output must then start on 32 bytes. */

enum class OutputAlignment { any, aligned32 };

namespace detail {
template <class T>
void channelGetScaledValuesAtPos(RawSampleType type, const void* raw, std::span<T> output, T scale, T offset,
                                 OutputAlignment alignment) noexcept
{
    assert(output.size() <= INT32_MAX);
    assert(alignment == OutputAlignment::any || startsOn32Bytes(output.data()));
    const typename Exports<T>::ChannelScaleParams params{
        raw, output.data(), scale, offset, static_cast<int32_t>(output.size()), static_cast<uint32_t>(type)};
    if (alignment == OutputAlignment::aligned32) Exports<T>::channelGetScaledValuesAtPosAlignedOutput(&params);
    else Exports<T>::channelGetScaledValuesAtPos(&params);
}
} // namespace detail

inline void channelGetScaledValuesAtPos(RawSampleType type, const void* raw, std::span<double> output,
                                        double scale, double offset,
                                        OutputAlignment alignment = OutputAlignment::any) noexcept
{
    detail::channelGetScaledValuesAtPos(type, raw, output, scale, offset, alignment);
}
inline void channelGetScaledValuesAtPos(RawSampleType type, const void* raw, std::span<float> output, float scale,
                                        float offset, OutputAlignment alignment = OutputAlignment::any) noexcept
{
    detail::channelGetScaledValuesAtPos(type, raw, output, scale, offset, alignment);
}
// The format follows from the span's element type; raw.size() values.
template <class Raw, std::size_t RawExtent, class Out>
void channelGetScaledValuesAtPos(std::span<Raw, RawExtent> raw, std::span<Out> output, std::type_identity_t<Out> scale,
                                 std::type_identity_t<Out> offset,
                                 OutputAlignment alignment = OutputAlignment::any) noexcept
{
    assert(output.size() >= raw.size());
    channelGetScaledValuesAtPos(rawSampleTypeOf<std::remove_const_t<Raw>>(), raw.data(), output.first(raw.size()),
                                scale, offset, alignment);
}

/* ---- FIR filter -------------------------------------------------------------
 * history is the caller's ring, taps as many coefficients; position indexes the
 * oldest sample. */

inline float firFilter(std::span<const float> history, std::span<const float> taps, int32_t position) noexcept
{
    assert(history.size() == taps.size() && taps.size() <= INT32_MAX);
    return qxcalcFIRFilter_float(history.data(), taps.data(), static_cast<int32_t>(taps.size()), position);
}

/* ---- Cycle analysis ---------------------------------------------------------- */

// input.size() values; output holds at least as many.
inline void caCalcAveFilter(std::span<const double> input, std::span<double> output, uint16_t windowLength) noexcept
{
    assert(output.size() >= input.size());
    qxcalcCACalcAveFilter_double(input.data(), output.data(), windowLength, detail::count32(input));
}
inline void caCalcAveFilterScalar(std::span<const double> input, std::span<double> output,
                                  uint16_t windowLength) noexcept
{
    assert(output.size() >= input.size());
    qxcalcCACalcAveFilter_double_scalar(input.data(), output.data(), windowLength, detail::count32(input));
}

// samples run from the oldest to the newest; coefficient i * stride weighs the
// i-th newest sample.
namespace detail {
template <class T>
float caCalcFilter(std::span<const T> samples, std::span<const float> coefficients, uint32_t stride) noexcept
{
    return Exports<T>::caCalcFilter(newest(samples), count32(samples), coefficients.data(), stride);
}
} // namespace detail

inline float caCalcFilter(std::span<const float> samples, std::span<const float> coefficients,
                          uint32_t stride) noexcept
{
    return detail::caCalcFilter(samples, coefficients, stride);
}
inline float caCalcFilter(std::span<const int16_t> samples, std::span<const float> coefficients,
                          uint32_t stride) noexcept
{
    return detail::caCalcFilter(samples, coefficients, stride);
}
inline float caCalcFilter(std::span<const int32_t> samples, std::span<const float> coefficients,
                          uint32_t stride) noexcept
{
    return detail::caCalcFilter(samples, coefficients, stride);
}

// input.size() positions; output holds at least as many.
inline void caPVLin(std::span<const float> input, std::span<int32_t> output, int32_t minValue, int32_t maxValue,
                    float scale, float offset) noexcept
{
    assert(output.size() >= input.size());
    qxcalcCAPV_lin(input.data(), detail::count32(input), output.data(), minValue, maxValue, scale, offset);
}
inline void caPVLog(std::span<const float> input, std::span<int32_t> output, int32_t minValue, int32_t maxValue,
                    float scale, float offset, float reference) noexcept
{
    assert(output.size() >= input.size());
    qxcalcCAPV_log(input.data(), detail::count32(input), output.data(), minValue, maxValue, scale, offset,
                   reference);
}

// The largest copied value above 1.17549435e-38 and its raw index, or that
// value and 0xFFFFFFFF when none is larger.
struct Peak {
    float value;
    uint32_t index;
};
// Copies raw[first + k] - offset to channel[k] for k < channel.size().
inline Peak caCopyRawDataToChannels(std::span<const float> raw, uint32_t first, std::span<float> channel,
                                    float offset) noexcept
{
    assert(first <= raw.size() && channel.size() <= raw.size() - first);
    Peak peak;
    qxCalcCACopyRawDataToChannels(raw.data(), channel.data(), first, first + detail::count32(channel), offset,
                                  &peak.value, &peak.index);
    return peak;
}

// Narrows the doubles to floats at the start of the same buffer; returns them.
inline std::span<float> caDoubleArrToSingleArrInplace(std::span<double> data) noexcept
{
    qxcalcCADoubleArrToSingleArrInplace(data.data(), detail::count32(data));
    return {reinterpret_cast<float*>(data.data()), data.size()};
}
// buffer.size() floats at the start of the buffer become its doubles.
inline std::span<double> caSingleArrToDoubleArrInplace(std::span<double> buffer) noexcept
{
    return {qxcalcCASingleArrToDoubleArrInplace(buffer.data(), detail::count32(buffer)), buffer.size()};
}

// Folds the cycle into the overall mean curve (overall.size() positions);
// returns the curve's largest value.
inline float caOverallPressure(std::span<const float> cycle, std::span<float> overall, uint64_t cycleCount) noexcept
{
    assert(cycle.size() >= overall.size());
    float maxValue;
    qxCalcCAOverallPressure(cycle.data(), overall.data(), 0, detail::count32(overall), cycleCount, &maxValue);
    return maxValue;
}
// Folds the cycle into the windowed sums and means (sums.size() positions).
inline void caRunningVal(std::span<const float> cycle, std::span<const float> leaving, std::span<float> sums,
                         std::span<float> means, uint64_t cycleCount, uint32_t windowCycles) noexcept
{
    assert(cycle.size() >= sums.size() && leaving.size() >= sums.size() && means.size() >= sums.size());
    // The export counts last - first + 1 positions: last wraps to all ones for none.
    qxCalcCARunningVal(cycle.data(), leaving.data(), sums.data(), means.data(), 0, detail::count32(sums) - 1u,
                       cycleCount, windowCycles);
}

/* ---- CHS interpolator --------------------------------------------------------
 * Owns one interpolator: released when the owner is destroyed or assigned to.
 * Moving leaves the source empty; calls on an empty owner fail with
 * invalidArgument.
 * Blocks of up to ring length - 3 samples give the same outputs however the
 * stream is cut (a block of length - 2 is accepted, but overwrites the oldest
 * point that the first outputs of the call still read); createForBlocks sizes
 * the ring so. An output's position is summed from where its call started,
 * so with some rate pairs a different cut moves it by one rounding step: about
 * one output in 500 then differs in its last bit (44.1 kHz to 48 kHz). */

class Interpolator {
public:
    // The output span points into the interpolator's own buffer: it stays valid
    // until the next call on the same interpolator (interpolate, stop, reset),
    // its move or its destruction. Copy what must live longer.
    struct [[nodiscard]] Result {
        std::span<const float> output; // empty on failure
        std::error_code error;
    };

    Interpolator() noexcept = default;
    // An empty owner and the reason when the rates or the ring length are refused.
    [[nodiscard]] static Interpolator create(double inputRate, double outputRate, uint32_t bufferLength,
                                             std::error_code& error) noexcept
    {
        const CHSInterpolatorParams params{inputRate, outputRate, bufferLength};
        Interpolator owner;
        error = static_cast<Status>(qxcalcCHSInterpolator_Create(&owner.handle_, &params));
        return owner;
    }
    // An interpolator for blocks of 1 to largestBlock samples, with the smallest
    // ring that keeps its outputs independent of how the stream is cut: the
    // power of two of at least largestBlock + 3. More than 2^31 - 3 samples a
    // block is refused with badBufferSize.
    [[nodiscard]] static Interpolator createForBlocks(double inputRate, double outputRate, uint32_t largestBlock,
                                                      std::error_code& error) noexcept
    {
        const uint64_t ringLength = std::bit_ceil(uint64_t{largestBlock} + 3);
        if (ringLength > UINT32_MAX) {
            error = Status::badBufferSize;
            return {};
        }
        return create(inputRate, outputRate, static_cast<uint32_t>(ringLength), error);
    }

    Interpolator(Interpolator&& other) noexcept : handle_(other.handle_) { other.handle_ = nullptr; }
    Interpolator& operator=(Interpolator&& other) noexcept
    {
        if (this != &other) {
            release();
            handle_ = other.handle_;
            other.handle_ = nullptr;
        }
        return *this;
    }
    Interpolator(const Interpolator&) = delete;
    Interpolator& operator=(const Interpolator&) = delete;
    ~Interpolator() { release(); }

    explicit operator bool() const noexcept { return handle_ != nullptr; }
    CHSInterpolator* handle() const noexcept { return handle_; }

    // Feeds 1 to ring length - 2 samples (see above for length - 3); returns
    // every output now computable.
    Result interpolate(std::span<const float> samples) noexcept
    {
        float* output = nullptr;
        uint32_t count = 0;
        const Status status = static_cast<Status>(qxcalcCHSInterpolator_InterpolateValues(
            handle_, samples.data(), detail::count32(samples), &output, &count));
        return {{output, count}, status};
    }
    // Ends the stream with the outputs up to its last sample (none on a 2-slot ring).
    Result stop() noexcept
    {
        float* output = nullptr;
        uint32_t count = 0;
        const Status status = static_cast<Status>(qxcalcCHSInterpolator_Stop(handle_, &output, &count));
        return {{output, count}, status};
    }
    // Starts a new stream with the same rates and ring.
    [[nodiscard]] std::error_code reset() noexcept
    {
        return static_cast<Status>(qxcalcCHSInterpolator_Reset(handle_));
    }

private:
    void release() noexcept
    {
        if (handle_ != nullptr) qxcalcCHSInterpolator_Destroy(handle_);
        handle_ = nullptr;
    }

    CHSInterpolator* handle_ = nullptr;
};

} // namespace qxcalc

#endif /* QXCALC_HPP */
