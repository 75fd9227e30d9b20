#include "support/sweep.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <memory>
#include <set>
#include <sstream>

#include "support/guarded.h"

namespace qxtest {

bool sparseSweep()
{
    static const bool sparse = std::getenv("QXTEST_SWEEP") && std::string(std::getenv("QXTEST_SWEEP")) == "sparse";
    return sparse;
}

std::vector<uint32_t> countsAround(std::initializer_list<uint32_t> thresholds, uint32_t first, uint32_t denseUpTo,
                                   std::initializer_list<uint32_t> large)
{
    std::set<uint32_t> counts(large);
    for (uint32_t n = first; n <= denseUpTo; ++n)
        if (!sparseSweep() || n <= first + 64 || (n - first) % 16 == 0) counts.insert(n);
    for (const uint32_t t : thresholds)
        for (uint32_t n = t > 64 ? t - 64 : 0; n <= t + 64; ++n) counts.insert(n);
    return {counts.lower_bound(first), counts.end()};
}

namespace {

std::string hexBytes(const std::byte* p, std::size_t n)
{
    std::ostringstream s;
    s << "0x" << std::hex << std::setfill('0');
    for (std::size_t i = n; i-- > 0;) s << std::setw(2) << std::to_integer<unsigned>(p[i]);
    return s.str();
}

}  // namespace

std::string firstDifference(const std::string& name, const void* got, const void* want, std::size_t elements,
                            std::size_t elementBytes)
{
    // QXTEST_NAN=any (the x86 emulator, which picks NaN payloads by its own rule): any NaN matches any NaN.
    static const bool anyNaN = std::getenv("QXTEST_NAN") && std::string(std::getenv("QXTEST_NAN")) == "any";
    const auto isNaN = [](const std::byte* p, std::size_t bytes) {
        return bytes == 4 ? std::isnan(std::bit_cast<float>(*reinterpret_cast<const uint32_t*>(p)))
                          : bytes == 8 && std::isnan(std::bit_cast<double>(*reinterpret_cast<const uint64_t*>(p)));
    };
    const auto* g = static_cast<const std::byte*>(got);
    const auto* w = static_cast<const std::byte*>(want);
    for (std::size_t i = 0; i < elements; ++i, g += elementBytes, w += elementBytes)
        if (std::memcmp(g, w, elementBytes) != 0 && !(anyNaN && isNaN(g, elementBytes) && isNaN(w, elementBytes)))
            return "`" + name + "`[" + std::to_string(i) + "] is " + hexBytes(g, elementBytes) + ", want " +
                   hexBytes(w, elementBytes);
    return "";
}

void sweep(const SweepRow& row)
{
    const std::size_t nBlocks = row.blocks.size();
    const uint32_t maxCount = *std::max_element(row.counts.begin(), row.counts.end());
    std::vector<std::unique_ptr<GuardedArena>> arenas, modelArenas;  // the model's copies sit at the same page offsets
    for (const BlockSpec& b : row.blocks) {
        const std::size_t bytes = b.elements(maxCount) * b.elementBytes + 64;
        arenas.push_back(std::make_unique<GuardedArena>(bytes));
        modelArenas.push_back(std::make_unique<GuardedArena>(bytes));
    }

    for (const DataSet set : row.dataSets) {
        std::vector<std::vector<std::byte>> sources;
        for (std::size_t i = 0; i < nBlocks; ++i) {
            const BlockSpec& b = row.blocks[i];
            sources.emplace_back(b.elements(maxCount) * b.elementBytes);
            // A seed of its own per row, block and data set.
            const auto seed = static_cast<uint32_t>(std::hash<std::string>{}(row.name) + 7 * i + 101 * int(set));
            b.fill(sources.back().data(), b.elements(maxCount), set, seed);
        }
        for (const uint32_t n : row.counts) {
            // Start offsets of the swept buffers, counted as a mixed-radix number.
            // Sparse: every start of each buffer, the buffers stepping together at different paces (counts past
            // 300: the first two).
            std::vector<unsigned> start(nBlocks, 0);
            unsigned step = 0;
            for (bool more = true; more;) {
                for (const bool trailingFirst : {true, false}) {
                    Blocks call, model;
                    std::ostringstream where;
                    for (std::size_t i = 0; i < nBlocks; ++i) {
                        const BlockSpec& b = row.blocks[i];
                        const std::size_t bytes = b.elements(n) * b.elementBytes;
                        const bool atEnd = !b.swept || ((i % 2 == 0) == trailingFirst);
                        const unsigned misalign = start[i] * b.alignment;
                        const auto place = [&](const GuardedArena& a) {
                            return atEnd ? a.placeAgainstEnd(bytes, misalign) : a.placeAgainstStart(misalign);
                        };
                        std::byte* p = place(*arenas[i]);
                        std::byte* m = place(*modelArenas[i]);
                        if (b.incoming) b.incoming(p);
                        else std::memcpy(p, sources[i].data(), bytes);
                        arenas[i]->poisonAround(p, bytes, b.poison[0], b.poison[1], b.elementBytes);
                        call.p.push_back(p);
                        model.p.push_back(static_cast<std::byte*>(std::memcpy(m, p, bytes)));
                        if (b.swept)
                            where << " `" << b.name << "` at +" << misalign
                                  << (atEnd ? " by the end fence" : " by the start fence") << ";";
                    }
                    row.model(model, n);
                    const bool clean = runWithoutFault([&] { row.call(call, n); });
                    std::string fault = clean ? "" : "faulted";
                    for (std::size_t i = 0; i < nBlocks && fault.empty(); ++i) {
                        const BlockSpec& b = row.blocks[i];
                        if (!arenas[i]->poisonIntact()) fault = "wrote outside `" + b.name + "`";
                        else fault = firstDifference(b.name, call.p[i], model.p[i], b.elements(n), b.elementBytes);
                        if (!fault.empty() && b.role == Role::In) fault += " (an input was written)";
                    }
                    if (!fault.empty()) {
                        ADD_FAILURE() << row.name << ", count " << n << ", "
                                      << (set == DataSet::Plain ? "plain data" : "special values") << ";" << where.str()
                                      << " " << fault;
                        return;
                    }
                }
                more = false;
                ++step;
                for (std::size_t i = 0; i < nBlocks; ++i) {
                    const BlockSpec& b = row.blocks[i];
                    const unsigned starts = 32 / b.alignment;
                    if (!b.swept || (more && !sparseSweep())) continue;
                    if (sparseSweep()) {
                        start[i] = step * (2 * i + 1) % starts;
                        more = more || step < (n > 300 ? 2 : starts);  // large counts: two placements
                    } else if (++start[i] < starts) {
                        more = true;
                    } else {
                        start[i] = 0;
                    }
                }
            }
        }
    }
}

}  // namespace qxtest
