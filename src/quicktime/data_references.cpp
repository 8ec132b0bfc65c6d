#include <cstring>
#include <string>

#include "core/four_char_code.h"
#include "core/log.h"
#include "core/status.h"
#include "platform/core_foundation.h"
#include "platform/file_manager.h"
#include "quicktime/atom_fields.h"
#include "quicktime/track.h"
#include "util/printer.h"
#include "util/text.h"

namespace KVX::QT {

namespace {

using Core::FourCharCode;
using Util::Printer::Fcc;

constexpr uint32_t kAlias = FourCharCode("alis");

// "hdlr"
constexpr uint64_t kComponentType = 12;
constexpr uint64_t kComponentSubtype = 16;

// "dref" and its entries
constexpr uint64_t kEntryCount = 12;
constexpr uint64_t kFirstEntry = 16;
constexpr uint64_t kLastFlagsByte = 11;
constexpr uint64_t kAliasRecord = 12;
constexpr uint8_t kSelfContained = 1;

// References to media that is not read. The track may still have another one that is.
struct UnsupportedReference {
    uint32_t type;
    const char* name;
};
constexpr UnsupportedReference kUnsupportedReferences[] = {
    {FourCharCode("url "), "URL"},
    {FourCharCode("rsrc"), "Resource"},
};

const UnsupportedReference* FindUnsupportedReference(uint32_t type) {
    for (const UnsupportedReference& reference : kUnsupportedReferences) {
        if (reference.type == type) {
            return &reference;
        }
    }
    return nullptr;
}

// Tells why there is no atom at `offset`: true when one begins there that passes the end of the
// "dref", false when too few bytes are left or its length is too small to step by.
bool PassesTheEnd(AtomFields& references, uint64_t offset) {
    constexpr uint64_t kHeader = 8;
    if (references.Length() - offset < kHeader) {
        return false;
    }
    const uint32_t size = references.Unsigned32(offset);
    const bool extended = size == 1;
    return extended || size >= kHeader;
}

void ReleaseString(CFStringRef string) {
    if (string != nullptr) {
        CFRelease(string);
    }
}

// Replaces `path` by the path that the alias record of a "dref" entry holds. The record is
// trusted: its target may be missing or have moved. Logs in the name of its caller.
long ReadAlias(AtomFields& entry, std::string& path, Core::LogSite site = Core::LogSite::Here()) {
    const char* const record = entry.Bytes(kAliasRecord, 0);
    if (record == nullptr) {
        return entry.Status();
    }
    // An entry inside a movie atom is far below 2 GiB.
    const Size size = static_cast<Size>(entry.Length() - kAliasRecord);
    const Handle handle = NewHandle(size);
    if (handle == nullptr) {
        Core::LogLine(site, "Failed to allocate %u byte alias handle\n",
                      static_cast<unsigned int>(size));
        return Core::kStatusNoMemory;
    }
    std::memcpy(*handle, record, static_cast<size_t>(size));

    const CFStringRef present = Util::Text::u2cf(path);
    CFStringRef target = present;
    const long status = FSCopyAliasInfo(reinterpret_cast<AliasHandle>(handle), nullptr, nullptr,
                                        &target, nullptr, nullptr);
    DisposeHandle(handle);
    const bool failed = Core::Failed(status, "FSCopyAliasInfo", site);
    if (!failed) {
        path = Util::Text::cf2u(target);
    }
    if (target != present) {
        ReleaseString(target);
    }
    ReleaseString(present);
    return status;
}

}  // namespace

long Track::SetFilePath(const std::string& path, Atom* mdiaAtom) {
    Atom* const minfAtom = mdiaAtom->FindNextChildOfType(FourCharCode("minf"), nullptr);
    if (minfAtom == nullptr) {
        KVX_LOG("Failed to find a media info atom\n");
        return Core::kStatusNotFound;
    }

    // Without a data handler the media is in the movie file.
    const Atom* const hdlrAtom = minfAtom->FindNextChildOfType(FourCharCode("hdlr"), nullptr);
    if (hdlrAtom == nullptr) {
        mFilePath = path;
        return 0;
    }
    AtomFields handler(hdlrAtom);
    const uint32_t type = handler.Unsigned32(kComponentType);
    const uint32_t subtype = handler.Unsigned32(kComponentSubtype);
    if (handler.Status() != 0) {
        return handler.Status();
    }
    if (type != FourCharCode("dhlr") || subtype != kAlias) {
        KVX_LOG("Unsupported data handler type %s and subtype %s\n", Fcc(static_cast<int>(type)),
                Fcc(static_cast<int>(subtype)));
        return Core::kStatusInvalid;
    }

    Atom* const dinfAtom = minfAtom->FindNextChildOfType(FourCharCode("dinf"), nullptr);
    if (dinfAtom == nullptr) {
        KVX_LOG("Failed to find a data info atom\n");
        return Core::kStatusNotFound;
    }
    const Atom* const drefAtom = dinfAtom->FindNextChildOfType(FourCharCode("dref"), nullptr);
    if (drefAtom == nullptr) {
        KVX_LOG("Failed to find a data references atom\n");
        return Core::kStatusNotFound;
    }

    // One file for the track, whatever its sample description says: the last alias decides.
    AtomFields references(drefAtom);
    const int count = references.Signed32(kEntryCount);
    uint64_t offset = kFirstEntry;
    for (int index = 0; index < count && offset < references.Length(); ++index) {
        const Atom* const entryAtom = references.AtomAt(offset);
        if (entryAtom == nullptr) {
            if (!PassesTheEnd(references, offset)) {
                break;
            }
            KVX_LOG("Invalid data reference entry size: %u\n", references.Unsigned32(offset));
            return Core::kStatusInvalid;
        }
        offset += entryAtom->Length();

        AtomFields entry(entryAtom);
        if (const UnsupportedReference* const unsupported =
                FindUnsupportedReference(entry.Type())) {
            KVX_LOG("%s data references not supported\n", unsupported->name);
            continue;
        }
        if (entry.Type() != kAlias) {
            KVX_LOG("%s data references not recognised\n", Fcc(static_cast<int>(entry.Type())));
            continue;
        }
        const bool selfContained = (entry.Unsigned8(kLastFlagsByte) & kSelfContained) != 0;
        if (entry.Status() != 0) {
            return entry.Status();
        }
        if (selfContained) {
            mFilePath = path;
        } else if (const long status = ReadAlias(entry, mFilePath)) {
            return status;
        }
    }
    return references.Status();
}

}  // namespace KVX::QT
