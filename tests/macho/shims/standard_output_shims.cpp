// Formatted text.
#include <cstdio>

#include "macho/shims/more_arguments.h"
#include "macho/shims/shims.h"

namespace macho {

namespace {

#if defined(__aarch64__)

int FPrintF(std::FILE* file, const char* format, MoreArguments more) {
    va_list list;
    MakeList(more, list);
    return vfprintf(file, format, list);
}

int SNPrintF(char* text, size_t size, const char* format, MoreArguments more) {
    va_list list;
    MakeList(more, list);
    return vsnprintf(text, size, format, list);
}

// Given a list in place of arguments: the same address.
constexpr auto* VFPrintF = &FPrintF;

#else

constexpr auto* FPrintF = &fprintf;
constexpr auto* SNPrintF = &snprintf;
constexpr auto* VFPrintF = &vfprintf;

#endif

}  // namespace

std::vector<Shim> StandardOutputShims() {
    return {
        Data("___stderrp", &stderr),
        Function("_flockfile", &flockfile),
        WithMoreArguments(2, Function("_fprintf", FPrintF)),
        Function("_fputc", &fputc),
        Function("_funlockfile", &funlockfile),
        Function("_fwrite", &fwrite),
        WithMoreArguments(3, Function("_snprintf", SNPrintF)),
        Function("_vfprintf", VFPrintF),
    };
}

}  // namespace macho
