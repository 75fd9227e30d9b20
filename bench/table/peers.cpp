// Names, in the output's header, the implementation VOLK dispatches to for
// every kernel the table uses (aligned buffers): the one named in VOLK's
// preferences file when volk_profile wrote one, else the aligned one needing the
// most instruction-set features, which is how VOLK chooses without a profile.
#include <volk/volk.h>
#include <volk/volk_prefs.h>

#include <cstdio>
#include <cstring>

namespace qxbench {
namespace {

const char* picked(const char* kernel, const volk_func_desc_t& desc)
{
    volk_arch_pref_t* prefs = nullptr;
    const std::size_t n = volk_load_preferences(&prefs);
    for (std::size_t i = 0; i < n; ++i) {
        if (std::strcmp(prefs[i].name, kernel) == 0) return prefs[i].impl_a;
    }
    std::size_t best = 0;
    int bestRank = -1;
    for (std::size_t i = 0; i < desc.n_impls; ++i) {
        const int rank = (desc.impl_alignment[i] ? 64 : 0) + __builtin_popcount(static_cast<unsigned>(desc.impl_deps[i]));
        if (rank > bestRank) best = i, bestRank = rank;
    }
    return desc.impl_names[best];
}

}  // namespace

#define QX_VOLK_KERNELS(X)                                                                                             \
    X(volk_32f_index_min_32u) X(volk_32f_index_max_32u) X(volk_32f_stddev_and_mean_32f_x2)                           \
    X(volk_32f_s32f_multiply_32f) X(volk_16i_s32f_convert_32f) X(volk_32i_s32f_convert_32f) X(volk_32f_convert_64f) \
    X(volk_64f_convert_32f) X(volk_32f_x2_dot_prod_32f) X(volk_32f_s32f_add_32f) X(volk_32f_log2_32f) X(volk_32f_s32f_convert_32i)

void printPeerKernels()
{
    std::printf("# VOLK %d.%d.%d, machine %s\n", VOLK_VERSION_MAJOR, VOLK_VERSION_MINOR, VOLK_VERSION_MAINT,
                volk_get_machine());
#define QX_PRINT(kernel) std::printf("# VOLK %s: %s\n", #kernel, picked(#kernel, kernel##_get_func_desc()));
    QX_VOLK_KERNELS(QX_PRINT)
#undef QX_PRINT
}

}  // namespace qxbench
