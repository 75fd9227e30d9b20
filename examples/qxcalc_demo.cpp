// qxcalc-demo: the library in the place its host uses it, an engine test
// bench. Reads a multi-channel 16-bit recording (cylinder pressure, crank
// angle, cylinder volume, vibration), and with the library's exports only:
// de-interleaves every channel with its statistics and draws its trace with a
// cursor snapped to its peak, scales raw counts to physical units, low-passes
// the vibration (FIR) and resamples it to another rate; when the angle channel
// holds complete engine cycles it also low-passes the pressure (IIR cascade),
// splits it into cycles and averages them, places the axes of a p-V diagram,
// and draws a pressure trace and a log p-V diagram with a cursor snapped to
// the peak. Any 16-bit recording gives a result: roles default to the channels
// that exist, and each part that does not apply is skipped with one line.
// Nothing is written unless the whole run succeeds.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include <sndfile.h>

#include "plot.h"
#include "qxcalc.h"

namespace {

struct Options {
    std::string input = QXCALC_DEMO_RECORDING, outputDir = "qxcalc-demo-output";
    int pressure = 0, angle = 1, volume = 2, vibration = 3;                 // channel roles, -1: none
    bool rolesGiven[4] = {};                                                // on the command line
    double pressureScale = 0.004, angleScale = 720.0 / 32768, volumeScale = 0.05, vibrationScale = 0.001;
    double peg = 0.95;       // bar: cylinder pressure at intake bottom centre (180 degrees)
    double rate = 0;         // Hz; 0 takes the file's rate
    double outputRate = 8000; // Hz of the resampled vibration
};

struct Failure {
    int exitCode;
    std::string message;
};

constexpr const char* kUsage =
    "usage: qxcalc-demo [options]\n"
    "  --input FILE          16-bit WAV of any channel count (default: the bundled engine recording)\n"
    "  --output-dir DIR      where the pictures and the resampled WAV go (default qxcalc-demo-output)\n"
    "  --pressure N, --angle N, --volume N, --vibration N\n"
    "                        channel of each role, from 0 (default 0, 1, 2, 3 where they exist)\n"
    "  --pressure-scale X    bar per count (default 0.004)\n"
    "  --angle-scale X       crank degrees per count, 0..720 per cycle (default 0.02197265625)\n"
    "  --volume-scale X      cm3 per count (default 0.05)\n"
    "  --vibration-scale X   g per count (default 0.001)\n"
    "  --peg BAR             cylinder pressure at 180 degrees, sets each cycle's offset (default 0.95)\n"
    "  --rate HZ             sample rate of the recording (default: the file's)\n"
    "  --output-rate HZ      rate of the resampled vibration (default 8000)\n"
    "  --help                this list\n";

double number(const char* option, const char* text, bool positive)
{
    char* end = nullptr;
    const double value = std::strtod(text, &end);
    if (end == text || *end || !std::isfinite(value) || (positive && value <= 0))
        throw Failure{2, std::string("bad value for ") + option + ": " + text};
    return value;
}

Options parse(int argc, char** argv)
{
    Options o;
    struct Numeric {
        const char* name;
        double* value;
        bool positive;
    } numerics[] = {{"--pressure-scale", &o.pressureScale, false}, {"--angle-scale", &o.angleScale, true},
                    {"--volume-scale", &o.volumeScale, true},      {"--vibration-scale", &o.vibrationScale, false},
                    {"--peg", &o.peg, true},                       {"--rate", &o.rate, true},
                    {"--output-rate", &o.outputRate, true}};
    struct Role {
        const char* name;
        int* channel;
    } roles[] = {{"--pressure", &o.pressure}, {"--angle", &o.angle}, {"--volume", &o.volume},
                 {"--vibration", &o.vibration}};
    bool* given = o.rolesGiven;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--help") throw Failure{0, kUsage};
        if (i + 1 >= argc) throw Failure{2, "unknown option or missing value: " + option + " (see --help)"};
        const char* value = argv[++i];
        bool known = option == "--input" || option == "--output-dir";
        if (option == "--input") o.input = value;
        if (option == "--output-dir") o.outputDir = value;
        for (auto& n : numerics)
            if (option == n.name) *n.value = number(n.name, value, n.positive), known = true;
        for (auto& r : roles)
            if (option == r.name) {
                const double c = number(r.name, value, false);
                if (c < 0 || c > 255 || c != std::floor(c)) throw Failure{2, option + " needs a channel number"};
                *r.channel = static_cast<int>(c), known = true;
                given[&r - roles] = true;
            }
        if (!known) throw Failure{2, "unknown option " + option + " (see --help)"};
    }
    if (o.rate > 1e6 || o.outputRate > 1e6) throw Failure{2, "rates above 1 MHz are not supported"};
    return o;
}

