// Uses an instruction above SSSE3, so that a processor without it has to refuse.
#include <smmintrin.h>

int main(int argc, char**) {
    // Not known to the compiler, and asked for whole: it would find a way without the instruction.
    volatile __m128i factors = _mm_set1_epi32(argc);
    volatile __m128i products = _mm_mullo_epi32(factors, factors);
    return _mm_cvtsi128_si32(products) == argc * argc ? 0 : 1;
}
