#include "inspect/mend_plan.h"

#include <algorithm>

#include "core/four_char_code.h"
#include "inspect/inspect.h"
#include "inspect/movie_file.h"
#include "platform/core_audio_types.h"

namespace kvx_inspect {

namespace {

using KVX::Core::FourCharCode;

constexpr uint32_t kAlias = FourCharCode("alis");
constexpr uint32_t kUrl = FourCharCode("url ");

// "hdlr"
constexpr uint64_t kComponentType = 12;
constexpr uint64_t kComponentSubtype = 16;

// "dref" and its entries
constexpr uint64_t kEntryCount = 12;
constexpr uint64_t kFirstEntry = 16;
constexpr uint64_t kEntryType = 4;
constexpr uint64_t kLastFlagsByte = 11;
constexpr uint8_t kSelfContained = 1;

// "stsd", and sound descriptions of the versions that have extensions
constexpr uint64_t kVersion = 16;
constexpr uint64_t kChannelsV1 = 24;
constexpr uint64_t kExtensionsV1 = 52;
constexpr uint64_t kChannelsV2 = 48;
constexpr uint64_t kExtensionsV2 = 72;
constexpr uint32_t kSurroundChannels = 6;

// "chan"
constexpr unsigned int kShortHeader = 8;
constexpr uint64_t kLayoutTag = 12;
constexpr uint64_t kLayoutBitmap = 16;
constexpr uint32_t kTagByBitmap = 0x10000;
constexpr uint32_t kBitmap51 = 0x3F;  // left, right, centre, LFE, left and right surround

// The least that a disk writes as a whole.
constexpr uint64_t kSector = 512;

// Whether four bytes at `offset` hold `before`, or what a disk leaves of a change to `after` that
// it has made in one of the two sectors that they lie in.
bool IsToChange(uint32_t value, uint64_t offset, uint32_t before, uint32_t after) {
    if (value == before) {
        return true;
    }
    const uint64_t inFirstSector = kSector - offset % kSector;
    if (value == after || inFirstSector >= 4) {
        return false;
    }
    const uint32_t second = 0xFFFFFFFF >> 8 * inFirstSector;
    return value == ((after & ~second) | (before & second)) ||
           value == ((before & ~second) | (after & second));
}

class Planner {
  public:
    explicit Planner(const MovieFile& file) : mFile(file) {}

    std::vector<Change> Plan() {
        const AtomView moov = mFile.Moov();
        AtomView trak;
        while ((trak = moov.Child(FourCharCode("trak"), trak))) {
            ++mTrack;
            const AtomView mdia = trak.Child(FourCharCode("mdia"));
            const AtomView minf = mdia.Child(FourCharCode("minf"));
            const AtomView handler = mdia.Child(FourCharCode("hdlr"));
            if (handler.Unsigned32(kComponentSubtype) == FourCharCode("soun")) {
                PlanLayouts(minf);
            }
            PlanData(minf);
        }
        return std::move(mChanges);
    }

  private:
    // Adds the change if there is one to make.
    void Add(const AtomView& atom, uint64_t place, uint32_t before, uint32_t after,
             ChangeKind kind) {
        const uint64_t offset = mFile.OffsetInFile(atom.Start()) + place;
        const uint32_t value = atom.Unsigned32(place);
        if (atom.Holds(place, 4) && IsToChange(value, offset, before, after)) {
            mChanges.push_back({offset, value, after, kind, mTrack});
        }
    }

    bool Is(const AtomView& atom, uint64_t place, uint32_t before, uint32_t after) const {
        const uint32_t value = atom.Unsigned32(place);
        return value == after ||
               IsToChange(value, mFile.OffsetInFile(atom.Start()) + place, before, after);
    }

    void PlanData(const AtomView& minf) {
        const AtomView hdlr = minf.Child(FourCharCode("hdlr"));
        const AtomView dref = minf.Child(FourCharCode("dinf")).Child(FourCharCode("dref"));
        if (hdlr.Unsigned32(kComponentType) != FourCharCode("dhlr") ||
            !Is(hdlr, kComponentSubtype, kUrl, kAlias) || !AllInMovie(dref)) {
            return;
        }
        EachEntry(dref, [this](const AtomView& entry) {
            Add(entry, kEntryType, kUrl, kAlias, ChangeKind::DataReference);
            return true;
        });
        Add(hdlr, kComponentSubtype, kUrl, kAlias, ChangeKind::DataHandler);
    }