// Progress on stderr, only for inputs that take a while.
constexpr uint32_t kLongInput = 4000000; // frames
// Each stage rewrites its own line whenever its whole percentage changes.
struct Progress {
    bool shown;
    mutable int last = -1;
    void operator()(const char* stage, double done) const
    {
        const int percent = static_cast<int>(100 * done);
        if (!shown || percent == last) return;
        std::fprintf(stderr, "\r%-10s %3d%%%s", stage, percent, percent >= 100 ? "\n" : "");
        last = percent >= 100 ? -1 : percent;
    }
};

template <class T> struct Aligned { // 32-byte aligned, zeroed array
    std::unique_ptr<T[], decltype(&std::free)> data;
    explicit Aligned(size_t n)
        : data(static_cast<T*>(std::aligned_alloc(32, (n * sizeof(T) + 31) / 32 * 32 + 32)), &std::free)
    {
        std::memset(data.get(), 0, (n * sizeof(T) + 31) / 32 * 32 + 32);
    }
    T* get() const { return data.get(); }
    T& operator[](size_t i) const { return data[i]; }
};

struct Recording {
    int channels = 0;
    double rate = 0;
    uint32_t frames = 0;
    std::vector<int16_t> interleaved;
};

// Reads the recording; roles left at their defaults that name a missing channel become -1.
Recording read(Options& o)
{
    SF_INFO info{};
    SNDFILE* file = sf_open(o.input.c_str(), SFM_READ, &info);
    if (!file && std::filesystem::is_regular_file(o.input))
        throw Failure{1, o.input + " is not a WAV file (" + sf_strerror(nullptr) + ")"};
    if (!file) throw Failure{1, "cannot open " + o.input + ": no such file"};
    std::unique_ptr<SNDFILE, decltype(&sf_close)> closer(file, &sf_close);
    const int type = info.format & SF_FORMAT_TYPEMASK;
    if (type != SF_FORMAT_WAV && type != SF_FORMAT_WAVEX && type != SF_FORMAT_RF64)
        throw Failure{1, o.input + " is not a WAV file"};
    if ((info.format & SF_FORMAT_SUBMASK) != SF_FORMAT_PCM_16)
        throw Failure{1, o.input + " is not a 16-bit PCM recording"};
    // libsndfile reads a cut-off file up to where it ends and notes the shortfall in its log.
    char log[4096] = {};
    sf_command(file, SFC_GET_LOG_INFO, log, sizeof log);
    const std::string text = log;
    const size_t data = text.find("data : ");
    if (data != std::string::npos && text.substr(data, text.find('\n', data) - data).find("should be") != std::string::npos)
        throw Failure{1, o.input + " is truncated: it holds less data than its header announces"};
    int* roles[] = {&o.pressure, &o.angle, &o.volume, &o.vibration};
    int needed = 0;
    for (int k = 0; k < 4; ++k) {
        if (o.rolesGiven[k]) needed = std::max(needed, *roles[k] + 1);
        else if (*roles[k] >= info.channels) *roles[k] = -1;
    }
    if (info.channels < needed)
        throw Failure{1, o.input + " has " + std::to_string(info.channels) + " channel(s); the channel roles need " +
                             std::to_string(needed)};
    if (info.frames <= 0) throw Failure{1, o.input + " holds no samples"};
    if (info.frames > INT32_MAX / 2) throw Failure{1, o.input + " is too long for one run"};
    Recording r;
    r.channels = info.channels, r.frames = static_cast<uint32_t>(info.frames);
    r.rate = o.rate > 0 ? o.rate : info.samplerate;
    r.interleaved.resize(static_cast<size_t>(r.frames) * r.channels);
    const Progress progress{r.frames > kLongInput};
    for (uint32_t at = 0; at < r.frames;) {
        const sf_count_t got = sf_readf_short(file, &r.interleaved[static_cast<size_t>(at) * r.channels],
                                              std::min<sf_count_t>(1 << 16, r.frames - at));
        if (got <= 0) throw Failure{1, "cannot read " + o.input + ": the file ends early"};
        at += static_cast<uint32_t>(got);
        progress("reading", static_cast<double>(at) / r.frames);
    }
    return r;
}

