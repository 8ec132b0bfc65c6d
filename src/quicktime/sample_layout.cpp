// Turns the sample tables of a track (QuickTime File Format, "Sample Table Atoms") into runs. The
// tables have one entry for each sample or chunk; what stays has one for each change.
#include <algorithm>

#include "core/four_char_code.h"
#include "core/log.h"
#include "core/status.h"
#include "quicktime/sample_table.h"
#include "quicktime/table_entries.h"
#include "quicktime/wrapping.h"

namespace KVX::QT {

void SampleTable::ClearLayout() {
    mSampleDurations.clear();
    mChunkOffsets.clear();
    mSizeOffsets.clear();
    mDisplayOffsets.clear();
    mKeyFrames.clear();
    mSampleDuration = 0;
    mMaxSampleSize = 0;
    mMaxDisplayOffset = 0;
    mMinDisplayOffset = 0;
}

long SampleTable::SetSampleLayout(Atom* mdiaAtom) {
    ClearLayout();

    Atom* const minfAtom = mdiaAtom->FindNextChildOfType(Core::FourCharCode("minf"), nullptr);
    if (minfAtom == nullptr) {
        KVX_LOG("Failed to find a media info atom\n");
        return Core::kStatusNotFound;
    }
    Atom* const stblAtom = minfAtom->FindNextChildOfType(Core::FourCharCode("stbl"), nullptr);
    if (stblAtom == nullptr) {
        KVX_LOG("Failed to find a sample table atom\n");
        return Core::kStatusNotFound;
    }
    const auto find = [stblAtom](uint32_t type) {
        return stblAtom->FindNextChildOfType(type, nullptr);
    };
    const Atom* const sttsAtom = find(Core::FourCharCode("stts"));
    if (sttsAtom == nullptr) {
        KVX_LOG("Failed to find a time to sample number atom in track\n");
        return Core::kStatusInvalid;
    }
    const Atom* const stscAtom = find(Core::FourCharCode("stsc"));
    if (stscAtom == nullptr) {
        KVX_LOG("Failed to find a sample to chunk atom in track\n");
        return Core::kStatusInvalid;
    }
    const Atom* const stszAtom = find(Core::FourCharCode("stsz"));
    if (stszAtom == nullptr) {
        KVX_LOG("Failed to find a sample size atom in track\n");
        return Core::kStatusInvalid;
    }
    if (const long status = SetFixedSize(stszAtom)) {
        return status;
    }
    const Atom* const stcoAtom = find(Core::FourCharCode("stco"));
    const Atom* const co64Atom = find(Core::FourCharCode("co64"));
    const Atom* const chunksAtom = stcoAtom != nullptr ? stcoAtom : co64Atom;
    if (chunksAtom == nullptr) {
        KVX_LOG("Failed to find a chunk offset atom in track\n");
        return Core::kStatusInvalid;
    }

    if (const long status = SetDurations(sttsAtom)) {
        return status;
    }
    if (const long status = mFixedSampleSize != 0
                                ? SetChunksOfEqualSamples(stscAtom, chunksAtom, stszAtom)
                                : SetChunksAndSizes(stscAtom, chunksAtom, stszAtom)) {
        return status;
    }
    if (const long status = SetDisplayOffsets(find(Core::FourCharCode("ctts")))) {
        return status;
    }
    return SetKeyFrames(find(Core::FourCharCode("stss")));
}

long SampleTable::SetFixedSize(const Atom* stszAtom) {
    if (mFixedSampleSize != 0) {
        return 0;
    }
    AtomFields sizes = TableFields(stszAtom);
    mFixedSampleSize = sizes.Unsigned32(kConstantSizeOffset);
    if (mFixedSampleSize == 0 && sizes.Signed32(kSizeCountOffset) == 1) {
        mFixedSampleSize = sizes.Unsigned32(kSizesOffset);
    }
    return sizes.Status();
}

long SampleTable::SetDurations(const Atom* sttsAtom) {
    constexpr uint64_t kEntrySize = 8;
    TableEntries entries;
    if (const long status = entries.Init(TableFields(sttsAtom), kEntrySize)) {
        return status;
    }
    const char* const end = entries.bytes + entries.count * kEntrySize;

    mSampleCount = 0;
    for (const char* entry = entries.bytes; entry != end; entry += kEntrySize) {
        mSampleCount += TableSigned32(entry);
    }

    mSampleDurations.Reserve(static_cast<size_t>(entries.count));
    long long time = 0;
    long long sample = 0;
    for (const char* entry = entries.bytes; entry != end; entry += kEntrySize) {
        const long long count = TableSigned32(entry);
        const long long duration = TableSigned32(entry + 4);
        mSampleDurations.Append(time, {sample, duration});
        // The last sample often has an odd duration, which says nothing about the frame rate.
        const bool isShorter = duration < mSampleDuration && sample < mSampleCount - 1;
        if (entry == entries.bytes || isShorter) {
            mSampleDuration = duration;
        }
        time = WrappingSum(time, count * duration);
        sample += count;
    }
    mSampleDurations.Finish();
    return 0;
}

long SampleTable::SetDisplayOffsets(const Atom* cttsAtom) {
    if (cttsAtom == nullptr) {
        return 0;
    }
    constexpr uint64_t kEntrySize = 8;
    TableEntries entries;
    if (const long status = entries.Init(TableFields(cttsAtom), kEntrySize)) {
        return status;
    }
    mDisplayOffsets.Reserve(static_cast<size_t>(entries.count));
    long long sample = 0;
    for (long long i = 0; i < entries.count; ++i) {
        const char* const entry = entries.bytes + i * kEntrySize;
        const long long offset = TableSigned32(entry + 4);
        mMaxDisplayOffset = std::max(mMaxDisplayOffset, offset);
        mMinDisplayOffset = std::min(mMinDisplayOffset, offset);
        mDisplayOffsets.Append(sample, offset);
        sample += TableSigned32(entry);
    }
    mDisplayOffsets.Finish();
    return 0;
}

long SampleTable::SetKeyFrames(const Atom* stssAtom) {
    if (stssAtom == nullptr) {
        return 0;
    }
    constexpr uint64_t kEntrySize = 4;
    TableEntries entries;
    if (const long status = entries.Init(TableFields(stssAtom), kEntrySize)) {
        return status;
    }
    mKeyFrames.reserve(static_cast<size_t>(entries.count));
    for (long long i = 0; i < entries.count; ++i) {
        // Samples are counted from 1 in the file.
        const long long number = Core::ReadBig32(entries.bytes + i * kEntrySize);
        mKeyFrames.push_back(number - 1);
    }
    return 0;
}

}  // namespace KVX::QT
