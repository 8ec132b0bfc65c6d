// Libraries that convert the same pairs of layouts, as far as each can. Each function adds what its
// library has for a conversion, with AVX2 and held to SSSE3, or nothing.
//
// None has all of these pairs. Where a library takes or makes planes only, it gets and leaves
// planes, and is spared the work of taking samples apart and putting pixels together; where it
// knows 10-bit RGB in the machine's byte order only, it is spared swapping bytes.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "conversions.h"
#include "race.h"

namespace kvx_bench {

using AddRival = void(std::vector<Contender>& contenders, const Conversion& conversion,
                      const Size& size);

AddRival AddLibyuv;
AddRival AddZimg;
AddRival AddLibswscale;

// Audio. Planes are as many as there are channels.
class AudioRival {
  public:
    virtual ~AudioRival() = default;
    virtual bool Run(char* samples, size_t bytes, const std::vector<float*>& planes) = 0;
};

// `kind` is libavcodec's name of the samples' form, without "pcm_".
std::shared_ptr<AudioRival> MakeLibav(const char* kind, unsigned channels);

}  // namespace kvx_bench