// Butterworth low-pass of order 4 as two second-order sections (bilinear
// transform). A section's blocks run oldest first: the coefficient of the
// oldest input and output sits in block 0, the newest input's in block 2.
struct LowPass {
    alignas(32) IIRBlock blocks[6]{};
    double gains[2] = {1, 1};
    IIRFilter filter{3, 2, 2, 0, gains, blocks};
    LowPass(double cutoff, double rate, float start)
    {
        const double k = std::tan(std::numbers::pi * cutoff / rate), q[2] = {0.54119610, 1.30656296};
        for (int s = 0; s < 2; ++s) {
            const double norm = 1 / (1 + k / q[s] + k * k), b0 = k * k * norm;
            IIRBlock* b = blocks + 3 * s;
            b[0].b = b0, b[1].b = 2 * b0, b[2].b = b0;
            b[0].a = (1 - k / q[s] + k * k) * norm, b[1].a = 2 * (k * k - 1) * norm;
            for (int j = 0; j < 3; ++j) b[j].x = b[j].y = start; // settled on the first sample: no start-up step
        }
    }
};

// Windowed-sinc (Hamming) low-pass taps summing to 1.
std::vector<float> firLowPass(int taps, double cutoff, double rate)
{
    std::vector<double> h(taps);
    double sum = 0;
    for (int i = 0; i < taps; ++i) {
        const double m = i - (taps - 1) / 2.0, f = 2 * cutoff / rate;
        h[i] = (m == 0 ? f : std::sin(std::numbers::pi * f * m) / (std::numbers::pi * m)) * (0.54 - 0.46 * std::cos(2 * std::numbers::pi * i / (taps - 1)));
        sum += h[i];
    }
    std::vector<float> normalised(taps);
    for (int i = 0; i < taps; ++i) normalised[i] = static_cast<float>(h[i] / sum);
    return normalised;
}

constexpr uint32_t kPositions = 720; // one per crank degree

struct Cycles {
    std::vector<uint32_t> starts;        // sample index of each cycle's 0 degrees; complete cycles lie between
    Aligned<float> overall{kPositions};  // cumulative mean pressure, per degree
    Aligned<float> running{kPositions};  // mean of the last kWindow cycles
    Aligned<float> smoothed{kPositions}; // overall, moving average
    std::vector<double> volume = std::vector<double>(kPositions);
    float overallPeak = 0, cyclePeak = 0;
    uint32_t cyclePeakIndex = 0, cyclePeakCycle = 0;
};
constexpr uint32_t kWindow = 8;

// The sample index of each cycle's 0 degrees: where the angle falls back by more
// than half a cycle. The channel is a crank angle only if every cycle between
// two such points is a rising ramp from near 0 to near 720 degrees; otherwise
// (any other signal) there are no cycles.
std::vector<uint32_t> findCycles(const float* angle, uint32_t n)
{
    std::vector<uint32_t> starts;
    for (uint32_t i = 1; i < n; ++i)
        if (angle[i] < angle[i - 1] - 360) starts.push_back(i);
    for (size_t k = 0; k + 1 < starts.size(); ++k) {
        const uint32_t first = starts[k], last = starts[k + 1] - 1;
        bool ramp = angle[first] < 90 && angle[last] > 630 && last - first >= 72;
        for (uint32_t i = first + 1; ramp && i <= last; ++i) ramp = angle[i] > angle[i - 1] - 90;
        if (!ramp) return {};
    }
    return starts.size() < 2 ? std::vector<uint32_t>{} : starts;
}

