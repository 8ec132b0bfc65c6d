#include <algorithm>
#include <iterator>

#include "core/four_char_code.h"
#include "util/printer.h"
#include "util/printer_tables.h"

namespace KVX::Util::Printer {

namespace {

using Core::FourCharCode;

constexpr NamedValue kModes[] = {
    {FourCharCode("23p#"), "kvxMode3DHD1080p2398"},
    {FourCharCode("23ps"), "kvxModeHD1080p2398"},
    {FourCharCode("24p#"), "kvxMode3DHD1080p24"},
    {FourCharCode("24ps"), "kvxModeHD1080p24"},
    {FourCharCode("2d23"), "kvxMode2kDCI2398"},
    {FourCharCode("2d24"), "kvxMode2kDCI24"},
    {FourCharCode("2d25"), "kvxMode2kDCI25"},
    {FourCharCode("2k23"), "kvxMode2k2398"},
    {FourCharCode("2k24"), "kvxMode2k24"},
    {FourCharCode("2k25"), "kvxMode2k25"},
    {FourCharCode("H23d"), "kvxModeHD1080p2398Pulldown"},
    {FourCharCode("Hi50"), "kvxModeHD1080i50"},
    {FourCharCode("Hi59"), "kvxModeHD1080i5994"},
    {FourCharCode("Hi60"), "kvxModeHD1080i6000"},
    {FourCharCode("Hp25"), "kvxModeHD1080p25"},
    {FourCharCode("Hp29"), "kvxModeHD1080p2997"},
    {FourCharCode("Hp30"), "kvxModeHD1080p30"},
    {FourCharCode("Hp50"), "kvxModeHD1080p50"},
    {FourCharCode("Hp59"), "kvxModeHD1080p5994"},
    {FourCharCode("Hp60"), "kvxModeHD1080p6000"},
    {FourCharCode("hp50"), "kvxModeHD720p50"},
    {FourCharCode("hp59"), "kvxModeHD720p5994"},
    {FourCharCode("hp60"), "kvxModeHD720p60"},
    {FourCharCode("nt23"), "kvxModeNTSC2398"},
    {FourCharCode("ntsc"), "kvxModeNTSC"},
    {FourCharCode("pal "), "kvxModePAL"},
};

// The modes that the public interface has.
constexpr long kPublicModes[] = {
    FourCharCode("23ps"), FourCharCode("24ps"), FourCharCode("2k23"), FourCharCode("2k24"),
    FourCharCode("Hi50"), FourCharCode("Hi59"), FourCharCode("Hi60"), FourCharCode("Hp25"),
    FourCharCode("Hp29"), FourCharCode("Hp30"), FourCharCode("hp50"), FourCharCode("hp59"),
    FourCharCode("hp60"), FourCharCode("ntsc"), FourCharCode("pal "),
};

}  // namespace

const char* Mode(long value, int) {
    return NameOrUnknown(kModes, value);
}

const char* KVXAPIDisplayMode(long value, int) {
    const bool isPublic = std::find(std::begin(kPublicModes), std::end(kPublicModes), value) !=
                          std::end(kPublicModes);
    return isPublic ? Mode(value) : Unknown(value);
}

}  // namespace KVX::Util::Printer
