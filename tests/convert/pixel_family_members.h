// The fifteen conversions of the pixel conversion family by their names, which are the ends of the
// functions' own.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace kvx_test {

using FamilyFunction = void(unsigned int width, unsigned int height, void* dst,
                            unsigned int dstRowBytes, void* src, unsigned int srcRowBytes);

struct FamilyMember {
    const char* name;
    FamilyFunction* convert;
};

// What a test's parameter is called.
inline void PrintTo(const FamilyMember& member, std::ostream* out) {
    *out << member.name;
}

const std::vector<FamilyMember>& FamilyMembers();
FamilyFunction* FindFamilyMember(const std::string& name);

}  // namespace kvx_test