Cycles analyseCycles(const Options& o, std::vector<uint32_t> starts, const float* pressure, const float* angle,
                     const double* volume, const Progress& progress)
{
    Cycles c;
    c.starts = std::move(starts);
    const uint32_t n = c.starts.back();
    const uint32_t cycles = static_cast<uint32_t>(c.starts.size() - 1);
    std::vector<float> channel(n), curve(kPositions), sum(kPositions), ring(kWindow * kPositions);
    for (uint32_t k = 0; k < cycles; ++k) {
        const uint32_t first = c.starts[k], end = c.starts[k + 1];
        // Offset: the pressure near 180 degrees pegged to the intake pressure.
        double atBottom = 0;
        int samples = 0;
        for (uint32_t i = first; i < end; ++i)
            if (std::abs(angle[i] - 180) < 5) atBottom += pressure[i], ++samples;
        const float offset = static_cast<float>((samples ? atBottom / samples : pressure[first]) - o.peg);
        float peak = 0;
        uint32_t peakIndex = 0;
        qxCalcCACopyRawDataToChannels(pressure, channel.data(), first, end, offset, &peak, &peakIndex);
        if (peakIndex != 0xFFFFFFFFu && peak > c.cyclePeak)
            c.cyclePeak = peak, c.cyclePeakIndex = peakIndex, c.cyclePeakCycle = k;
        // Per degree: the first sample at or past it.
        for (uint32_t i = first, d = 0; d < kPositions; ++d) {
            while (i + 1 < end && angle[i] < d) ++i;
            curve[d] = channel[i - first];
            if (k == 0) c.volume[d] = volume[i]; // the same in every cycle
        }
        qxCalcCAOverallPressure(curve.data(), c.overall.get(), 0, kPositions, k, &c.overallPeak);
        float* leaving = &ring[(k % kWindow) * kPositions];
        qxCalcCARunningVal(curve.data(), leaving, sum.data(), c.running.get(), 0, kPositions - 1, k, kWindow);
        std::copy(curve.begin(), curve.end(), leaving);
        progress("cycles", static_cast<double>(k + 1) / cycles);
    }
    // Moving average over nine degrees, in double, and back to float.
    Aligned<double> wide(kPositions), averaged(kPositions);
    std::copy(c.overall.get(), c.overall.get() + kPositions, reinterpret_cast<float*>(wide.get()));
    qxcalcCASingleArrToDoubleArrInplace(wide.get(), kPositions);
    qxcalcCACalcAveFilter_double(wide.get(), averaged.get(), 9, kPositions);
    qxcalcCADoubleArrToSingleArrInplace(averaged.get(), kPositions);
    std::copy(reinterpret_cast<float*>(averaged.get()), reinterpret_cast<float*>(averaged.get()) + kPositions,
              c.smoothed.get());
    return c;
}

// Ticks of a linear axis at multiples of `step`, placed by the library's p-V axis positions.
void linearTicks(double from, double to, double step, int p0, int p1, std::vector<int32_t>& pixels,
                 std::vector<std::string>& labels)
{
    std::vector<float> values;
    for (double k = std::ceil(from / step - 1e-9); k * step <= to + 1e-9 * step; ++k)
        values.push_back(static_cast<float>(k * step));
    pixels.resize(values.size());
    const float scale = static_cast<float>((p1 - p0) / (to - from)), offset = static_cast<float>(p0 - from * scale);
    qxcalcCAPV_lin(values.data(), static_cast<uint32_t>(values.size()), pixels.data(), std::min(p0, p1),
                   std::max(p0, p1), scale, offset);
    for (float v : values) {
        char label[32];
        std::snprintf(label, sizeof label, "%.6G", v == 0 ? 0.0 : static_cast<double>(v));
        labels.push_back(label);
    }
}

// A tick step of 1, 2 or 5 times a power of ten that gives four to ten ticks over the range.
double tickStep(double range)
{
    const double decade = std::pow(10.0, std::floor(std::log10(range / 4)));
    for (double m : {1.0, 2.0, 5.0})
        if (range / (m * decade) <= 10) return m * decade;
    return 10 * decade;
}

