// A host program as the measurement application uses the library: it asks
// for the version, loads a block of one 16-bit channel and asks for the
// block's statistics, feeding it in pieces as an acquisition loop would and
// forming average and RMS from the running sums.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "qxcalc.h"

static std::vector<int16_t> loadBlock(const char* path)
{
    std::vector<int16_t> samples;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);)
        if (!line.empty() && line[0] != '#') samples.push_back(static_cast<int16_t>(std::stoi(line)));
    return samples;
}

int main(int argc, char** argv)
{
    int32_t major = 0, minor = 0, aboveNine = 0;
    qxcalcGetVersion(&major, &minor, 10, &aboveNine);
    std::printf("qxcalc-avx %d.%d\n", major, minor);

    const char* path = argc > 1 ? argv[1] : QXCALC_SAMPLE_BLOCK;
    const std::vector<int16_t> block = loadBlock(path);
    if (block.empty()) {
        std::fprintf(stderr, "no samples in %s\n", path);
        return EXIT_FAILURE;
    }
    const auto count = static_cast<uint32_t>(block.size());
    std::printf("block: %u samples of a 16-bit channel (%s)\n", count, path);

    int16_t lo = 0, hi = 0;
    qxcalcGetMinMax_int16_t(block.data(), count, &lo, &hi);
    std::printf("minimum %d, maximum %d\n", lo, hi);

    // Running sums over pieces of 256 samples; the offset removes a known
    // baseline before squaring, so the RMS is that of the deviation from it.
    const float baseline = 1200.0f;
    double sum = 0.0, sumOfSquares = 0.0;
    int16_t pieceMin = 0, pieceMax = 0;
    for (uint32_t at = 0; at < count; at += 256) {
        const uint32_t piece = count - at < 256 ? count - at : 256;
        qxcalcGetMinMaxAveRMS_int16_t(block.data() + at, piece, &pieceMin, &pieceMax, &sum, &sumOfSquares, -baseline);
    }
    std::printf("average %.3f, RMS about the baseline %.1f: %.3f\n", sum / count, baseline,
                std::sqrt(sumOfSquares / count));

    // One channel out of interleaved data: copy and statistics in one pass.
    std::vector<int16_t> interleaved(2 * block.size()), channel(block.size());
    for (uint32_t i = 0; i < count; ++i) {
        interleaved[2 * i] = static_cast<int16_t>(-block[i]);
        interleaved[2 * i + 1] = block[i];
    }
    int16_t channelMin = INT16_MAX, channelMax = INT16_MIN;
    double channelSum = 0.0, channelSquares = 0.0;
    qxcalcMoveAndGetMinMaxAveRMS_int16_t(channel.data(), interleaved.data() + 1, count, &channelMin, &channelMax,
                                         &channelSum, &channelSquares, 0.0f, 2);
    std::printf("channel 1 of 2 interleaved: minimum %d, maximum %d, average %.3f\n", channelMin, channelMax,
                channelSum / count);
    return EXIT_SUCCESS;
}
