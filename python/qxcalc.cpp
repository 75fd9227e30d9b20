// The qxcalc Python module: the library's block functions over NumPy arrays.
//
// The exports trust their caller for pointers, counts and alignment; this
// layer is that careful caller. Every array is checked for its exact dtype
// (TypeError), one dimension, C order, natural alignment and a usable length
// (ValueError) before its pointer reaches the library, and every result is a
// new array that the module allocates, so a Python mistake never reaches
// memory the library should not touch.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <qxcalc.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace py = pybind11;

namespace {

using Npy = py::detail::npy_api;

template <class T> std::string dtypeName() { return py::str(py::dtype::of<T>()); }

std::string dtypeOf(const py::array& a) { return py::str(a.dtype()); }

[[noreturn]] void valueError(const char* name, const std::string& what)
{
    throw py::value_error(std::string(name) + ": " + what);
}

// The array's first element, once the array is exactly what the library will
// read: dtype T (byte order included), `dims` dimensions, C order, aligned.
template <class T> T* elements(const py::array& a, const char* name, bool written = false,
                               py::ssize_t dims = 1)
{
    if (!py::isinstance<py::array_t<T>>(a))
        throw py::type_error(std::string(name) + ": expected dtype " + dtypeName<T>() + ", got " +
                             dtypeOf(a));
    if (a.ndim() != dims)
        valueError(name, "expected " + std::to_string(dims) + " dimension(s), got " +
                             std::to_string(a.ndim()));
    if (!(a.flags() & Npy::NPY_ARRAY_C_CONTIGUOUS_))
        valueError(name, "the array is not contiguous; pass numpy.ascontiguousarray(...)");
    if (!(a.flags() & Npy::NPY_ARRAY_ALIGNED_))
        valueError(name, "the array's data is not aligned to its element size");
    if (written && !a.writeable())
        valueError(name, "the array is read-only but receives results");
    return static_cast<T*>(const_cast<void*>(a.data()));
}

// Element count as the library's count argument (unsigned 32-bit unless Limit says less).
template <class Limit = uint32_t> Limit countOf(const py::array& a, const char* name,
                                                py::ssize_t atLeast = 0)
{
    const py::ssize_t n = a.size();
    if (n < atLeast)
        valueError(name, "needs at least " + std::to_string(atLeast) + " element(s), got " +
                             std::to_string(n));
    if (n > static_cast<py::ssize_t>(std::numeric_limits<Limit>::max()))
        valueError(name, "too many elements for one call");
    return static_cast<Limit>(n);
}

template <class... Ts> std::string dtypeNames()
{
    std::string names;
    ((names += (names.empty() ? "" : " or ") + dtypeName<Ts>()), ...);
    return names;
}

// Calls f(T{}) for the first of Ts that is the array's dtype.
template <class... Ts, class F> py::object byType(const py::array& a, const char* name, F&& f)
{
    py::object result;
    if (!((py::isinstance<py::array_t<Ts>>(a) && (result = f(Ts{}), true)) || ...))
        throw py::type_error(std::string(name) + ": expected dtype " + dtypeNames<Ts...>() +
                             ", got " + dtypeOf(a));
    return result;
}

template <class T> py::array_t<T> fresh(size_t n) { return py::array_t<T>(static_cast<py::ssize_t>(n)); }

// ---- Per-type tables of exports ---------------------------------------------

template <class T> struct Stats;
template <> struct Stats<double> {
    static constexpr auto minMax = qxcalcGetMinMax_double;
    static constexpr auto withSums = qxcalcGetMinMaxAveRMS_double;
    using Offset = double;
};
template <> struct Stats<float> {
    static constexpr auto minMax = qxcalcGetMinMax_float;
    static constexpr auto withSums = qxcalcGetMinMaxAveRMS_float;
    using Offset = float;
};
template <> struct Stats<int16_t> {
    static constexpr auto minMax = qxcalcGetMinMax_int16_t;
    static constexpr auto withSums = qxcalcGetMinMaxAveRMS_int16_t;
    using Offset = float;
};
template <> struct Stats<int32_t> {
    static constexpr auto minMax = qxcalcGetMinMax_int32_t;
    static constexpr auto withSums = qxcalcGetMinMaxAveRMS_int32_t;
    using Offset = double;
};

template <class T> struct Floating;
template <> struct Floating<double> {
    static constexpr auto multiply = qxcalcMultiplyVectorByScalar_double;
    static constexpr auto iir = qxcalcIIRFilter_double;
    static constexpr auto scale = qxcalcChannelGetScaledValuesAtPos_double;
    using ScaleParams = ChannelScaleParams_double;
};
template <> struct Floating<float> {
    static constexpr auto multiply = qxcalcMultiplyVectorByScalar_float;
    static constexpr auto iir = qxcalcIIRFilter_float;
    static constexpr auto scale = qxcalcChannelGetScaledValuesAtPos_float;
    using ScaleParams = ChannelScaleParams_float;
};

template <class T> constexpr auto caFilter = nullptr;
template <> constexpr auto caFilter<float> = qxcalcCACalcFilter_float;
template <> constexpr auto caFilter<int16_t> = qxcalcCACalcFilter_int16_t;
template <> constexpr auto caFilter<int32_t> = qxcalcCACalcFilter_int32_t;

// Raw sample codes of the channel functions, in the library's fixed numbering.
template <class T> constexpr RawSampleType rawCode;
template <> constexpr RawSampleType rawCode<uint8_t> = UInt8;
template <> constexpr RawSampleType rawCode<int8_t> = Int8;
template <> constexpr RawSampleType rawCode<int16_t> = Int16;
template <> constexpr RawSampleType rawCode<uint16_t> = UInt16;
template <> constexpr RawSampleType rawCode<int32_t> = Int32;
template <> constexpr RawSampleType rawCode<float> = Float;
template <> constexpr RawSampleType rawCode<int64_t> = Int64;
template <> constexpr RawSampleType rawCode<double> = Double;
template <> constexpr RawSampleType rawCode<uint32_t> = UInt32;

// ---- Statistics ---------------------------------------------------------------

py::object minMax(const py::array& samples)
{
    return byType<double, float, int16_t, int32_t>(samples, "samples", [&](auto tag) {
        using T = decltype(tag);
        T lo{}, hi{};
        Stats<T>::minMax(elements<T>(samples, "samples"), countOf(samples, "samples", 1), &lo, &hi);
        return py::make_tuple(lo, hi);
    });
}

// Minimum, maximum, sum and sum of (sample + offset)^2. The extremes start from
// the first sample, so short and long blocks report the block's own; the sums
// continue from the values passed in, for feeding a stream block by block.
py::object statistics(const py::array& samples, double offset, double sum, double sumOfSquares)
{
    return byType<double, float, int16_t, int32_t>(samples, "samples", [&](auto tag) {
        using T = decltype(tag);
        const T* data = elements<T>(samples, "samples");
        const uint32_t n = countOf(samples, "samples", 1);
        T lo = data[0], hi = lo;
        Stats<T>::withSums(data, n, &lo, &hi, &sum, &sumOfSquares,
                           static_cast<typename Stats<T>::Offset>(offset));
        return py::make_tuple(lo, hi, sum, sumOfSquares);
    });
}

// Every stride-th sample of an int16 source (one channel of interleaved data)
// copied out, with the same statistics.
py::tuple moveStatistics(const py::array& source, int32_t stride, float offset)
{
    const int16_t* data = elements<int16_t>(source, "source");
    if (stride < 1) valueError("stride", "must be at least 1, got " + std::to_string(stride));
    const uint32_t count = (countOf(source, "source", 1) - 1) / stride + 1;
    auto destination = fresh<int16_t>(count);
    int16_t lo = data[0], hi = lo;
    double sum = 0.0, sumOfSquares = 0.0;
    qxcalcMoveAndGetMinMaxAveRMS_int16_t(destination.mutable_data(), data, count, &lo, &hi, &sum,
                                         &sumOfSquares, offset, stride);
    return py::make_tuple(destination, lo, hi, sum, sumOfSquares);
}

// ---- Conversions --------------------------------------------------------------

template <class From, class To, auto convert> py::array_t<To> convertWidth(const py::array& source)
{
    const From* data = elements<From>(source, "source");
    auto out = fresh<To>(countOf(source, "source"));
    convert(data, out.mutable_data(), countOf(source, "source"));
    return out;
}

py::object multiply(const py::array& samples, double factor)
{
    return byType<double, float>(samples, "samples", [&](auto tag) {
        using T = decltype(tag);
        const T* data = elements<T>(samples, "samples");
        const uint32_t n = countOf(samples, "samples");
        auto out = fresh<T>(n);
        std::memcpy(out.mutable_data(), data, n * sizeof(T));
        Floating<T>::multiply(out.mutable_data(), n, static_cast<T>(factor));
        return out;
    });
}

// The in-place precision conversions need a buffer of 8 bytes per value,
// 32-byte aligned; the module provides it and hands back a NumPy copy.
template <class From, class To, auto convert> py::array_t<To> convertInPlace(const py::array& source)
{
    const From* data = elements<From>(source, "source");
    const uint32_t n = countOf(source, "source");
    std::unique_ptr<void, decltype(&std::free)> buffer(
        std::aligned_alloc(32, (size_t{n} + 4) / 4 * 32), &std::free);
    if (!buffer) throw std::bad_alloc();
    std::memcpy(buffer.get(), data, n * sizeof(From));
    convert(buffer.get(), n);
    auto out = fresh<To>(n);
    std::memcpy(out.mutable_data(), buffer.get(), n * sizeof(To));
    return out;
}
void narrow(void* data, uint32_t n) { qxcalcCADoubleArrToSingleArrInplace(data, n); }
void widen(void* data, uint32_t n) { qxcalcCASingleArrToDoubleArrInplace(data, n); }

// ---- Channel scaling ------------------------------------------------------------

// raw * scale + offset for any of the nine raw formats, into float64 or float32.
py::object scaleChannel(const py::array& raw, double scale, double offset, const py::object& dtype)
{
    const py::dtype out = py::dtype::from_args(dtype);
    const bool toDouble = out.equal(py::dtype::of<double>());
    if (!toDouble && !out.equal(py::dtype::of<float>()))
        throw py::type_error("dtype: expected float64 or float32, got " + std::string(py::str(py::object(out))));
    return byType<uint8_t, int8_t, int16_t, uint16_t, int32_t, float, int64_t, double, uint32_t>(
        raw, "raw", [&](auto tag) -> py::object {
            using Raw = decltype(tag);
            const Raw* data = elements<Raw>(raw, "raw");
            const int32_t n = countOf<int32_t>(raw, "raw");
            auto run = [&](auto outTag) {
                using T = decltype(outTag);
                auto values = fresh<T>(n);
                typename Floating<T>::ScaleParams params{};
                params.rawData = data;
                params.output = values.mutable_data();
                params.scale = static_cast<T>(scale);
                params.offset = static_cast<T>(offset);
                params.count = n;
                params.sampleType = rawCode<Raw>;
                Floating<T>::scale(&params);
                return values;
            };
            return toDouble ? py::object(run(double{})) : py::object(run(float{}));
        });
}

// ---- Filters ----------------------------------------------------------------------

static_assert(__STDCPP_DEFAULT_NEW_ALIGNMENT__ >= 16, "IIR sections need 16-byte alignment");

// An IIR cascade: gains[s] and coefficients b[s, k], a[s, k] with block k = 0
// the oldest sample. Three blocks per section run as second-order sections.
class Iir {
public:
    Iir(const py::array& gains, const py::array& b, const py::array& a)
    {
        const double* g = elements<double>(gains, "gains");
        const double* bs = elements<double>(b, "b", false, 2);
        const double* as = elements<double>(a, "a", false, 2);
        if (b.shape(0) != a.shape(0) || b.shape(1) != a.shape(1))
            valueError("a", "must have the shape of b");
        if (b.shape(0) != gains.size() || b.shape(0) < 1 || b.shape(1) < 2)
            valueError("b", "needs one row per gain and at least two blocks per row");
        gains_.assign(g, g + gains.size());
        for (py::ssize_t i = 0; i < b.size(); ++i) blocks_.push_back({0.0, 0.0, bs[i], as[i]});
        const auto perSection = static_cast<int32_t>(b.shape(1));
        filter_ = {perSection, static_cast<int32_t>(gains.size()), perSection - 1, 0,
                   gains_.data(), blocks_.data()};
    }
    py::object operator()(const py::array& samples)
    {
        return byType<double, float>(samples, "samples", [&](auto tag) {
            using T = decltype(tag);
            const T* in = elements<T>(samples, "samples");
            auto out = fresh<T>(samples.size());
            for (py::ssize_t i = 0; i < samples.size(); ++i)
                out.mutable_data()[i] = Floating<T>::iir(&filter_, in[i]);
            return out;
        });
    }
    void reset()
    {
        for (IIRBlock& block : blocks_) block.x = block.y = 0.0;
    }

private:
    std::vector<double> gains_;
    std::vector<IIRBlock> blocks_;
    IIRFilter filter_{};
};

class Pink {
public:
    py::array_t<double> operator()(const py::array& white)
    {
        const double* in = elements<double>(white, "white");
        auto out = fresh<double>(white.size());
        for (py::ssize_t i = 0; i < white.size(); ++i)
            out.mutable_data()[i] = qxcalcPinkFilter_double(&state_, in[i]);
        return out;
    }
    void reset() { state_ = {}; }

private:
    PinkFilterState state_{};
};

float fir(const py::array& history, const py::array& taps, int32_t position)
{
    const float* h = elements<float>(history, "history");
    const float* t = elements<float>(taps, "taps");
    const int32_t length = countOf<int32_t>(history, "history", 1);
    if (taps.size() != length) valueError("taps", "must be as long as history");
    if (position < 0 || position > length)
        valueError("position", "must lie in 0.." + std::to_string(length));
    return qxcalcFIRFilter_float(h, t, length, position);
}

// ---- Cycle analysis -----------------------------------------------------------------

py::array_t<double> movingAverage(const py::array& input, int windowLength, bool scalar)
{
    const double* in = elements<double>(input, "input");
    if (windowLength < 0 || windowLength > 0xFFFF)
        valueError("window_length", "must lie in 0..65535");
    const uint32_t n = countOf(input, "input", windowLength | 1);
    auto out = fresh<double>(n);
    (scalar ? qxcalcCACalcAveFilter_double_scalar : qxcalcCACalcAveFilter_double)(
        in, out.mutable_data(), static_cast<uint16_t>(windowLength), n);
    return out;
}

// Dot product of the signal read backwards from its last (newest) sample with
// coefficients[0], coefficients[stride], ...
py::object caFilterOf(const py::array& samples, const py::array& coefficients, uint32_t stride)
{
    const float* c = elements<float>(coefficients, "coefficients");
    return byType<float, int16_t, int32_t>(samples, "samples", [&](auto tag) {
        using T = decltype(tag);
        const T* s = elements<T>(samples, "samples");
        const uint32_t n = countOf(samples, "samples");
        if (n > 0 && uint64_t(n - 1) * stride >= uint64_t(coefficients.size()))
            valueError("coefficients", "needs (len(samples) - 1) * stride + 1 elements");
        return py::float_(caFilter<T>(n ? s + (n - 1) : s, n, c, stride));
    });
}

py::array_t<int32_t> pvPositions(const py::array& input, int32_t minValue, int32_t maxValue,
                                 float scale, float offset, py::object reference)
{
    const float* in = elements<float>(input, "input");
    const uint32_t n = countOf(input, "input");
    auto out = fresh<int32_t>(n);
    if (reference.is_none())
        qxcalcCAPV_lin(in, n, out.mutable_data(), minValue, maxValue, scale, offset);
    else
        qxcalcCAPV_log(in, n, out.mutable_data(), minValue, maxValue, scale, offset,
                       reference.cast<float>());
    return out;
}

py::tuple copyRawToChannel(const py::array& raw, uint32_t first, uint32_t end, float offset)
{
    const float* in = elements<float>(raw, "raw");
    if (first > end || end > uint64_t(raw.size()))
        valueError("end", "needs first <= end <= len(raw)");
    auto channel = fresh<float>(end - first);
    float maxValue = 0.0f;
    uint32_t maxIndex = 0;
    qxCalcCACopyRawDataToChannels(in, channel.mutable_data(), first, end, offset, &maxValue,
                                  &maxIndex);
    return py::make_tuple(channel, maxValue,
                          maxIndex == 0xFFFFFFFFu ? py::object(py::none()) : py::int_(maxIndex));
}

template <class... Arrays> uint32_t sameLength(const py::array& first, const Arrays&... rest)
{
    if (((rest.size() != first.size()) || ...)) valueError("cycle", "all curves must be equally long");
    return countOf(first, "cycle");
}

// Folds the cycle into the overall mean curve (in place); returns the curve's maximum.
float overallPressure(const py::array& cycle, const py::array& overall, uint64_t cycleCount)
{
    const uint32_t n = sameLength(cycle, overall);
    float maxValue = 0.0f;
    qxCalcCAOverallPressure(elements<float>(cycle, "cycle"), elements<float>(overall, "overall", true),
                            0, n, cycleCount, &maxValue);
    return maxValue;
}

// Folds the cycle into the windowed sums (in place) and writes the means.
void runningValue(const py::array& cycle, const py::array& leaving, const py::array& sums,
                  const py::array& means, uint64_t cycleCount, uint32_t windowCycles)
{
    const uint32_t n = sameLength(cycle, leaving, sums, means);
    const float* in = elements<float>(cycle, "cycle");
    const float* out = elements<float>(leaving, "leaving");
    float* sum = elements<float>(sums, "sums", true);
    float* mean = elements<float>(means, "means", true);
    // The last position is inclusive: an empty curve has no last position to pass.
    if (n > 0) qxCalcCARunningVal(in, out, sum, mean, 0, n - 1, cycleCount, windowCycles);
}

// ---- Interpolator ---------------------------------------------------------------------

void check(QxcalcStatus status)
{
    switch (status) {
    case StatusOk: return;
    case StatusInvalidArgument: throw py::value_error("rates must be positive");
    case StatusTooManyValues: throw py::value_error("block longer than the ring length minus 2");
    case StatusStopped: throw std::runtime_error("the interpolator is stopped; reset() starts a new stream");
    case StatusBadBufferSize: throw py::value_error("buffer_length must be a power of two, at least 2");
    default: throw std::runtime_error("unexpected status " + std::to_string(status));
    }
}

class Interpolator {
public:
    Interpolator(double inputRate, double outputRate, uint32_t bufferLength)
    {
        // The library sizes its output buffer from the rates without checking
        // them: a NaN, infinite or extreme ratio is refused here.
        const double outputsPerRing = (bufferLength + 1.0) * (outputRate / inputRate);
        if (!(inputRate > 0 && outputRate > 0 && std::isfinite(inputRate) &&
              std::isfinite(outputRate) && outputsPerRing < 2147483648.0))
            throw py::value_error("rates must be positive, finite and give fewer than 2^31 outputs per ring");
        const CHSInterpolatorParams params{inputRate, outputRate, bufferLength};
        check(qxcalcCHSInterpolator_Create(&handle_, &params));
        // The ring takes blocks of up to its length - 2, but the next output
        // still reads the point three samples behind the newest: blocks of
        // length - 3 keep it. A block of c samples gives up to c * ratio + 1
        // outputs, which the output buffer of (length + 1) * ratio must hold.
        const double fitsOutput = std::floor(bufferLength + 1.0 - inputRate / outputRate);
        const double limit = std::min(std::max(bufferLength - 3.0, 1.0), fitsOutput);
        if (limit < 1) {
            close();
            throw py::value_error("buffer_length is too short for this rate ratio");
        }
        blockLimit_ = static_cast<uint32_t>(limit);
    }
    Interpolator(const Interpolator&) = delete;
    Interpolator& operator=(const Interpolator&) = delete;
    ~Interpolator() { close(); }