std::vector<demo::Bitmap> draw(const Cycles& c, uint32_t peakDegree, std::vector<demo::Point>& cursors)
{
    std::vector<demo::Bitmap> pictures;
    const double pMax = std::max(10.0, std::ceil(c.overallPeak * 1.1 / 10) * 10);
    { // pressure trace of the mean cycle
        demo::Bitmap b(800, 500);
        const demo::Plot plot{110, 70, 770, 420, 0, 720, 0, pMax, false};
        std::vector<int32_t> xt, yt;
        std::vector<std::string> xl, yl;
        linearTicks(0, 720, 90, plot.left, plot.right, xt, xl);
        linearTicks(0, pMax, 10, plot.bottom, plot.top, yt, yl);
        plot.drawAxes(b, xt, xl, yt, yl, "CRANK ANGLE (DEG)", "PRESSURE (BAR)", "MEAN CYCLE PRESSURE");
        const auto trace = plot.map(nullptr, 1.0, c.smoothed.get(), kPositions);
        demo::drawCurve(b, trace, demo::kCurve);
        // The cursor starts a little off the peak and snaps onto the curve.
        cursors.push_back(demo::snapAndMarkCursor(b, {trace[peakDegree].x + 8, trace[peakDegree].y - 8}, "PEAK"));
        pictures.push_back(std::move(b));
    }
    { // log p-V diagram of the mean cycle
        demo::Bitmap b(800, 560);
        const double vMax = std::ceil(*std::max_element(c.volume.begin(), c.volume.end()) / 100) * 100;
        const demo::Plot plot{110, 70, 770, 480, 0, vMax, 0.5, std::max(pMax, 100.0), true};
        std::vector<int32_t> xt, yt;
        std::vector<std::string> xl, yl;
        linearTicks(0, vMax, 100, plot.left, plot.right, xt, xl);
        const std::vector<float> decades = {1, 2, 5, 10, 20, 50, 100};
        yt.resize(decades.size());
        const float logScale = static_cast<float>((plot.top - plot.bottom) / std::log10(plot.yMax / plot.yMin));
        qxcalcCAPV_log(decades.data(), static_cast<uint32_t>(decades.size()), yt.data(), plot.top, plot.bottom,
                       logScale, static_cast<float>(plot.bottom), static_cast<float>(plot.yMin));
        for (float d : decades) yl.push_back(std::to_string(std::lround(d)));
        plot.drawAxes(b, xt, xl, yt, yl, "VOLUME (CM3)", "PRESSURE (BAR)", "LOG P-V DIAGRAM");
        std::vector<float> p(c.smoothed.get(), c.smoothed.get() + kPositions);
        for (float& v : p) v = std::max(v, 0.5f);
        auto loop = plot.map(c.volume.data(), 0, p.data(), kPositions);
        loop.push_back(loop.front());
        demo::drawCurve(b, loop, demo::kCurve);
        cursors.push_back(demo::snapAndMarkCursor(b, {loop[peakDegree].x + 8, loop[peakDegree].y - 8}, "PEAK"));
        pictures.push_back(std::move(b));
    }
    return pictures;
}

struct Role {
    int channel;
    const char* name;
    double scale;
    const char* unit;
};

// The role of a channel, or the plain counts of one without a role.
Role roleOf(const Options& o, int channel)
{
    const Role roles[] = {{o.pressure, "pressure", o.pressureScale, "bar"},
                          {o.angle, "angle", o.angleScale, "deg"},
                          {o.volume, "volume", o.volumeScale, "cm3"},
                          {o.vibration, "vibration", o.vibrationScale, "g"}};
    for (const Role& r : roles)
        if (r.channel == channel) return r;
    return {channel, "-", 1.0, "counts"};
}

// De-interleaves every channel and reports its statistics, gathered in the same pass.
std::vector<Aligned<int16_t>> deinterleave(const Options& o, const Recording& r)
{
    std::vector<Aligned<int16_t>> channels;
    std::printf("channel  role       minimum  maximum     average         RMS  (counts; in units)\n");
    for (int ch = 0; ch < r.channels; ++ch) {
        channels.emplace_back(r.frames);
        int16_t lo = INT16_MAX, hi = INT16_MIN;
        double sum = 0, squares = 0;
        qxcalcMoveAndGetMinMaxAveRMS_int16_t(channels.back().get(), r.interleaved.data() + ch, r.frames, &lo, &hi, &sum,
                                             &squares, 0.0f, r.channels);
        const Role role = roleOf(o, ch);
        std::printf("%7d  %-9s %8d %8d %11.3f %11.3f", ch, role.name, lo, hi, sum / r.frames,
                    std::sqrt(squares / r.frames));
        if (role.scale != 1.0) std::printf("  %.3f to %.3f %s", lo * role.scale, hi * role.scale, role.unit);
        std::printf("\n");
    }
    return channels;
}

