// A host program as the measurement application uses the library: it asks
// for the version, loads a block of one 16-bit channel and asks for the
// block's statistics.
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
    return EXIT_SUCCESS;
}
