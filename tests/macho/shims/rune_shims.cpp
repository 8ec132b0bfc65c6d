// The table behind isdigit and its kin, which macOS's headers read in place.
#include <cctype>
#include <cstdint>

#include "macho/shims/shims.h"

namespace macho {

namespace {

constexpr int kCharacters = 256;

struct Kind {
    uint32_t bit;
    int (*holds)(int character);
};

constexpr uint32_t kDigit = 0x400;

const Kind kKinds[] = {
    {0x100, &std::isalpha},   {0x200, &std::iscntrl},   {kDigit, &std::isdigit},
    {0x800, &std::isgraph},   {0x1000, &std::islower},  {0x2000, &std::ispunct},
    {0x4000, &std::isspace},  {0x8000, &std::isupper},  {0x10000, &std::isxdigit},
    {0x20000, &std::isblank}, {0x40000, &std::isprint},
};

// The part that inline functions read: the start of _RuneLocale.
struct RuneLocale {
    RuneLocale() {
        for (int character = 0; character < kCharacters; ++character) {
            kinds[character] = KindsOf(character);
            lower[character] = std::tolower(character);
            upper[character] = std::toupper(character);
        }
    }

    static uint32_t KindsOf(int character) {
        uint32_t kinds = 0;
        for (const Kind& kind : kKinds) {
            kinds |= kind.holds(character) != 0 ? kind.bit : 0;
        }
        if ((kinds & kDigit) != 0) {
            kinds |= static_cast<uint32_t>(character - '0');  // a digit's value is in the low bits
        }
        return kinds;
    }

    char magic[8] = {'R', 'u', 'n', 'e', 'M', 'a', 'g', 'A'};
    char encoding[32] = {'N', 'O', 'N', 'E'};
    void* convert[2] = {};
    int32_t invalid = 0xFFFD;
    uint32_t kinds[kCharacters];
    int32_t lower[kCharacters];
    int32_t upper[kCharacters];
};

}  // namespace

std::vector<Shim> RuneShims() {
    static const RuneLocale sRunes;
    return {Data("__DefaultRuneLocale", &sRunes)};
}

}  // namespace macho