Aligned<float> toUnits(const Aligned<int16_t>& raw, uint32_t n, double scale)
{
    Aligned<float> out(n);
    const ChannelScaleParams_float p{raw.get(), out.get(), static_cast<float>(scale), 0.0f, static_cast<int32_t>(n),
                                     QxcalcRawInt16};
    qxcalcChannelGetScaledValuesAtPos_float_aligned_output(&p);
    return out;
}

// The trace of one channel over time. A long channel is drawn as its envelope:
// the minimum and maximum of the samples under each pixel column. The cursor
// starts a little off the channel's peak and snaps onto the drawn trace.
demo::Bitmap drawTrace(const float* values, uint32_t n, double rate, const Role& role, demo::Point& cursor)
{
    demo::Bitmap b(800, 400);
    constexpr int kLeft = 130, kRight = 770;
    const uint32_t columns = std::min<uint32_t>(n, kRight - kLeft);
    std::vector<float> ys;
    std::vector<double> xs;
    uint32_t peak = 0;
    for (uint32_t k = 0; k < columns; ++k) {
        const uint32_t first = static_cast<uint32_t>(uint64_t(n) * k / columns);
        const uint32_t end = static_cast<uint32_t>(uint64_t(n) * (k + 1) / columns);
        float lo = 0, hi = 0;
        qxcalcGetMinMax_float(values + first, end - first, &lo, &hi);
        xs.insert(xs.end(), {first / rate, first / rate}), ys.insert(ys.end(), {lo, hi});
        if (hi > ys[2 * peak + 1]) peak = k;
    }
    float lo = 0, hi = 0;
    qxcalcGetMinMax_float(values, n, &lo, &hi);
    const double margin = std::max(1e-3, 0.05 * (hi - lo)), step = tickStep(hi - lo + 2 * margin);
    const double yMin = std::floor((lo - margin) / step) * step, yMax = std::ceil((hi + margin) / step) * step;
    const double seconds = std::max(xs.back(), 1 / rate);
    const demo::Plot plot{kLeft, 60, kRight, 330, 0, seconds, yMin, yMax, false};
    std::vector<int32_t> xt, yt;
    std::vector<std::string> xl, yl;
    linearTicks(0, seconds, tickStep(seconds), plot.left, plot.right, xt, xl);
    linearTicks(yMin, yMax, step, plot.bottom, plot.top, yt, yl);
    auto upper = [](std::string text) {
        for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        return text;
    };
    const std::string title =
        "CHANNEL " + std::to_string(role.channel) + (role.scale != 1.0 ? " " + upper(role.name) : "");
    plot.drawAxes(b, xt, xl, yt, yl, "TIME (S)", "(" + upper(role.unit) + ")", title);
    const auto trace = plot.map(xs.data(), 0, ys.data(), static_cast<uint32_t>(ys.size()));
    demo::drawCurve(b, trace, demo::kCurve);
    cursor = demo::snapAndMarkCursor(b, {trace[2 * peak + 1].x + 8, trace[2 * peak + 1].y - 8}, "PEAK");
    return b;
}

// The pressure through a low-pass against noise.
void lowPass(float* pressure, uint32_t n, double rate)
{
    LowPass lowPass(std::min(3000.0, 0.3 * rate), rate, pressure[0]);
    for (uint32_t i = 0; i < n; ++i) pressure[i] = qxcalcIIRFilter_float(&lowPass.filter, pressure[i]);
}

