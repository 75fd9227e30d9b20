// Writes the demo's bundled recording: a four-stroke engine on a test bench,
// sampled at 20 kHz, 1500 rpm (1600 frames per 720-degree cycle), as a 16-bit
// WAV with four channels:
//   0 cylinder pressure, 0.004 bar per count, with a slow sensor drift (+0 to
//     +0.3 bar, removed by the demo's pegging) and noise of about 0.05 bar;
//   1 crank angle, 720/32768 degree per count, a sawtooth 0..720 degrees with
//     firing top dead centre at 360 degrees;
//   2 cylinder volume, 0.05 cm3 per count (500 cm3 swept, compression 10:1);
//   3 vibration, 0.001 g per count: engine orders, a combustion-excited
//     2.5 kHz ring and a 7 kHz hiss that the demo's FIR removes.
// The recording starts at 100 degrees, so the first cycle is incomplete.
// Usage: engine_recording OUT.wav [--cycles N] [--channels N]  (defaults 50
// cycles, 4 channels: 80,000 frames, 640 KB). Everything is deterministic
// (a fixed-seed std::mt19937, whose sequence the C++ standard fixes).
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include <sndfile.h>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kRate = 20000;
constexpr int kFramesPerCycle = 1600;
constexpr double kIntakePressure = 0.95, kExhaustPressure = 1.1; // bar
constexpr double kBore = 8.6, kStroke = 8.6, kRod = 14.5;       // cm
constexpr double kCompression = 10.0, kPolytropic = 1.32;

double swept() { return kPi / 4 * kBore * kBore * kStroke; }
double clearance() { return swept() / (kCompression - 1); }

// Slider-crank volume in cm3 at a crank angle in degrees (top dead centre at 0 and 360).
double volume(double degrees)
{
    const double a = degrees * kPi / 180, r = kStroke / 2;
    const double s = r * std::sin(a);
    const double travel = r * (1 - std::cos(a)) + kRod - std::sqrt(kRod * kRod - s * s);
    return clearance() + kPi / 4 * kBore * kBore * travel;
}

double smoothstep(double from, double to, double x)
{
    const double t = std::clamp((x - from) / (to - from), 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

// Cylinder pressure in bar: polytropic compression and expansion, a Wiebe
// burn from 345 degrees raising it by `burn`, blow-down near bottom centre,
// exhaust and intake strokes near the manifold pressures.
double pressure(double degrees, double burn)
{
    const double bottom = clearance() + swept();
    if (degrees < 180) return kExhaustPressure + (kIntakePressure - kExhaustPressure) * smoothstep(0, 30, degrees);
    const double burnt = degrees < 345 ? 0.0 : 1 - std::exp(-5 * std::pow((degrees - 345) / 45, 3));
    const double closed = kIntakePressure * std::pow(bottom / volume(degrees), kPolytropic) * (1 + burn * burnt);
    const double open = smoothstep(500, 570, degrees);
    return closed * (1 - open) + kExhaustPressure * open;
}

int16_t counts(double value, double unit)
{
    return static_cast<int16_t>(std::clamp(std::lround(value / unit), -32768L, 32767L));
}

} // namespace

int main(int argc, char** argv)
{
    int cycles = 50, channels = 4;
    for (int i = 2; i + 1 < argc; i += 2) {
        if (!std::strcmp(argv[i], "--cycles")) cycles = std::atoi(argv[i + 1]);
        if (!std::strcmp(argv[i], "--channels")) channels = std::atoi(argv[i + 1]);
    }
    if (argc < 2 || cycles < 0 || channels < 1) {
        std::fprintf(stderr, "usage: engine_recording OUT.wav [--cycles N] [--channels N]\n");
        return 2;
    }
    std::mt19937 random(20261123);
    auto noise = [&random] { // sum of four uniforms: mean 0, deviation 0.577
        double sum = 0;
        for (int k = 0; k < 4; ++k) sum += random() / 4294967296.0 - 0.5;
        return sum;
    };
    const int frames = cycles * kFramesPerCycle;
    std::vector<int16_t> samples(static_cast<size_t>(frames) * channels);
    double burn = 2.8;
    for (int i = 0; i < frames; ++i) {
        const double t = static_cast<double>(i) / kRate;
        const double degrees = std::fmod(100.0 + 720.0 * i / kFramesPerCycle, 720.0);
        if (i == 0 || degrees < std::fmod(100.0 + 720.0 * (i - 1) / kFramesPerCycle, 720.0))
            burn = 2.8 * (1 + 0.08 * 1.7 * noise()); // cycle-to-cycle variation
        const double drift = 0.15 * (1 - std::cos(2 * kPi * 0.25 * t));
        const double ring = degrees > 365 ? 4.0 * burn / 2.8 * std::exp(-(degrees - 365) / 25) : 0.0;
        const double values[4] = {
            pressure(degrees, burn) + drift + 0.05 * 1.7 * noise(),
            degrees,
            volume(degrees),
            1.5 * std::sin(2 * kPi * 50 * t) + 0.6 * std::sin(2 * kPi * 100 * t + 1) +
                ring * std::sin(2 * kPi * 2500 * t) + 0.8 * std::sin(2 * kPi * 7000 * t) + 0.2 * noise()};
        const double units[4] = {0.004, 720.0 / 32768, 0.05, 0.001};
        for (int c = 0; c < channels; ++c)
            samples[static_cast<size_t>(i) * channels + c] = c < 4 ? counts(values[c], units[c]) : 0;
    }
    SF_INFO info{};
    info.samplerate = kRate;
    info.channels = channels;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* file = sf_open(argv[1], SFM_WRITE, &info);
    if (!file) {
        std::fprintf(stderr, "engine_recording: cannot write %s: %s\n", argv[1], sf_strerror(nullptr));
        return 1;
    }
    const bool complete = sf_writef_short(file, samples.data(), frames) == frames;
    sf_close(file);
    return complete ? 0 : 1;
}