    // Whether there are references, and all of them mean the movie itself.
    static bool AllInMovie(const AtomView& dref) {
        bool isAny = false;
        const bool areAll = EachEntry(dref, [&isAny](const AtomView& entry) {
            isAny = true;
            return (entry.Unsigned8(kLastFlagsByte) & kSelfContained) != 0;
        });
        return isAny && areAll;
    }

    // Until `visit` returns false, which is then returned.
    template <typename Visit>
    static bool EachEntry(const AtomView& dref, const Visit& visit) {
        const int32_t count = dref.Signed32(kEntryCount);
        uint64_t offset = kFirstEntry;
        for (int32_t index = 0; index < count; ++index) {
            const AtomView entry = dref.AtomAt(offset);
            if (!entry) {
                return true;
            }
            if (!visit(entry)) {
                return false;
            }
            offset += entry.Length();
        }
        return true;
    }

    void PlanLayouts(const AtomView& minf) {
        const AtomView stsd = minf.Child(FourCharCode("stbl")).Child(FourCharCode("stsd"));
        const AtomView entry = stsd.AtomAt(kFirstEntry);
        const uint16_t version = entry.Unsigned16(kVersion);
        const uint32_t channels =
            version == 1 ? entry.Unsigned16(kChannelsV1) : entry.Unsigned32(kChannelsV2);
        if (stsd.Signed32(kEntryCount) < 1 || (version != 1 && version != 2) ||
            channels != kSurroundChannels) {
            return;
        }
        uint64_t offset = version == 1 ? kExtensionsV1 : kExtensionsV2;
        while (const AtomView chan = entry.AtomAt(offset)) {
            offset += chan.Length();
            // After a long header the fields would be parts of the atom's length.
            const bool isLayout = chan.Type() == FourCharCode("chan") &&
                                  chan.HeaderLength() == kShortHeader &&
                                  chan.Holds(kLayoutBitmap, 4);
            if (isLayout && chan.Unsigned32(kLayoutBitmap) == kBitmap51 &&
                Is(chan, kLayoutTag, kTagByBitmap, kAudioChannelLayoutTag_MPEG_5_1_A)) {
                Add(chan, kLayoutTag, kTagByBitmap, kAudioChannelLayoutTag_MPEG_5_1_A,
                    ChangeKind::LayoutTag);
                Add(chan, kLayoutBitmap, kBitmap51, 0, ChangeKind::LayoutBitmap);
            }
        }
    }

    const MovieFile& mFile;
    int mTrack = 0;
    std::vector<Change> mChanges;
};

}  // namespace

std::vector<Change> PlanChanges(const MovieFile& file) {
    return Planner(file).Plan();
}

std::vector<Finding> MendPlan::Obstacles() const {
    std::vector<Finding> obstacles;
    std::copy_if(after.findings.begin(), after.findings.end(), std::back_inserter(obstacles),
                 [](const Finding& finding) {
                     return FactsOf(finding.code).severity == Severity::Refused ||
                            finding.code == Code::SoundByteOrder ||
                            finding.code == Code::SoundCompressed;
                 });
    return obstacles;
}

MendPlan PlanMend(const std::string& path) {
    MendPlan plan;
    plan.before = Inspect(path);
    if (plan.before.file != nullptr) {
        plan.changes = PlanChanges(*plan.before.file);
    }
    plan.after = plan.changes.empty() ? plan.before : Inspect(path, plan.changes);
    return plan;
}

const char* NameOf(ChangeKind kind) {
    switch (kind) {
        case ChangeKind::LayoutTag:
            return "sound layout";
        case ChangeKind::LayoutBitmap:
            return "bitmap of the sound layout";
        case ChangeKind::DataReference:
            return "data reference";
        default:
            return "data handler";
    }
}

}  // namespace kvx_inspect