// A channel through an anti-alias FIR below the Nyquist frequency of the rate it is resampled to.
void antiAlias(const Options& o, const Recording& r, float* signal, const Progress& progress)
{
    const std::vector<float> taps = firLowPass(63, 0.4 * std::min(o.outputRate, r.rate), r.rate);
    const auto length = static_cast<int32_t>(taps.size());
    std::vector<float> history(taps.size(), signal[0]); // a ring: the newest sample replaces the oldest
    int32_t oldest = 0;
    for (uint32_t i = 0; i < r.frames; ++i) {
        history[oldest] = signal[i];
        oldest = (oldest + 1) % length;
        signal[i] = qxcalcFIRFilter_float(history.data(), taps.data(), length, oldest);
        if ((i & 0xFFFFF) == 0) progress("filtering", static_cast<double>(i) / r.frames);
    }
    progress("filtering", 1);
}

std::vector<float> resample(const float* samples, uint32_t n, double rate, double outputRate)
{
    constexpr uint32_t kRing = 4096;
    const CHSInterpolatorParams params{rate, outputRate, kRing};
    CHSInterpolator* interpolator = nullptr;
    if (qxcalcCHSInterpolator_Create(&interpolator, &params) != QxcalcStatusOk) throw Failure{1, "bad resampling rates"};
    std::vector<float> resampled;
    float* out = nullptr;
    uint32_t produced = 0;
    for (uint32_t at = 0, block; at < n; at += block) {
        block = std::min(kRing - 2, n - at); // the ring keeps the previous block's last samples
        qxcalcCHSInterpolator_InterpolateValues(interpolator, samples + at, block, &out, &produced);
        resampled.insert(resampled.end(), out, out + produced);
    }
    qxcalcCHSInterpolator_Stop(interpolator, &out, &produced); // the outputs up to the last sample
    resampled.insert(resampled.end(), out, out + produced);
    qxcalcCHSInterpolator_Destroy(interpolator);
    return resampled;
}

void writeWav(const std::string& path, const std::vector<float>& values, double scale, double rate)
{
    std::vector<int16_t> counts(values.size());
    for (size_t i = 0; i < counts.size(); ++i)
        counts[i] = static_cast<int16_t>(std::clamp(std::lround(values[i] / scale), -32768L, 32767L));
    SF_INFO info{};
    info.samplerate = static_cast<int>(std::lround(rate));
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    const bool written =
        file && sf_writef_short(file, counts.data(), static_cast<sf_count_t>(counts.size())) ==
                    static_cast<sf_count_t>(counts.size());
    if (file) sf_close(file);
    if (!written) throw Failure{1, "cannot write " + path};
}

// Cycle analysis and its two pictures when an angle channel with complete
// cycles and the pressure and volume channels exist; otherwise the line that
// says why it was skipped.
std::string analyse(const Options& o, const Recording& r, const std::vector<Aligned<int16_t>>& raw,
                    const Progress& progress, std::vector<std::pair<std::string, demo::Bitmap>>& pictures)
{
    if (o.angle < 0) return "no angle channel: cycle analysis skipped";
    const uint32_t n = r.frames;
    const Aligned<float> angle = toUnits(raw[o.angle], n, o.angleScale);
    std::vector<uint32_t> starts = findCycles(angle.get(), n);
    if (starts.empty())
        return "no complete engine cycle in channel " + std::to_string(o.angle) + ": cycle analysis skipped";
    if (o.pressure < 0 || o.volume < 0)
        return std::string("no ") + (o.pressure < 0 ? "pressure" : "volume") + " channel: cycle analysis skipped";
    Aligned<float> pressure = toUnits(raw[o.pressure], n, o.pressureScale);
    Aligned<double> volume(n); // in double: the p-V diagram's x values
    const ChannelScaleParams_double v{raw[o.volume].get(), volume.get(), o.volumeScale, 0.0, static_cast<int32_t>(n),
                                      QxcalcRawInt16};
    qxcalcChannelGetScaledValuesAtPos_double(&v);
    lowPass(pressure.get(), n, r.rate);
    const Cycles cycles = analyseCycles(o, std::move(starts), pressure.get(), angle.get(), volume.get(), progress);
    const uint32_t peakDegree = static_cast<uint32_t>(
        std::find(cycles.overall.get(), cycles.overall.get() + kPositions, cycles.overallPeak) - cycles.overall.get());
    const float* runningPeak = std::max_element(cycles.running.get(), cycles.running.get() + kPositions);
    std::vector<demo::Point> cursors;
    std::vector<demo::Bitmap> drawn = draw(cycles, peakDegree, cursors);
    pictures.emplace_back("pressure_trace.png", std::move(drawn[0]));
    pictures.emplace_back("pv_diagram.png", std::move(drawn[1]));

    const uint32_t complete = static_cast<uint32_t>(cycles.starts.size() - 1);
    std::printf("cycles: %u complete, %.1f samples each on average\n", complete,
                static_cast<double>(cycles.starts.back() - cycles.starts.front()) / complete);
    std::printf("peak pressure: %.3f bar at %.2f deg (cycle %u of %u)\n", cycles.cyclePeak,
                angle[cycles.cyclePeakIndex], cycles.cyclePeakCycle + 1, complete);
    std::printf("mean cycle: peak %.3f bar at %u deg; mean of the last %u cycles: peak %.3f bar at %d deg\n",
                cycles.overallPeak, peakDegree, std::min(kWindow, complete), *runningPeak,
                static_cast<int>(runningPeak - cycles.running.get()));
    std::printf("cursor: pressure trace (%d, %d), p-V diagram (%d, %d) pixels\n", cursors[0].x, cursors[0].y,
                cursors[1].x, cursors[1].y);
    return {};
}

