// Alias records: two complete ones as bytes, and a way to make others.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "support/bytes.h"

namespace kvx_test {

// "/Volumes/Media/Shots/clip.mov", with every usual item, in 272 and 172 bytes.
Bytes AliasExampleVersion2();
Bytes AliasExampleVersion3();

// Tag and value.
using AliasItem = std::pair<int, Bytes>;

// Text as tags 14 and 15 hold it, of ASCII.
Bytes AliasUnicodeName(const std::string& ascii);

// The items after each other, each padded to an even length, and the end item.
Bytes AliasItems(const std::vector<AliasItem>& items);

// Records around `items`, whatever they are, of the size that they have.
Bytes AliasVersion2(const std::string& volumeName, const Bytes& items);
Bytes AliasVersion3(uint32_t volumeAttributes, const Bytes& items);

// The same record with another size in its header.
Bytes WithAliasSize(Bytes record, size_t size);

}  // namespace kvx_test
