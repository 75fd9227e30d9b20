// QX_INLINE: the kernels' small helpers are inlined wherever they are used,
// whatever the optimiser's size estimate, so that their vectors stay in
// registers across the call.
#pragma once

#define QX_INLINE inline __attribute__((always_inline))
