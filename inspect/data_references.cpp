// Which file holds a track's samples.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "core/four_char_code.h"
#include "inspect/track_reader.h"
#include "inspect/words.h"
#include "platform/core_foundation.h"
#include "platform/file_manager.h"
#include "util/text.h"

namespace kvx_inspect {

namespace {

using KVX::Core::FourCharCode;

constexpr uint32_t kDataHandler = FourCharCode("dhlr");
constexpr uint32_t kAlias = FourCharCode("alis");
constexpr uint32_t kUrl = FourCharCode("url ");
constexpr uint32_t kResource = FourCharCode("rsrc");

// "hdlr"
constexpr uint64_t kComponentType = 12;
constexpr uint64_t kComponentSubtype = 16;

// "dref" and its entries
constexpr uint64_t kEntryCount = 12;
constexpr uint64_t kFirstEntry = 16;
constexpr uint64_t kLastFlagsByte = 11;
constexpr uint64_t kAliasRecord = 12;
constexpr uint8_t kSelfContained = 1;

// The path in an alias record, as the importer gets it. False for a record that is damaged.
bool ReadAliasPath(const AtomView& entry, std::string& path) {
    const uint64_t size = entry.Length() - kAliasRecord;
    const Handle handle = NewHandle(static_cast<Size>(size));
    if (handle == nullptr) {
        return false;
    }
    std::memcpy(*handle, entry.Bytes(kAliasRecord, size), size);
    CFStringRef target = nullptr;
    const OSStatus status = FSCopyAliasInfo(reinterpret_cast<AliasHandle>(handle), nullptr, nullptr,
                                            &target, nullptr, nullptr);
    DisposeHandle(handle);
    if (target != nullptr) {
        path = KVX::Util::Text::cf2u(target);
        CFRelease(target);
    }
    return status == 0;
}

// True where the bytes at `offset` are an entry that passes the end of the table, and not a rest
// that the walk ends at.
bool PassesTheEnd(const AtomView& dref, uint64_t offset) {
    const uint32_t size = dref.Unsigned32(offset);
    return dref.Holds(offset, 8) && (size == 1 || size >= 8);
}

void Examine(MediaFile& media, int& error) {
    const int descriptor = open(media.path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    struct stat status = {};
    error = 0;
    if (descriptor < 0 || fstat(descriptor, &status) != 0) {
        error = errno;
    } else if (S_ISREG(status.st_mode)) {
        media.canBeRead = true;
        media.size = static_cast<uint64_t>(status.st_size);
    }
    if (descriptor >= 0) {
        close(descriptor);
    }
}

std::string WhyNoReference(const std::vector<DataReference>& references) {
    const auto has = [&references](uint32_t type) {
        return std::find_if(
            references.begin(), references.end(),
            [type](const DataReference& reference) { return reference.type == type; });
    };
    if (references.empty()) {
        return "no reference says where its media is";
    }
    if (const auto url = has(kUrl); url != references.end()) {
        return url->isSelfContained
                   ? "the reference to its media is a \"url \" that means the movie itself; only "
                     "\"alis\" references are followed"
                   : "its media is named by a \"url \" reference, which is not followed";
    }
    if (has(kResource) != references.end()) {
        return "its media is named by a \"rsrc\" reference, which is not followed";
    }
    return "its media is named by a " + Quoted(references.front().type) +
           " reference, which is not known";
}

constexpr char kMendsReferences[] = "\"kvx mend MOVIE\" replaces it, and changes no sample";

// What helps against that; null for what helps in most cases.
const char* RemedyOfNoReference(const std::vector<DataReference>& references) {
    const bool canBeMended =
        std::all_of(references.begin(), references.end(),
                    [](const DataReference& each) { return each.isSelfContained; }) &&
        std::any_of(references.begin(), references.end(),
                    [](const DataReference& each) { return each.type == kUrl; });
    return canBeMended ? kMendsReferences : nullptr;
}

enum class Manner {
    Importers,  // as the importer follows them
    Forgiving,  // any that means the movie itself counts
};

// Records the entries. False, after a finding, for one that stops the importer.
bool ReadEntries(TrackReader& reader, const AtomView& dref, Manner manner) {
    const auto broken = [&reader, manner](const char* text) {
        if (manner == Manner::Importers) {
            reader.Add(Code::MediaMissing, text);
        }
        return false;
    };
    const int32_t count = dref.Signed32(kEntryCount);
    uint64_t offset = kFirstEntry;
    for (int32_t index = 0; index < count && offset < dref.Length(); ++index) {
        const AtomView entry = dref.AtomAt(offset);
        if (!entry) {
            return !PassesTheEnd(dref, offset) ||
                   broken("a reference passes the end of the table of references");
        }
        offset += entry.Length();
        DataReference reference;
        reference.type = entry.Type();
        reference.range = reader.RangeOf(entry);
        reference.isSelfContained = (entry.Unsigned8(kLastFlagsByte) & kSelfContained) != 0;
        reader.track.dataReferences.push_back(reference);
        if (manner == Manner::Forgiving && reference.isSelfContained) {
            reader.track.media.path = reader.report.path;
        }
        if (manner == Manner::Forgiving || reference.type != kAlias) {
            continue;
        }
        if (!entry.Holds(kLastFlagsByte, 1)) {
            return broken("the reference to its media is cut short");
        }
        std::string& path = reader.track.media.path;
        if (reference.isSelfContained) {
            path = reader.report.path;
        } else if (!ReadAliasPath(entry, path)) {
            return broken("the alias record that names the file with its media is damaged");
        }
        reader.track.dataReferences.back().path = path;
    }
    return true;
}

// False, after a finding, if the importer stops here.
bool FindMedia(TrackReader& reader) {
    const AtomView hdlr = reader.minf.Child(FourCharCode("hdlr"));
    if (!hdlr) {
        reader.track.media.path = reader.report.path;
        return true;
    }
    if (!hdlr.Holds(kComponentSubtype, 4)) {
        reader.Add(Code::Damaged, "the data handler is cut short");
        return false;
    }
    reader.track.dataHandler = {hdlr.Unsigned32(kComponentType), hdlr.Unsigned32(kComponentSubtype),
                                reader.RangeIn(hdlr, kComponentSubtype, 4)};
    const AtomView dref = reader.minf.Child(FourCharCode("dinf")).Child(FourCharCode("dref"));
    const Handler& handler = *reader.track.dataHandler;
    if (handler.type != kDataHandler || handler.subtype != kAlias) {
        reader.Add(Code::DataHandler, "its data handler is " + Quoted(handler.type) + " " +
                                          Quoted(handler.subtype) +
                                          (handler.subtype == kUrl ? ", as ffmpeg writes it" : "") +
                                          "; only \"dhlr\" \"alis\", QuickTime's own, is imported");
        return ReadEntries(reader, dref, Manner::Forgiving) && !reader.track.media.path.empty();
    }
    if (!dref.Holds(kEntryCount, 4)) {
        reader.Add(Code::Damaged, dref ? "the table of data references is cut short"
                                       : "the track has no data references");
        return false;
    }
    return ReadEntries(reader, dref, Manner::Importers);
}

}  // namespace

void ReadDataReferences(TrackReader& reader) {
    if (!reader.minf || !FindMedia(reader)) {
        return;
    }
    MediaFile& media = reader.track.media;
    if (media.path.empty()) {
        const std::vector<DataReference>& references = reader.track.dataReferences;
        reader.Add(Code::MediaMissing, WhyNoReference(references), RemedyOfNoReference(references));
        return;
    }
    if (media.path == reader.report.path) {
        media.isMovieItself = true;
        media.canBeRead = true;
        media.size = reader.file.Size();
        return;
    }
    int error = 0;
    Examine(media, error);
    if (media.canBeRead) {
        reader.Add(Code::ExternalMedia, "its media lies in " + media.path);
    } else {
        reader.Add(Code::MediaMissing,
                   "its media lies in " + media.path + ", which " +
                       (error == ENOENT ? "is not there"
                        : error == 0    ? "is not a file"
                                        : std::string("cannot be read: ") + std::strerror(error)));
    }
}

}  // namespace kvx_inspect
