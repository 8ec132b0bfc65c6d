// The unit of aligned file reads: offsets, lengths and addresses are multiples of it where a read
// is to bypass the file cache.
#pragma once

namespace KVX::Core {

constexpr long long kPageSize = 4096;
constexpr long long kPageMask = kPageSize - 1;

}  // namespace KVX::Core
