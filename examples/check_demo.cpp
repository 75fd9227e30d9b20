// Runs qxcalc-demo on a short generated recording and checks its report
// against figures computed here with plain loops in double; then recordings
// that are no engine test (noise of one and two channels, an engine recording
// without its volume channel) must give their traces and resampled WAV with
// the cycle analysis skipped, and each bad input must fail with its message,
// a non-zero exit and no files written.
// Usage: check_demo DEMO GENERATOR WORKDIR
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <sndfile.h>

namespace fs = std::filesystem;
static int failures = 0;

static void expect(bool ok, const std::string& what)
{
    if (!ok) std::printf("FAILED: %s\n", what.c_str()), ++failures;
}

// Runs a command; returns its exit code, stdout and stderr.
static int run(const std::string& command, const fs::path& dir, std::string& out, std::string& err)
{
    const int status = std::system((command + " >" + (dir / "stdout").string() + " 2>" + (dir / "stderr").string()).c_str());
    auto slurp = [](const fs::path& p) { std::stringstream s; s << std::ifstream(p).rdbuf(); return s.str(); };
    out = slurp(dir / "stdout"), err = slurp(dir / "stderr");
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

static std::vector<short> readWav(const fs::path& path, SF_INFO& info)
{
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    std::vector<short> samples(file ? info.frames * info.channels : 0);
    if (file) sf_readf_short(file, samples.data(), info.frames), sf_close(file);
    return samples;
}

// Full-scale noise (a fixed pseudo-random sequence) as a WAV of the given sample
// format: as an angle channel it falls back by over half a cycle again and again.
static void writeNoise(const fs::path& path, int channels, int rate, int format)
{
    SF_INFO info{};
    info.samplerate = rate, info.channels = channels, info.format = SF_FORMAT_WAV | format;
    std::vector<short> samples(static_cast<size_t>(rate / 10) * channels);
    uint32_t state = 1;
    for (short& s : samples) s = static_cast<short>((state = state * 1664525u + 1013904223u) >> 16);
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    sf_writef_short(file, samples.data(), rate / 10);
    sf_close(file);
}

static std::vector<std::string> filesIn(const fs::path& dir)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(dir)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

int main(int argc, char** argv)
{
    if (argc != 4) return 2;
    const std::string demo = argv[1], generator = argv[2];
    const fs::path dir = argv[3];
    fs::remove_all(dir), fs::create_directories(dir);
    std::string out, err;
    run(generator + " " + (dir / "short.wav").string() + " --cycles 6", dir, out, err);
    const int code = run(demo + " --input " + (dir / "short.wav").string() + " --output-dir " + (dir / "out").string() +
                             " --output-rate 11025",
                         dir, out, err);
    expect(code == 0 && err.empty(), "good run: exit " + std::to_string(code) + ", " + err);

    SF_INFO info{};
    const std::vector<short> s = readWav(dir / "short.wav", info);
    const int channels = info.channels;
    const long frames = static_cast<long>(info.frames);
    for (int c = 0; c < channels; ++c) { // statistics in counts
        double lo = 1e9, hi = -1e9, sum = 0, squares = 0;
        for (long i = 0; i < frames; ++i) {
            const double v = s[i * channels + c];
            lo = std::min(lo, v), hi = std::max(hi, v), sum += v, squares += v * v;
        }
        char line[160];
        std::snprintf(line, sizeof line, " %8.0f %8.0f %11.3f %11.3f ", lo, hi, sum / frames, std::sqrt(squares / frames));
        expect(out.find(line) != std::string::npos, "statistics of channel " + std::to_string(c) + ": " + line);
    }
    // Cycles between wraps of the crank angle; the peak of the offset-corrected pressure inside them.
    std::vector<long> wraps;
    for (long i = 1; i < frames; ++i)
        if (s[i * channels + 1] < s[(i - 1) * channels + 1] - 16384) wraps.push_back(i);
    expect(out.find("cycles: " + std::to_string(wraps.size() - 1) + " complete") != std::string::npos, "cycle count");
    double peak = 0, peakAngle = 0;
    for (size_t k = 0; k + 1 < wraps.size(); ++k) {
        double atBottom = 0;
        int n = 0;
        for (long i = wraps[k]; i < wraps[k + 1]; ++i)
            if (std::abs(s[i * channels + 1] * 720.0 / 32768 - 180) < 5) atBottom += s[i * channels] * 0.004, ++n;
        for (long i = wraps[k]; i < wraps[k + 1]; ++i)
            if (s[i * channels] * 0.004 - (atBottom / n - 0.95) > peak)
                peak = s[i * channels] * 0.004 - (atBottom / n - 0.95), peakAngle = s[i * channels + 1] * 720.0 / 32768;
    }
    double reported = 0, reportedAngle = 0;
    std::sscanf(out.substr(out.find("peak pressure: ")).c_str(), "peak pressure: %lf bar at %lf", &reported, &reportedAngle);
    // The demo low-passes the pressure first: noise peaks (about 0.1 bar) go, and the peak moves by a degree or so.
    expect(std::abs(reported - peak) < 0.3 && std::abs(reportedAngle - peakAngle) < 3,
           "peak " + std::to_string(reported) + " bar at " + std::to_string(reportedAngle) + ", expected about " +
               std::to_string(peak) + " at " + std::to_string(peakAngle));
    // Resampled to 11025 Hz: every output up to the last input sample (the last one only from the final flush).
    const long resampled = static_cast<long>(std::floor((frames - 1) * 11025.0 / 20000)) + 1;
    expect(out.find("-> " + std::to_string(resampled) + " samples at 11025 Hz") != std::string::npos, "resampled length");
    SF_INFO written{};
    expect(readWav(dir / "out/vibration_11025Hz.wav", written).size() == static_cast<size_t>(resampled) &&
               written.samplerate == 11025, "resampled WAV");
    expect(fs::file_size(dir / "out/pressure_trace.png") > 1000 && fs::file_size(dir / "out/pv_diagram.png") > 1000,
           "pictures written");

    // Any other recording: a trace per channel, the vibration or channel 0 resampled, what was skipped.
    run(generator + " " + (dir / "stereo.wav").string() + " --channels 2", dir, out, err);
    writeNoise(dir / "mono.wav", 1, 44100, SF_FORMAT_PCM_16);
    writeNoise(dir / "noise.wav", 2, 48000, SF_FORMAT_PCM_16);
    const struct {
        std::string input, skipped;
        std::vector<std::string> files;
    } others[] = {
        {"mono.wav", "no angle channel: cycle analysis skipped", {"channel0.png", "channel0_8000Hz.wav"}},
        {"noise.wav", "no complete engine cycle in channel 1: cycle analysis skipped",
         {"channel0.png", "channel0_8000Hz.wav", "channel1.png"}},
        {"stereo.wav", "no volume channel: cycle analysis skipped",
         {"channel0.png", "channel0_8000Hz.wav", "channel1.png"}}};
    for (const auto& other : others) {
        fs::remove_all(dir / "other");
        const std::string input = (dir / other.input).string();
        const int c = run(demo + " --output-dir " + (dir / "other").string() + " --input " + input, dir, out, err);
        expect(c == 0 && err.empty() && out.find("\n" + other.skipped + "\n") != std::string::npos &&
                   fs::exists(dir / "other") && filesIn(dir / "other") == other.files,
               other.input + ": exit " + std::to_string(c) + ", " + err + out);
        for (const auto& file : other.files)
            expect(fs::exists(dir / "other" / file) && fs::file_size(dir / "other" / file) > 1000,
                   other.input + ": " + file);
    }

    // Bad input: one message line, the exit code, nothing written.
    std::ofstream(dir / "text.wav") << "not a recording\n";
    run(generator + " " + (dir / "empty.wav").string() + " --cycles 0", dir, out, err);
    writeNoise(dir / "float.wav", 1, 48000, SF_FORMAT_FLOAT);
    writeNoise(dir / "24bit.wav", 1, 48000, SF_FORMAT_PCM_24);
    fs::copy_file(dir / "noise.wav", dir / "cut.wav");
    fs::resize_file(dir / "cut.wav", fs::file_size(dir / "cut.wav") - 1001);
    const struct {
        std::string arguments, message;
        int code;
    } bad[] = {{"--input " + (dir / "missing.wav").string(), "cannot open", 1},
               {"--input " + (dir / "text.wav").string(), "is not a WAV file", 1},
               {"--input " + (dir / "stereo.wav").string() + " --vibration 3",
                "has 2 channel(s); the channel roles need 4", 1},
               {"--input " + (dir / "float.wav").string(), "is not a 16-bit PCM recording", 1},
               {"--input " + (dir / "24bit.wav").string(), "is not a 16-bit PCM recording", 1},
               {"--input " + (dir / "cut.wav").string(), "is truncated", 1},
               {"--input " + (dir / "empty.wav").string(), "holds no samples", 1},
               {"--frobnicate 1", "unknown option --frobnicate", 2},
               {"--output-rate fast", "bad value for --output-rate: fast", 2},
               {"--input", "missing value", 2}};
    for (const auto& b : bad) {
        const int c = run(demo + " --output-dir " + (dir / "bad").string() + " " + b.arguments, dir, out, err);
        expect(c == b.code && err.find(b.message) != std::string::npos && err.find('\n') == err.size() - 1 &&
                   out.empty() && !fs::exists(dir / "bad"),
               b.arguments + ": exit " + std::to_string(c) + ", " + err);
    }
    std::printf("%d failure(s)\n", failures);
    return failures ? 1 : 0;
}