    // Feeds samples of any length and returns every output now computable.
    py::array_t<float> process(const py::array& samples)
    {
        const float* in = elements<float>(samples, "samples");
        std::vector<float> collected;
        for (py::ssize_t done = 0; done < samples.size();) {
            const auto count = static_cast<uint32_t>(std::min<py::ssize_t>(blockLimit_, samples.size() - done));
            collect(collected, [&](float** out, uint32_t* n) {
                return qxcalcCHSInterpolator_InterpolateValues(live(), in + done, count, out, n);
            });
            done += count;
        }
        return py::array_t<float>(collected.size(), collected.data());
    }
    py::array_t<float> stop()
    {
        std::vector<float> collected;
        collect(collected, [&](float** out, uint32_t* n) { return qxcalcCHSInterpolator_Stop(live(), out, n); });
        return py::array_t<float>(collected.size(), collected.data());
    }
    void reset() { check(qxcalcCHSInterpolator_Reset(live())); }
    void close()
    {
        if (handle_) qxcalcCHSInterpolator_Destroy(handle_);
        handle_ = nullptr;
    }

private:
    CHSInterpolator* live()
    {
        if (!handle_) throw py::value_error("the interpolator is closed");
        return handle_;
    }
    // The library's output buffer is valid until the next call: copy it out.
    template <class Call> void collect(std::vector<float>& to, Call&& call)
    {
        float* out = nullptr;
        uint32_t n = 0;
        check(call(&out, &n));
        to.insert(to.end(), out, out + n);
    }

