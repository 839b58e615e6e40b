#pragma once

#include <cstddef>

namespace mirel {

/// The functions that the program exports to the plugin, under their plain names. They work on
/// `hostSession()`. None of them lets an exception out: a failure becomes an "Error: " box. They
/// are listed in exports.syms, from which the linker makes the program's dynamic symbols.
#define MIREL_HOST_EXPORT __attribute__((visibility("default"), used))

extern "C" {

/// This host's version of the interface: 2.6.0.
MIREL_HOST_EXPORT void ztGetVersionOfCorvanaZT(int* major, int* minor, int* revision);
MIREL_HOST_EXPORT void ztLogText(const char* text);
MIREL_HOST_EXPORT void ztMessageBox(const char* text);
MIREL_HOST_EXPORT void ztShowBusyCursor();
MIREL_HOST_EXPORT void ztStopBusyCursor();
/// Writes the session's answer, at most 511 bytes and a terminator; title, folder and filter
/// are for a user to look at.
MIREL_HOST_EXPORT void ztGetOpenFileName(const char* title, const char* startFolder,
                                         const char* filter, char* buffer);

/// `buffer` holds 512 bytes; a parameter that was never set yields the empty text.
MIREL_HOST_EXPORT void ztGetStringParameter(const char* name, char* buffer);
/// A parameter that was never set yields 0.
MIREL_HOST_EXPORT int ztGetIntParameter(const char* name);
MIREL_HOST_EXPORT void ztSetStringParameter(const char* name, const char* value);
MIREL_HOST_EXPORT void ztSetIntParameter(const char* name, int value);

/// `header` is the address of a `MapHeader` (map.h), aligned or not, of which 32 bytes are used.
MIREL_HOST_EXPORT void ztCreateMAPForCurrentFMR();
MIREL_HOST_EXPORT float** ztGetMAPOfCurrentFMR(void* header);
MIREL_HOST_EXPORT void ztSetMAPParametersOfCurrentFMR(const void* header);
MIREL_HOST_EXPORT void ztSaveMAPsOfCurrentFMR(const char* fileName);
MIREL_HOST_EXPORT void ztLoadMAPsToCurrentFMR(const char* fileName);

/// FFTW3, single precision; plans are passed through as they are.
MIREL_HOST_EXPORT void* zt_fftwf_malloc(std::size_t bytes);
MIREL_HOST_EXPORT void zt_fftwf_free(void* memory);
MIREL_HOST_EXPORT void* zt_fftwf_plan_dft_r2c_3d(int n0, int n1, int n2, float* in, float (*out)[2],
                                                 unsigned flags);
MIREL_HOST_EXPORT void* zt_fftwf_plan_dft_c2r_3d(int n0, int n1, int n2, float (*in)[2], float* out,
                                                 unsigned flags);
MIREL_HOST_EXPORT void zt_fftwf_execute(void* plan);
MIREL_HOST_EXPORT void zt_fftwf_destroy_plan(void* plan);
}

}  // namespace mirel
