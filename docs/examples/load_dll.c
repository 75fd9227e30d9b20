/* A Windows host that loads qxcalc-avx.dll at run time: LoadLibrary, then
 * GetProcAddress by plain name into pointers of the exports' exact __stdcall
 * types. A wrong argument list would unbalance the stack after the call, so
 * the types are written from the header's declarations, one to one.
 * Usage: load_dll [path\to\qxcalc-avx.dll] */
#include <stdio.h>
#include <windows.h>

#include <qxcalc.h> /* records, status codes and sample-type codes only */

typedef void(__stdcall* GetVersionFn)(int32_t* major, int32_t* minor, int32_t level,
                                      int32_t* levelAboveNine);
typedef void(__stdcall* GetMinMaxAveRMSFloatFn)(const float* samples, uint32_t count,
                                                float* minValue, float* maxValue, double* sum,
                                                double* sumOfSquares, float offset);
typedef void(__stdcall* ScaleDoubleFn)(const ChannelScaleParams_double* params);
typedef QxcalcStatus(__stdcall* ChsCreateFn)(CHSInterpolator** handleOut,
                                             const CHSInterpolatorParams* params);
typedef QxcalcStatus(__stdcall* ChsInterpolateFn)(CHSInterpolator* handle, const float* samples,
                                                  uint32_t count, float** outputOut,
                                                  uint32_t* outputCountOut);
typedef QxcalcStatus(__stdcall* ChsDestroyFn)(CHSInterpolator* handle);

/* GetProcAddress returns a generic function pointer; going through void*
 * converts it to the export's own type. */
static void* resolve(HMODULE dll, const char* name)
{
    void* address = (void*)GetProcAddress(dll, name);
    if (!address)
        fprintf(stderr, "qxcalc-avx.dll does not export %s\n", name);
    return address;
}

int main(int argc, char** argv)
{
    const char* path = argc > 1 ? argv[1] : "qxcalc-avx.dll";
    HMODULE dll = LoadLibraryA(path);
    if (!dll) {
        fprintf(stderr, "cannot load %s (error %lu)\n", path, GetLastError());
        return 1;
    }

    GetVersionFn getVersion = (GetVersionFn)resolve(dll, "qxcalcGetVersion");
    GetMinMaxAveRMSFloatFn stats = (GetMinMaxAveRMSFloatFn)resolve(dll, "qxcalcGetMinMaxAveRMS_float");
    ScaleDoubleFn scale = (ScaleDoubleFn)resolve(dll, "qxcalcChannelGetScaledValuesAtPos_double");
    ChsCreateFn chsCreate = (ChsCreateFn)resolve(dll, "qxcalcCHSInterpolator_Create");
    ChsInterpolateFn chsInterpolate =
        (ChsInterpolateFn)resolve(dll, "qxcalcCHSInterpolator_InterpolateValues");
    ChsDestroyFn chsDestroy = (ChsDestroyFn)resolve(dll, "qxcalcCHSInterpolator_Destroy");
    if (!getVersion || !stats || !scale || !chsCreate || !chsInterpolate || !chsDestroy) {
        FreeLibrary(dll);
        return 1;
    }

    int32_t major = 0, minor = 0, aboveNine = 0;
    getVersion(&major, &minor, 0, &aboveNine);
    printf("qxcalc-avx %d.%d\n", major, minor);

    float block[16];
    for (int i = 0; i < 16; ++i)
        block[i] = (float)i;
    float lo = block[0], hi = block[0];
    double sum = 0.0, sumOfSquares = 0.0;
    stats(block, 16, &lo, &hi, &sum, &sumOfSquares, 0.0f);
    printf("min %g, max %g, average %g, mean square %g\n", lo, hi, sum / 16, sumOfSquares / 16);

    int16_t raw[4] = {-32768, -1, 0, 32767};
    double volts[4];
    ChannelScaleParams_double params = {raw, volts, 10.0 / 32768.0, 0.0, 4, QxcalcRawInt16};
    scale(&params);
    printf("%d counts = %g V\n", raw[0], volts[0]);

    CHSInterpolatorParams rates = {1000.0, 2000.0, 64};
    CHSInterpolator* chs = NULL;
    if (chsCreate(&chs, &rates) == QxcalcStatusOk) {
        float* out = NULL;
        uint32_t outCount = 0;
        if (chsInterpolate(chs, block, 16, &out, &outCount) == QxcalcStatusOk)
            printf("16 samples at 1 kHz -> %u at 2 kHz so far\n", outCount);
        chsDestroy(chs);
    }

    FreeLibrary(dll);
    return 0;
}
