// Libraries that convert the same pairs of layouts, as far as each can. Each function adds what its
// library has for a conversion, with AVX2 and held to SSSE3, or nothing.
//
// None has all of these pairs. Where a library takes or makes planes only, it gets and leaves
// planes, and is spared the work of taking samples apart and putting pixels together; where it
// knows 10-bit RGB in the machine's byte order only, it is spared swapping bytes.
#pragma once

#include <vector>

#include "conversions.h"
#include "race.h"

namespace kvx_bench {

using AddRival = void(std::vector<Contender>& contenders, const Conversion& conversion,
                      const Size& size);

AddRival AddLibyuv;
AddRival AddZimg;
AddRival AddLibswscale;

// Audio: `kind` is libavcodec's name of the samples' form, without "pcm_". The samples outlive the
// contender.
void AddLibav(std::vector<Contender>& contenders, const char* kind,
              const std::vector<char>& samples, unsigned channels,
              const std::vector<float*>& planes);

}  // namespace kvx_bench
