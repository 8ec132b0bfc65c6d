#include "quicktime/sample_description.h"

#include <cstdlib>
#include <cstring>

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

long FindSampleDescriptions(Atom* trakAtom, Atom*& stsdAtom, Core::LogSite site) {
    stsdAtom = nullptr;
    Atom* atom = trakAtom;
    for (const Step& step : kPath) {
        atom = atom->FindNextChildOfType(step.type, nullptr);
        if (atom == nullptr) {
            Core::LogLine(site, "Failed to find %s atom in track\n", step.name);
            return Core::kStatusInvalid;
        }
    }

    AtomFields stsd(atom, site);
    const int count = stsd.Signed32(kEntryCount);
    if (stsd.Status() != 0) {
        return stsd.Status();
    }
    if (count <= 0) {
        Core::LogLine(site, "Invalid number of sample description entries: %d\n", count);
        return Core::kStatusInvalid;
    }
    stsdAtom = atom;
    return 0;
}

long FindFirstSampleDescription(Atom* trakAtom, Atom*& entryAtom, Core::LogSite site) {
    entryAtom = nullptr;
    Atom* stsdAtom = nullptr;
    const long status = FindSampleDescriptions(trakAtom, stsdAtom, site);
    if (status != 0) {
        return status;
    }

    AtomFields stsd(stsdAtom, site);
    const uint32_t size = stsd.Unsigned32(kFirstEntry);
    if (stsd.Status() != 0) {
        return stsd.Status();
    }
    // An entry's fields lie at fixed places after a 32-bit size; there is no extended form.
    Atom* const entry = stsd.AtomAt(kFirstEntry);
    if (entry == nullptr || entry->Length() != size) {
        Core::LogLine(site, "Invalid sample description entry size: %u\n", size);
        return Core::kStatusInvalid;
    }
    entryAtom = entry;
    return 0;
}

long CopyPayload(const Atom* atom, const char* name, unsigned char*& data, unsigned int& size,
                 Core::LogSite site) {
    std::free(data);
    data = nullptr;
    size = 0;

    AtomFields fields(atom, site);
    const unsigned int header = atom->HeaderLength();
    if (fields.Bytes(0, header) == nullptr) {
        return fields.Status();
    }
    // An atom inside a movie atom is far below 4 GiB.
    const unsigned int payload = static_cast<unsigned int>(fields.Length() - header);
    data = static_cast<unsigned char*>(std::malloc(payload == 0 ? 1 : payload));
    if (data == nullptr) {
        Core::LogLine(site, "Failed to allocate %u byte %s buffer\n", payload, name);
        return Core::kStatusNoMemory;
    }
    std::memcpy(data, fields.Bytes(header, payload), payload);
    size = payload;
    return 0;
}

}  // namespace KVX::QT
