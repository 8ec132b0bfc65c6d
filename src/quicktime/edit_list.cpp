#include "core/assert.h"
#include "core/big_endian.h"
#include "core/four_char_code.h"
#include "core/log.h"
#include "core/status.h"
#include "quicktime/atom_fields.h"
#include "quicktime/track.h"
#include "quicktime/wrapping.h"

namespace KVX::QT {

namespace {

// "elst": entries in movie time units (QuickTime File Format, "Edit List Atoms").
constexpr uint64_t kCountOffset = 12;
constexpr uint64_t kEntriesOffset = 16;
constexpr uint64_t kEntrySize = 12;
constexpr double kFixedPointUnit = 1.0 / 65536;

// "tkhd", version 0.
constexpr uint64_t kTrackDurationOffset = 28;

}  // namespace

long Track::SetEditList(Atom* trakAtom) {
    KVX_ASSERT(mMovieTimeScale != 0 && mMediaTimeScale != 0);
    mEditRates.clear();
    const auto toMediaTime = [this](long long movieTime) {
        return WrappingQuotient(WrappingProduct(mMediaTimeScale, movieTime), mMovieTimeScale);
    };

    Atom* const edtsAtom = trakAtom->FindNextChildOfType(Core::FourCharCode("edts"), nullptr);
    const Atom* const elstAtom =
        edtsAtom == nullptr ? nullptr
                            : edtsAtom->FindNextChildOfType(Core::FourCharCode("elst"), nullptr);
    if (elstAtom != nullptr) {
        AtomFields editList(elstAtom);
        const int32_t count = editList.Signed32(kCountOffset);
        if (count > 0) {
            // The count only tells that there are entries; the atom's length tells how many. Bytes
            // that are left after the last whole entry are padding.
            mEditRates.Reserve(static_cast<size_t>(editList.Length() / kEntrySize));
            long long elapsed = 0;
            uint64_t offset = kEntriesOffset;
            do {
                const char* const entry = editList.Bytes(offset, kEntrySize);
                if (entry == nullptr) {
                    return editList.Status();
                }
                const long long mediaTime = static_cast<int32_t>(Core::ReadBig32(entry + 4));
                const double rate = Core::ReadBig32(entry + 8) * kFixedPointUnit;
                mEditRates.Append(toMediaTime(elapsed), {mediaTime, rate});
                elapsed += static_cast<int32_t>(Core::ReadBig32(entry));
                offset += kEntrySize;
            } while (editList.Length() - offset >= kEntrySize);
            mEditRates.Finish();
            mTrackDuration = toMediaTime(elapsed);
            return 0;
        }
        if (editList.Status() != 0) {
            return editList.Status();
        }
    }

    mEditRates.Append(0, {0, 1.0});
    const Atom* const tkhdAtom = trakAtom->FindNextChildOfType(Core::FourCharCode("tkhd"), nullptr);
    if (tkhdAtom == nullptr) {
        KVX_LOG("Failed to find a track header atom\n");
        return Core::kStatusNotFound;
    }
    AtomFields trackHeader(tkhdAtom);
    mTrackDuration = toMediaTime(trackHeader.Signed32(kTrackDurationOffset));
    return trackHeader.Status();
}

}  // namespace KVX::QT