    CHSInterpolator* handle_ = nullptr;
    uint32_t blockLimit_ = 1;
};

} // namespace

PYBIND11_MODULE(qxcalc, m)
{
    using namespace pybind11::literals;
    m.doc() = "NumPy bindings of the qxcalc-avx numeric library";

    m.def("version", [] {
        int32_t major = 0, minor = 0, above = 0;
        qxcalcGetVersion(&major, &minor, 0, &above);
        return py::make_tuple(major, minor);
    }, "(major, minor) of the library");

    m.def("min_max", &minMax, "samples"_a, "(min, max) of a float64/float32/int16/int32 block");
    m.def("statistics", &statistics, "samples"_a, "offset"_a = 0.0, "sum"_a = 0.0,
          "sum_of_squares"_a = 0.0,
          "(min, max, sum, sum of (x + offset)^2); the sums continue from those given");
    m.def("move_statistics", &moveStatistics, "source"_a, "stride"_a = 1, "offset"_a = 0.0f,
          "(source[::stride] as int16, min, max, sum, sum of squares)");

    m.def("int16_to_int32", &convertWidth<int16_t, int32_t, qxcalcConvertInt16ToInt32>, "source"_a);
    m.def("int32_to_int16", &convertWidth<int32_t, int16_t, qxcalcConvertInt32ToInt16>, "source"_a,
          "low 16 bits of each value (wraps, never saturates)");
    m.def("multiply", &multiply, "samples"_a, "factor"_a, "samples * factor, a new array");
    m.def("double_to_single", &convertInPlace<double, float, narrow>, "source"_a);
    m.def("single_to_double", &convertInPlace<float, double, widen>, "source"_a);

    m.def("scale_channel", &scaleChannel, "raw"_a, "scale"_a, "offset"_a, "dtype"_a = "float64",
          "raw * scale + offset for any of the nine raw formats, as float64 or float32");

    py::class_<Iir>(m, "IIRFilter", "cascade of IIR sections; b, a: (sections, blocks), oldest block first")
        .def(py::init<const py::array&, const py::array&, const py::array&>(), "gains"_a, "b"_a, "a"_a)
        .def("__call__", &Iir::operator(), "samples"_a)
        .def("reset", &Iir::reset, "clears the history for a new stream");
    py::class_<Pink>(m, "PinkFilter", "white to pink noise, one sample at a time")
        .def(py::init<>())
        .def("__call__", &Pink::operator(), "white"_a)
        .def("reset", &Pink::reset);
    m.def("fir", &fir, "history"_a, "taps"_a, "position"_a = 0,
          "sum of taps[k] * history[(position + k) % len(history)] in float32");

    m.def("moving_average", &movingAverage, "input"_a, "window_length"_a, "scalar"_a = false,
          "centred moving average over window_length | 1 samples");
    m.def("ca_filter", &caFilterOf, "samples"_a, "coefficients"_a, "stride"_a = 1,
          "sum of samples[-1 - i] * coefficients[i * stride]");
    m.def("pv_positions", &pvPositions, "input"_a, "min_value"_a, "max_value"_a, "scale"_a,
          "offset"_a, "reference"_a = py::none(),
          "axis positions, linear or (with a reference) logarithmic, clamped to the range");
    m.def("copy_raw_to_channel", &copyRawToChannel, "raw"_a, "first"_a, "end"_a, "offset"_a,
          "(raw[first:end] - offset, its maximum, the maximum's raw index or None)");
    m.def("overall_pressure", &overallPressure, "cycle"_a, "overall"_a, "cycle_count"_a);
    m.def("running_value", &runningValue, "cycle"_a, "leaving"_a, "sums"_a, "means"_a,
          "cycle_count"_a, "window_cycles"_a);

    py::class_<Interpolator>(m, "Interpolator",
                             "streaming float32 sample-rate converter; when output_rate is below "
                             "input_rate the last outputs of a call read ahead of the newest "
                             "sample, so they depend on how the stream is cut into calls")
        .def(py::init<double, double, uint32_t>(), "input_rate"_a, "output_rate"_a,
             "buffer_length"_a = 4096)
        .def("process", &Interpolator::process, "samples"_a)
        .def("stop", &Interpolator::stop, "ends the stream; returns the last outputs")
        .def("reset", &Interpolator::reset, "starts a new stream")
        .def("close", &Interpolator::close, "releases the interpolator")
        .def("__enter__", [](Interpolator& self) -> Interpolator& { return self; },
             py::return_value_policy::reference)
        .def("__exit__", [](Interpolator& self, py::args) { self.close(); });
}