int run(Options o)
{
    const Recording r = read(o);
    const uint32_t n = r.frames;
    const Progress progress{n > kLongInput};
    int32_t major = 0, minor = 0, aboveNine = 0;
    qxcalcGetVersion(&major, &minor, 10, &aboveNine);
    std::printf("qxcalc-avx %d.%d\n", major, minor);
    std::printf("recording: %s, %d channels, %u frames at %g Hz (%.3f s)\n", o.input.c_str(), r.channels, n, r.rate,
                n / r.rate);

    const std::vector<Aligned<int16_t>> raw = deinterleave(o, r);
    std::vector<std::pair<std::string, demo::Bitmap>> pictures;
    for (int ch = 0; ch < r.channels; ++ch) {
        const Role role = roleOf(o, ch);
        demo::Point cursor{};
        pictures.emplace_back("channel" + std::to_string(ch) + ".png",
                              drawTrace(toUnits(raw[ch], n, role.scale).get(), n, r.rate, role, cursor));
        std::printf("trace: channel %d, cursor on its peak at (%d, %d) pixels\n", ch, cursor.x, cursor.y);
    }

    // The vibration, or channel 0 when no channel has that role, resampled.
    const Role source = o.vibration >= 0 ? roleOf(o, o.vibration) : roleOf(o, 0);
    Aligned<float> signal = toUnits(raw[source.channel], n, source.scale);
    antiAlias(o, r, signal.get(), progress);
    const std::vector<float> resampled = resample(signal.get(), n, r.rate, o.outputRate);
    const std::string name = o.vibration >= 0 ? "vibration" : "channel" + std::to_string(source.channel);
    std::printf("resampled: %s, %u samples at %g Hz -> %zu samples at %g Hz\n", name.c_str(), n, r.rate,
                resampled.size(), o.outputRate);

    const std::string skipped = analyse(o, r, raw, progress, pictures);
    if (!skipped.empty()) std::printf("%s\n", skipped.c_str());

    // Output, only now that everything has been computed.
    std::error_code ignored;
    std::filesystem::create_directories(o.outputDir, ignored);
    std::string written;
    for (const auto& [file, picture] : pictures) {
        if (!picture.writePng(o.outputDir + "/" + file))
            throw Failure{1, "cannot write the pictures into " + o.outputDir};
        written += o.outputDir + "/" + file + ", ";
    }
    const std::string wav = o.outputDir + "/" + name + "_" + std::to_string(std::lround(o.outputRate)) + "Hz.wav";
    writeWav(wav, resampled, source.scale, o.outputRate);
    std::printf("written: %s%s\n", written.c_str(), wav.c_str());
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(parse(argc, argv));
    } catch (const Failure& failure) {
        std::fprintf(failure.exitCode ? stderr : stdout, "%s%s\n", failure.exitCode ? "qxcalc-demo: " : "",
                     failure.message.c_str());
        return failure.exitCode;
    }
}
