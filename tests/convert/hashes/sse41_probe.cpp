// Uses an instruction above SSSE3, so that a processor without it has to refuse.
#include <smmintrin.h>

int main(int argc, char**) {
    const __m128i product = _mm_mullo_epi32(_mm_set1_epi32(argc), _mm_set1_epi32(argc));
    return _mm_cvtsi128_si32(product) == argc * argc ? 0 : 1;
}
