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

#include <qxcalc.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
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

// The export of each family for each sample type: the C++ layer's table.
using qxcalc::Exports;

// ---- Statistics ---------------------------------------------------------------

py::object minMax(const py::array& samples)
{
    return byType<double, float, int16_t, int32_t>(samples, "samples", [&](auto tag) {
        using T = decltype(tag);
        T lo{}, hi{};
        Exports<T>::getMinMax(elements<T>(samples, "samples"), countOf(samples, "samples", 1), &lo, &hi);
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
        Exports<T>::getMinMaxAveRMS(data, n, &lo, &hi, &sum, &sumOfSquares,
                                    static_cast<qxcalc::StatisticsOffset<T>>(offset));
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

template <class From, class To> py::array_t<To> convertWidth(const py::array& source)
{
    const From* data = elements<From>(source, "source");
    auto out = fresh<To>(countOf(source, "source"));
    Exports<From>::convertWidth(data, out.mutable_data(), countOf(source, "source"));
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
        Exports<T>::multiplyVectorByScalar(out.mutable_data(), n, static_cast<T>(factor));
        return out;
    });
}

// The in-place precision conversions need a buffer of 8 bytes per value,
// 32-byte aligned; the module provides it and hands back a NumPy copy.
template <class From, class To> py::array_t<To> convertInPlace(const py::array& source)
{
    const From* data = elements<From>(source, "source");
    const uint32_t n = countOf(source, "source");
    std::unique_ptr<void, decltype(&std::free)> buffer(
        std::aligned_alloc(32, (size_t{n} + 4) / 4 * 32), &std::free);
    if (!buffer) throw std::bad_alloc();
    std::memcpy(buffer.get(), data, n * sizeof(From));
    Exports<From>::caConvertInplace(buffer.get(), n);
    auto out = fresh<To>(n);
    std::memcpy(out.mutable_data(), buffer.get(), n * sizeof(To));
    return out;
}

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
                typename Exports<T>::ChannelScaleParams params{};
                params.rawData = data;
                params.output = values.mutable_data();
                params.scale = static_cast<T>(scale);
                params.offset = static_cast<T>(offset);
                params.count = n;
                params.sampleType = static_cast<uint32_t>(qxcalc::rawSampleTypeOf<Raw>());
                Exports<T>::channelGetScaledValuesAtPos(&params);
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
            T* y = out.mutable_data();
            for (py::ssize_t i = 0; i < samples.size(); ++i) y[i] = Exports<T>::iirFilter(&filter_, in[i]);
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
        double* y = out.mutable_data();
        for (py::ssize_t i = 0; i < white.size(); ++i) y[i] = qxcalcPinkFilter_double(&state_, in[i]);
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

// A whole block through the FIR: output i is the dot product of the taps with
// the len(taps) samples ending at samples[i + len(taps) - 1], newest sample
// against taps[0] (numpy.convolve's "valid" part). Each output is one call on
// the stretch of samples it reads, with the taps reversed (oldest first).
py::array_t<float> firFilter(const py::array& samples, const py::array& taps)
{
    const float* t = elements<float>(taps, "taps");
    const int32_t length = countOf<int32_t>(taps, "taps", 1);
    const float* x = elements<float>(samples, "samples");
    const uint32_t n = countOf(samples, "samples", length);
    const std::vector<float> oldestFirst(std::make_reverse_iterator(t + length), std::make_reverse_iterator(t));
    auto out = fresh<float>(n - length + 1);
    float* y = out.mutable_data();
    for (uint32_t i = 0; i + length <= n; ++i) y[i] = qxcalcFIRFilter_float(x + i, oldestFirst.data(), length, 0);
    return out;
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
        return py::float_(Exports<T>::caCalcFilter(n ? s + (n - 1) : s, n, c, stride));
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
    case QxcalcStatusOk: return;
    case QxcalcStatusInvalidArgument: throw py::value_error("rates must be positive");
    case QxcalcStatusTooManyValues: throw py::value_error("block longer than the ring length minus 2");
    case QxcalcStatusStopped: throw std::runtime_error("the interpolator is stopped; reset() starts a new stream");
    case QxcalcStatusBadBufferSize: throw py::value_error("buffer_length must be a power of two, at least 2");
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

PYBIND11_MODULE(_qxcalc, m)
{
    using namespace pybind11::literals;
    m.doc() = "NumPy bindings of the qxcalc-avx numeric library (the extension module behind qxcalc)";

    m.def("version", [] {
        int32_t major = 0, minor = 0, above = 0;
        qxcalcGetVersion(&major, &minor, 0, &above);
        return py::make_tuple(major, minor);
    }, "(major, minor) version of the library, (1, 44) for this release.");

    m.def("min_max", &minMax, "samples"_a,
          "(min, max) of a non-empty block.\n\n"
          "samples: 1-D float64, float32, int16 or int32 array.\n"
          "Returns two Python numbers in the samples' units.");
    m.def("statistics", &statistics, "samples"_a, "offset"_a = 0.0, "sum"_a = 0.0, "sum_of_squares"_a = 0.0,
          "(min, max, sum, sum of squares) of a non-empty block.\n\n"
          "samples: 1-D float64, float32, int16 or int32 array.\n"
          "offset: added to each sample before squaring (sum of (x + offset)**2); the\n"
          "    library takes it as float32 for float32 and int16 blocks.\n"
          "sum, sum_of_squares: running totals the block's sums are added to, for\n"
          "    feeding a stream block by block (float64, accumulated in float64).\n"
          "Average = sum / count, RMS = sqrt(sum_of_squares / count).");
    m.def("move_statistics", &moveStatistics, "source"_a, "stride"_a = 1, "offset"_a = 0.0f,
          "(source[::stride], min, max, sum, sum of squares): one channel of\n"
          "interleaved int16 samples copied out with its statistics in one pass.\n\n"
          "source: 1-D int16 array starting at the channel's first sample.\n"
          "stride: channels per frame (>= 1). offset: float32, as in statistics().");

    m.def("int16_to_int32", &convertWidth<int16_t, int32_t>, "source"_a,
          "int16 array widened to a new int32 array.");
    m.def("int32_to_int16", &convertWidth<int32_t, int16_t>, "source"_a,
          "Low 16 bits of each int32 value as a new int16 array (wraps, never saturates).");
    m.def("multiply", &multiply, "samples"_a, "factor"_a,
          "samples * factor as a new array of the samples' dtype (float64 or float32;\n"
          "factor rounded to float32 for float32 samples).");
    m.def("double_to_single", &convertInPlace<double, float>, "source"_a,
          "float64 array rounded to a new float32 array.");
    m.def("single_to_double", &convertInPlace<float, double>, "source"_a,
          "float32 array widened to a new float64 array.");

    m.def("scale_channel", &scaleChannel, "raw"_a, "scale"_a, "offset"_a, "dtype"_a = "float64",
          "raw * scale + offset: raw channel samples in physical units.\n\n"
          "raw: 1-D uint8, int8, int16, uint16, int32, uint32, int64, float32 or\n"
          "    float64 array of counts.\n"
          "scale: units per count; offset: units. Both are rounded to dtype.\n"
          "dtype: float64 or float32, the result's dtype and arithmetic.");

    py::class_<Iir>(m, "IIRFilter",
                    "A cascade of IIR sections with its history, run one sample at a time.\n\n"
                    "Section s computes y = gains[s] * sum(b[s, k] * x[n - K + 1 + k])\n"
                    "                     - sum(a[s, k] * y[n - K + 1 + k] for k < K - 1)\n"
                    "with K blocks per section, block 0 the oldest sample; K = 3 runs as a\n"
                    "second-order section. A scipy sos row [b0, b1, b2, 1, a1, a2] is\n"
                    "gains 1.0, b [b2, b1, b0], a [a2, a1, 0].")
        .def(py::init<const py::array&, const py::array&, const py::array&>(), "gains"_a, "b"_a, "a"_a,
             "gains: float64, one per section; b, a: float64 (sections, K) with K >= 2.")
        .def("__call__", &Iir::operator(), "samples"_a,
             "The next samples (float64 or float32) through the cascade; the history\n"
             "carries over from the previous call. Returns the outputs in the samples' dtype.")
        .def("reset", &Iir::reset, "Clears the history for a new stream.");
    py::class_<Pink>(m, "PinkFilter", "White to pink (1/f) noise, one float64 sample at a time, with its state.")
        .def(py::init<>())
        .def("__call__", &Pink::operator(), "white"_a,
             "The next float64 white-noise samples as pink noise; the state carries over.")
        .def("reset", &Pink::reset, "Clears the state for a new stream.");
    m.def("fir", &fir, "history"_a, "taps"_a, "position"_a = 0,
          "One FIR output over a ring of past samples, in float32:\n"
          "sum(taps[k] * history[(position + k) % len(history)]).\n\n"
          "history, taps: float32 arrays of one length; history[position] is the\n"
          "oldest sample and meets taps[0].");
    m.def("fir_filter", &firFilter, "samples"_a, "taps"_a,
          "A block through the FIR, in float32: len(samples) - len(taps) + 1 outputs,\n"
          "output i = sum(taps[k] * samples[i + len(taps) - 1 - k]), which is\n"
          "numpy.convolve(samples, taps, 'valid').\n\n"
          "samples, taps: float32 arrays, len(samples) >= len(taps) >= 1.");

    m.def("moving_average", &movingAverage, "input"_a, "window_length"_a, "scalar"_a = false,
          "Centred moving average of a float64 array over window_length | 1 samples\n"
          "(an even length grows by one); the first and last half-windows repeat the\n"
          "nearest full window's mean. window_length: 0..65535 samples, at most\n"
          "len(input). scalar=True runs the one-at-a-time form.");
    m.def("ca_filter", &caFilterOf, "samples"_a, "coefficients"_a, "stride"_a = 1,
          "sum(samples[-1 - i] * coefficients[i * stride]) as a float: the newest\n"
          "sample meets coefficients[0].\n\n"
          "samples: float32, int16 or int32; coefficients: float32 with at least\n"
          "(len(samples) - 1) * stride + 1 elements.");
    m.def("pv_positions", &pvPositions, "input"_a, "min_value"_a, "max_value"_a, "scale"_a, "offset"_a,
          "reference"_a = py::none(),
          "Axis positions (int32, e.g. pixels) of float32 values, clamped to\n"
          "min_value..max_value: round(value * scale + offset) on a linear axis, or\n"
          "with a reference value round(log10(value / reference) * scale + offset)\n"
          "on a logarithmic one (scale: positions per decade).");
    m.def("copy_raw_to_channel", &copyRawToChannel, "raw"_a, "first"_a, "end"_a, "offset"_a,
          "(raw[first:end] - offset as float32, its maximum, the maximum's index in\n"
          "raw or None when no value is positive): one cycle's samples with the\n"
          "offset removed. raw: float32; offset in the samples' units.");
    m.def("overall_pressure", &overallPressure, "cycle"_a, "overall"_a, "cycle_count"_a,
          "Folds one cycle's curve into the mean of all cycles so far, in place: overall\n"
          "becomes the mean of cycle_count + 1 curves. cycle,\n"
          "overall: float32 arrays of one length (overall writable); cycle_count:\n"
          "cycles already in the mean. Returns the new mean curve's maximum.");
    m.def("running_value", &runningValue, "cycle"_a, "leaving"_a, "sums"_a, "means"_a, "cycle_count"_a,
          "window_cycles"_a,
          "Folds one cycle's curve into the mean of the last window_cycles cycles,\n"
          "in place: sums += cycle (minus the leaving cycle once the window is\n"
          "full), means = sums / cycles in the window. All float32 arrays of one\n"
          "length; sums and means writable; cycle_count: cycles folded before.");

    py::class_<Interpolator>(m, "Interpolator",
                             "Streaming float32 sample-rate converter (Catmull-Rom cubic).\n\n"
                             "Use as a context manager, or call close(). When output_rate is\n"
                             "below input_rate the last outputs of a call read ahead of the\n"
                             "newest sample, so they depend on how the stream is cut into calls.")
        .def(py::init<double, double, uint32_t>(), "input_rate"_a, "output_rate"_a, "buffer_length"_a = 4096,
             "input_rate, output_rate: Hz (any unit, only their ratio counts), positive\n"
             "and finite. buffer_length: input ring in samples, a power of two >= 2.")
        .def("process", &Interpolator::process, "samples"_a,
             "Feeds float32 samples of any length; returns every float32 output now computable.")
        .def("stop", &Interpolator::stop, "Ends the stream; returns the last outputs (float32).")
        .def("reset", &Interpolator::reset, "Starts a new stream.")
        .def("close", &Interpolator::close, "Releases the interpolator; later calls raise ValueError.")
        .def("__enter__", [](Interpolator& self) -> Interpolator& { return self; },
             py::return_value_policy::reference)
        .def("__exit__", [](Interpolator& self, py::args) { self.close(); });
}
