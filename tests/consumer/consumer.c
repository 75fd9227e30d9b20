/* A C host of the installed library: the version and one block's extremes.
 * Its own Float and Double types must not meet names of the header's. */
#include <qxcalc.h>

typedef float Float;
typedef double Double;

int main(void)
{
    int32_t major = 0, minor = 0, above = -1;
    const int16_t samples[9] = {3, -7, 12, 0, 5, 30000, -2, 8, 1};
    int16_t lo = 0, hi = 0;
    qxcalcGetVersion(&major, &minor, 10, &above);
    qxcalcGetMinMax_int16_t(samples, 9, &lo, &hi);
    return major == 1 && minor == 44 && above == 1 && lo == -7 && hi == 30000 ? 0 : 1;
}
