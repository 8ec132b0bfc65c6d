#include "quicktime/sample_description.h"

#include "core/four_char_code.h"
#include "core/log.h"
#include "core/status.h"
#include "quicktime/atom_fields.h"

namespace KVX::QT {

namespace {

struct Step {
    uint32_t type;
    const char* name;
};
constexpr Step kPath[] = {
    {Core::FourCharCode("mdia"), "media"},
    {Core::FourCharCode("minf"), "media info"},
    {Core::FourCharCode("stbl"), "sample table"},
    {Core::FourCharCode("stsd"), "sample table sample description"},
};

constexpr uint64_t kEntryCount = 12;
constexpr uint64_t kFirstEntry = 16;

}  // namespace

long FindSampleDescriptions(Atom* trakAtom, Atom*& stsdAtom, const char* function, int line) {
    stsdAtom = nullptr;
    Atom* atom = trakAtom;
    for (const Step& step : kPath) {
        atom = atom->FindNextChildOfType(step.type, nullptr);
        if (atom == nullptr) {
            Core::LogLine(function, line, "Failed to find %s atom in track\n", step.name);
            return Core::kStatusInvalid;
        }
    }

    AtomFields stsd(atom, function, line);
    const int count = stsd.Signed32(kEntryCount);
    if (stsd.Status() != 0) {
        return stsd.Status();
    }
    if (count <= 0) {
        Core::LogLine(function, line, "Invalid number of sample description entries: %d\n", count);
        return Core::kStatusInvalid;
    }
    stsdAtom = atom;
    return 0;
}

long FindFirstSampleDescription(Atom* trakAtom, Atom*& entryAtom, const char* function, int line) {
    entryAtom = nullptr;
    Atom* stsdAtom = nullptr;
    const long status = FindSampleDescriptions(trakAtom, stsdAtom, function, line);
    if (status != 0) {
        return status;
    }

    AtomFields stsd(stsdAtom, function, line);
    const uint32_t size = stsd.Unsigned32(kFirstEntry);
    if (stsd.Status() != 0) {
        return stsd.Status();
    }
    // An entry's fields lie at fixed places behind a 32-bit size; there is no extended form.
    Atom* const entry = stsd.AtomAt(kFirstEntry);
    if (entry == nullptr || entry->Length() != size) {
        Core::LogLine(function, line, "Invalid sample description entry size: %u\n", size);
        return Core::kStatusInvalid;
    }
    entryAtom = entry;
    return 0;
}

}  // namespace KVX::QT
