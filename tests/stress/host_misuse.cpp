// Plays a host that has lost its way: sequences of fifty calls drawn at random, in any order and
// with any numbers, on good movies and bad ones, while the host's own suites fail or lay out pixels
// strangely. Every call must answer one of the values that belong to its selector, and when all is
// closed no pixel buffer and no descriptor may be left.
//
//     kvx_host_misuse [SEQUENCES [FIRST]]      10000 sequences from number 0 by default
//
// A sequence is a function of its number: the one at which the program ended is run again, with its
// calls and its log, by `kvx_host_misuse 1 NUMBER`.
//
// What a host must not get wrong, and does not here: records are there, private data is what
// the importer gave out and has not been given back, an asynchronous importer is closed before its
// file is, output planes and suites are what they claim to be.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "host/host_identity.h"
#include "hostkit/frame_cache.h"
#include "hostkit/host.h"
#include "hostkit/importer.h"
#include "hostkit/pixel_buffers.h"
#include "hostkit/record_block.h"
#include "hostkit/utf16.h"
#include "support/entries_under_test.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"
#include "support/open_descriptors.h"
#include "support/random.h"
#include "support/sanitizers.h"
#include "support/temp_directory.h"

namespace {

using kvx_hostkit::RecordBlock;
using kvx_test::MovieRecipe;
using kvx_test::Random;

constexpr int kCallsInASequence = 50;
constexpr int kSlots = 3;  // importer IDs of a sequence
constexpr long kOrderedFailure = -77;
constexpr int kAudioFrames = 2000;
constexpr int kPlanes = 6;
constexpr int kMovies = 10;
constexpr int kGoodMovies = 5;
constexpr std::chrono::seconds kPatience(60);

using Clock = std::chrono::steady_clock;

// The calls of the sequence so far, for whoever has to find out what went wrong.
long sSequence = 0;
char sCalls[16384];
size_t sCallsLength = 0;

__attribute__((format(printf, 1, 2))) void Note(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const size_t room = sizeof(sCalls) - sCallsLength;
    const int length = std::vsnprintf(sCalls + sCallsLength, room, format, arguments);
    va_end(arguments);
    sCallsLength += std::min(room - 1, static_cast<size_t>(std::max(length, 0)));
}

void TellSequence() {
    std::printf("sequence %ld:\n%s", sSequence, sCalls);
    std::fflush(stdout);
}

[[maybe_unused]] void TellAndDie(int signal) {
    TellSequence();  // not for signal handlers, but the program is lost anyway
    std::signal(signal, SIG_DFL);
    raise(signal);
}

[[noreturn]] void Fail(const char* what) {
    TellSequence();
    std::printf("host_misuse: %s\n", what);
    std::fflush(stdout);
    std::_Exit(1);
}

// Takes an answer and the values that it may have.
long Expect(long answer, const std::set<long>& allowed) {
    Note(" -> %ld\n", answer);
    if (allowed.count(answer) == 0) {
        Fail("an answer that this selector does not have");
    }
    return answer;
}

void* Word(int64_t number) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<void*>(static_cast<intptr_t>(number));
}

// Movies ---------------------------------------------------------------------------------------

kvx_test::TrackRecipe Video(const char* format, int width, int height, uint32_t size,
                            uint64_t offset) {
    kvx_test::VideoDescription description;
    description.format = format;
    description.width = width;
    description.height = height;
    return kvx_test::VideoTrackRecipe(description, size, 10, 24000, 1000, offset);
}

kvx_test::TrackRecipe Sound(int channels, int bits, uint64_t offset) {
    kvx_test::SoundDescriptionV0 description;
    description.channels = channels;
    description.bits = bits;
    description.format = bits == 24 ? "in24" : "twos";
    return kvx_test::SoundTrackRecipe(kvx_test::Describe(description),
                                      static_cast<uint32_t>(channels * bits / 8), kAudioFrames,
                                      48000, offset);
}

// Good and bad ones. All files are of one length: a read through a descriptor that was closed and
// has become another file's still finds its bytes, where a read past the end would never complete.
std::vector<std::string> WriteMovies(const kvx_test::TempDirectory& directory) {
    constexpr off_t kLength = 1 << 20;
    constexpr uint64_t kMedia = kvx_test::kMediaOffset;
    std::vector<std::string> paths;
    const auto write = [&](std::vector<kvx_test::TrackRecipe> tracks) {
        MovieRecipe recipe;
        recipe.timeScale = 48000;
        for (kvx_test::TrackRecipe& track : tracks) {
            track.headerDuration = track.mediaDuration * recipe.timeScale / track.mediaTimeScale;
            recipe.duration = std::max(recipe.duration, track.headerDuration);
        }
        recipe.tracks = std::move(tracks);
        kvx_test::MovieFileLayout layout;
        layout.movieFirst = true;
        paths.push_back(kvx_test::WriteMovie(directory, recipe, layout,
                                             "movie" + std::to_string(paths.size()) + ".mov"));
    };
    write({Video("2vuy", 16, 8, 256, kMedia), Sound(2, 16, 2 * kMedia),
           kvx_test::TimeCodeTrackRecipe({}, 10, 3 * kMedia)});
    write(
        {Video("v210", 96, 16, 4096, kMedia), Sound(1, 16, 2 * kMedia), Sound(1, 16, 3 * kMedia)});
    write({Video("r210", 20, 5, 1280, kMedia + 4), Sound(6, 24, 2 * kMedia)});
    write({Video("2Vuy", 33, 7, 66 * 7, kMedia + 1)});
    write({Video("v210", 20, 5, 100, kMedia)});  // samples too small for their frames
    write({Video("2vuy", 0, 0, 256, kMedia)});
    write({Video("2vuy", 16, 8, 256, kMedia), Video("2vuy", 16, 8, 256, 2 * kMedia)});
    write({Sound(2, 16, kMedia)});
    paths.push_back(directory.File("text.mov"));
    kvx_test::WriteFile(paths.back(), "This is no movie at all.");
    for (const std::string& path : paths) {
        if (truncate(path.c_str(), kLength) != 0) {
            Fail("a movie cannot be written");
        }
    }
    paths.push_back(directory.File("missing.mov"));
    if (paths.size() != kMovies) {
        Fail("not the number of movies");
    }
    return paths;
}

// A sequence -----------------------------------------------------------------------------------

const std::vector<PrPixelFormat> kFormats = {
    PrPixelFormat_BGRA_4444_8u,
    PrPixelFormat_BGRA_4444_16u,
    PrPixelFormat_BGRA_4444_32f,
    PrPixelFormat_BGRX_4444_32f,
    PrPixelFormat_RGB_444_10u,
    PrPixelFormat_V210_422_10u_601,
    PrPixelFormat_UYVY_422_8u_709,
    PrPixelFormat_UYVY_422_8u_601,
    kKVXCustomPixelFormat,
    PrPixelFormat_Any,
    PrPixelFormat_Raw,
    PrPixelFormat_Invalid,
    PrPixelFormat_ARGB_4444_8u,
};

constexpr int64_t kDeliveredFormats = 9;

constexpr const char* kFrameFunctions[] = {"CreatePPix", "CreateCustomPPix", "GetPixels",
                                           "GetRowBytes"};

const std::vector<int64_t> kExtremes = {INT64_MIN, INT64_MIN + 1, INT32_MIN,  -1,
                                        0,         INT32_MAX,     UINT32_MAX, INT64_MAX};

// What the host knows of one importer ID.
struct Slot {
    int32_t id = 0;
    void* privateData = nullptr;
    int holds = 0;
    std::vector<void*> asyncImporters;
};

class Sequence {
  public:
    Sequence(kvx_hostkit::Host& host, kvx_hostkit::PixelBuffers& buffers,
             kvx_hostkit::FrameCache& cache, const std::vector<std::string>& movies,
             const kvx_test::TempDirectory& scratch, uint64_t seed)
        : mHost(host),
          mBuffers(buffers),
          mCache(cache),
          mImporter(host, kvx_test::EntriesUnderTest()),
          mMovies(movies),
          mScratch(scratch),
          mRandom(seed) {
        for (Slot& slot : mSlots) {
            slot.id = kvx_hostkit::Host::NextImporterID();
        }
        for (std::vector<float>& plane : mPlanes) {
            plane.resize(kAudioFrames);
        }
    }

    void Run() {
        for (int call = 0; call < kCallsInASequence; ++call) {
            Slot& slot = mSlots[static_cast<size_t>(mRandom.Pick(0, kSlots - 1))];
            // Opening comes often, so that most calls have something to go wrong with.
            const int64_t choice = mRandom.Pick(0, 29);
            if (choice < 6) {
                Open(slot);
            } else if (choice == 6) {
                Quiet(slot);
            } else if (choice == 7) {
                Close(slot);
            } else if (choice < 12) {
                AskAboutFile(slot);
            } else if (choice < 14) {
                ReadAudio(slot);
            } else if (choice < 23) {
                CallAsync(slot);
            } else if (choice == 23) {
                CallUnknown();
            } else if (choice == 24) {
                CallWithoutFile();
            } else if (choice == 25) {
                CallDeclined(slot);
            } else if (choice == 26) {
                CallOnPaths(slot);
            } else {
                ChangeHost();
            }
        }
        for (Slot& slot : mSlots) {
            while (slot.holds > 0) {
                Close(slot);
            }
        }
    }

  private:
    int64_t AnyNumber() {
        return mRandom.OneIn(2) ? mRandom.Pick(-3, 12) : mRandom.AnyOf(kExtremes);
    }
    int AnyInt() { return static_cast<int>(AnyNumber()); }

    // Not initialised, initialised, shut down: at any point, and all the same to the rest.
    void CallWithoutFile() {
        switch (mRandom.Pick(0, 3)) {
            case 0: {
                Note("imInit");
                RecordBlock<imImportInfoRec> info;
                Expect(mImporter.Init(info.Get()), {0, 5});
                break;
            }
            case 1:
                Note("imShutdown");
                Expect(mImporter.Call(imShutdown, AnyNumber(), AnyNumber()), {0});
                break;
            case 2: {
                const int index = AnyInt();
                Note("imGetIndFormat %d", index);
                RecordBlock<imIndFormatRec> format;
                Expect(mImporter.GetIndFormat(index, format.Get()), {index == 0 ? 0 : 301});
                break;
            }
            default:
                Note("imGetSupports7");
                Expect(mImporter.Call(imGetSupports7, 0L, 0L), {100});
                Note("imGetSupports8");
                Expect(mImporter.Call(imGetSupports8, 0L, 0L), {101});
                break;
        }
    }

    void CallUnknown() {
        const auto far = static_cast<int>(mRandom.AnyOf<int64_t>({INT_MIN, -1, 58, 1000, INT_MAX}));
        Note("selector %d", far);
        Expect(mImporter.Call(far, AnyNumber(), AnyNumber()), {3});
        const auto unused = static_cast<int>(mRandom.AnyOf<int64_t>({2, 3, 5, 15, 29, 35, 48, 57}));
        Note("selector %d", unused);
        Expect(mImporter.Call(unused, AnyNumber(), AnyNumber()), {3});
        const auto async = static_cast<int>(mRandom.AnyOf<int64_t>({INT_MIN, -1, 5, INT_MAX}));
        Note("asynchronous selector %d", async);
        Expect(mImporter.CallAsync(async, Word(AnyNumber())), {1});
    }

    void CallDeclined(const Slot& slot) {
        if (slot.privateData == nullptr) {
            return;
        }
        RecordBlock<imRecordHead> record;
        record->privatedata = slot.privateData;
        struct Declined {
            int selector;
            long answer;
        };
        const Declined each = mRandom.AnyOf<Declined>({{imAnalysis, 3},
                                                       {imDataRateAnalysis, 3},
                                                       {imGetMetaData, 16},
                                                       {imSetMetaData, 0},
                                                       {imCalcSize8, 3},
                                                       {imCheckTrim8, 3},
                                                       {imTrimFile8, 3},
                                                       {imGetSourceVideo, 3}});
        Note("selector %d", each.selector);
        Expect(mImporter.Call(each.selector, record.Get(), record.Get()), {each.answer});
    }

    void Open(Slot& slot) {
        // Those that can be imported stand first.
        const std::string& path = mMovies[static_cast<size_t>(
            mRandom.OneIn(3) ? mRandom.Pick(0, kMovies - 1) : mRandom.Pick(0, kGoodMovies - 1))];
        const auto hostPath = kvx_hostkit::ToHostPath(path);
        RecordBlock<imFileOpenRec8> record;
        record->filepath = mRandom.OneIn(20) ? nullptr : hostPath.data();
        record->importerID = slot.id;
        record->privatedata = slot.privateData;
        if (mRandom.OneIn(20)) {
            Note("imOpenFile8 without a place for the handle");
            Expect(mImporter.Call(imOpenFile8, nullptr, record.Get()), {0});
            return;
        }
        void* reference = Word(mRandom.OneIn(2) ? -1 : AnyNumber());
        const bool isNew = static_cast<int32_t>(reinterpret_cast<intptr_t>(reference)) == -1;
        Note("imOpenFile8 %s as %p for %d", path.c_str() + path.rfind('/') + 1, reference, slot.id);
        std::set<long> allowed = {0, 2, 12, 22};
        if (mHost.settings.ticksStatus != 0 || mRefused.count("Premiere Legacy Suite") != 0) {
            allowed.insert(kOrderedFailure);
        }
        Expect(mImporter.Call(imOpenFile8, &reference, record.Get()), allowed);
        slot.privateData = record->privatedata;
        // An object that is new has one hold whatever the handle.
        if (slot.privateData != nullptr && (isNew || slot.holds == 0)) {
            ++slot.holds;
        }
    }

    void Quiet(const Slot& slot) {
        void* reference = Word(AnyNumber());
        Note("imQuietFile %p", reference);
        Expect(mImporter.Call(imQuietFile, &reference,
                              slot.holds == 0 || mRandom.OneIn(10) ? nullptr : slot.privateData),
               {0});
    }

    void Close(Slot& slot) {
        void* reference = Word(AnyNumber());
        if (slot.holds == 0) {
            Note("imCloseFile of nothing");
            Expect(mImporter.Call(imCloseFile, &reference, nullptr), {0});
            return;
        }
        if (slot.holds == 1) {
            for (void* const asyncImporter : slot.asyncImporters) {
                Note("aiClose");
                Expect(mImporter.CallAsync(aiClose, asyncImporter), {0});
            }
            slot.asyncImporters.clear();
        }
        Note("imCloseFile %p", reference);
        Expect(mImporter.Call(imCloseFile, &reference, slot.privateData), {0});
        if (--slot.holds == 0) {
            slot.privateData = nullptr;
        }
    }

    void AskAboutFile(const Slot& slot) {
        if (slot.privateData == nullptr) {
            return;
        }
        const int index = AnyInt();
        switch (mRandom.Pick(0, 4)) {
            case 0: {
                Note("imGetInfo8 %d", index);
                RecordBlock<imFileInfoRec8> info;
                info->privatedata = slot.privateData;
                info->streamIdx = index;
                Expect(mImporter.Call(imGetInfo8, nullptr, info.Get()), {0, 2, 18, 19});
                break;
            }
            case 1: {
                Note("imGetIndPixelFormat %d", index);
                RecordBlock<imIndPixelFormatRec> record;
                record->privatedata = slot.privateData;
                Expect(mImporter.Call(imGetIndPixelFormat, index,
                                      reinterpret_cast<long>(record.Get())),
                       {0, 301});
                break;
            }
            case 2: {
                Note("imGetPreferredFrameSize");
                RecordBlock<imPreferredFrameSizeRec> record;
                record->privatedata = slot.privateData;
                Expect(mImporter.Call(imGetPreferredFrameSize, record.Get(), nullptr), {0});
                break;
            }
            case 3: {
                Note("imGetTimeInfo8");
                RecordBlock<imTimeInfoRec8> info;
                info->privatedata = slot.privateData;
                Expect(mImporter.Call(imGetTimeInfo8, nullptr, info.Get()), {0, 12});
                break;
            }
            default: {
                Note("imSetTimeInfo8");
                RecordBlock<imTimeInfoRec8> info;
                info->privatedata = slot.privateData;
                const auto length = static_cast<size_t>(mRandom.Pick(0, 17));
                for (size_t i = 0; i < length; ++i) {
                    info->originalTime[i] = static_cast<char>(
                        mRandom.OneIn(20)                  ? mRandom.Pick(-128, 127)
                        : i % 3 == 2 && !mRandom.OneIn(10) ? ':'
                                                           : mRandom.Pick('0', '5'));
                }
                info->originalScale = AnyInt();
                info->originalSampleSize = AnyInt();
                Expect(mImporter.Call(imSetTimeInfo8, nullptr, info.Get()), {5});
                break;
            }
        }
    }

    void ReadAudio(const Slot& slot) {
        if (slot.privateData == nullptr) {
            return;
        }
        float* planes[kPlanes];
        for (size_t plane = 0; plane < kPlanes; ++plane) {
            planes[plane] = mPlanes[plane].data();
        }
        RecordBlock<imImportAudioRec7> record;
        record->position = mRandom.OneIn(3) ? AnyNumber() : mRandom.Pick(-1, kAudioFrames + 1);
        record->size = mRandom.OneIn(5) ? UINT32_MAX
                                        : static_cast<uint32_t>(mRandom.Pick(0, 2 * kAudioFrames));
        record->buffer = planes;
        record->privatedata = slot.privateData;
        const int stream = mRandom.OneIn(2) ? 0 : AnyInt();
        const int64_t position = record->position;
        const uint32_t size = record->size;
        Note("imImportAudio7 stream %d, %u from %lld", stream, size,
             static_cast<long long>(position));
        // 4 for a start after the end; the errno of a read from a closed file.
        Expect(mImporter.Call(imImportAudio7, stream, reinterpret_cast<long>(record.Get())),
               {0, 4, 9, 19, 22});
    }

    void CallOnPaths(const Slot& slot) {
        const std::vector<std::string> names = {"a", "b", "c", "a/d", "missing/e"};
        const auto any = [&] { return mScratch.File(mRandom.AnyOf(names)); };
        if (mRandom.OneIn(2)) {
            kvx_test::WriteFile(mScratch.File("a"), "some bytes");
        }
        const std::string source = any();
        const std::string destination = mRandom.OneIn(10) ? "no slash" : any();
        Note("imSaveFile8 %s %s", source.c_str(), destination.c_str());
        const auto sourcePath = kvx_hostkit::ToHostPath(source);
        const auto destinationPath = kvx_hostkit::ToHostPath(destination);
        RecordBlock<imSaveFileRec8> record;
        record->privatedata = slot.privateData;
        record->sourcePath = mRandom.OneIn(20) ? nullptr : sourcePath.data();
        record->destinationPath = mRandom.OneIn(20) ? nullptr : destinationPath.data();
        const long saved = mImporter.Call(imSaveFile8, record.Get(), nullptr);
        Note(" -> %ld\n", saved);
        const std::string path = any();
        Note("imDeleteFile8 %s", path.c_str());
        const long deleted = mImporter.DeleteFile(path);
        Note(" -> %ld\n", deleted);
        // The platform's own statuses pass through: negative.
        if (saved > 4 || deleted > 4) {
            Fail("an answer that this selector does not have");
        }
    }

    void CallAsync(Slot& slot) {
        if (slot.privateData == nullptr) {
            return;
        }
        if (slot.asyncImporters.empty() || mRandom.OneIn(12)) {
            Note("imCreateAsyncImporter");
            RecordBlock<imAsyncImporterCreationRec> record;
            record->privatedata = slot.privateData;
            if (Expect(mImporter.Call(imCreateAsyncImporter, record.Get(), nullptr), {0, 5}) == 0) {
                void* const made = record->asyncPrivateData;  // packed: no reference to it
                slot.asyncImporters.push_back(made);
            }
            return;
        }
        const auto which = static_cast<size_t>(
            mRandom.Pick(0, static_cast<int64_t>(slot.asyncImporters.size()) - 1));
        void* const asyncImporter = slot.asyncImporters[which];
        const auto selector = static_cast<int>(
            mRandom.AnyOf<int64_t>({aiInitiateAsyncRead, aiInitiateAsyncRead, aiInitiateAsyncRead,
                                    aiGetFrame, aiGetFrame, aiCancelAsyncRead, aiFlush, aiClose}));
        if (selector == aiClose) {
            Note("aiClose");
            Expect(mImporter.CallAsync(aiClose, asyncImporter), {0});
            slot.asyncImporters.erase(slot.asyncImporters.begin() +
                                      static_cast<std::ptrdiff_t>(which));
            return;
        }
        CallWithFrame(selector, asyncImporter);
    }

    void CallWithFrame(int selector, void* asyncImporter) {
        std::vector<imFrameFormat> offered;
        for (int64_t count = mRandom.Pick(0, 4); count > 0; --count) {
            const auto last = static_cast<int64_t>(kFormats.size()) - 1;
            const int64_t format = mRandom.Pick(0, mRandom.OneIn(4) ? last : kDeliveredFormats - 1);
            offered.push_back({AnyInt(), AnyInt(), kFormats[static_cast<size_t>(format)]});
        }
        constexpr int64_t kTicksPerFrame = 10584000000;
        PPixHand ppix = nullptr;
        RecordBlock<aiAsyncRequest> request;
        request->privatedata = asyncImporter;
        imSourceVideoRec& source = request->sourceRec;
        source.privatedata = asyncImporter;
        source.frameTime = mRandom.OneIn(4) ? AnyNumber() : mRandom.Pick(-2, 12) * kTicksPerFrame;
        source.frameFormats = offered.data();
        source.frameFormatCount = mRandom.OneIn(10) ? -1 : static_cast<int32_t>(offered.size());
        source.ppix = &ppix;
        const int64_t time = source.frameTime;
        const int32_t count = source.frameFormatCount;
        Note("asynchronous selector %d at %lld with %d formats, first %x", selector,
             static_cast<long long>(time), count, offered.empty() ? 0 : offered[0].pixelFormat);
        if (selector == aiGetFrame) {
            const int before = mCache.faults.Failures("GetFrameFromCache");
            const long answer = mImporter.CallAsync(aiGetFrame, &source);
            const bool failed = mCache.faults.Failures("GetFrameFromCache") > before;
            Expect(answer, failed ? std::set<long>{kOrderedFailure} : std::set<long>{0, 3, 22});
            if (answer == 0) {
                kvx_hostkit::PixelBuffers::Dispose(ppix);
            }
            return;
        }
        const int before = FailuresOnTheWayToAFrame();
        const long answer = mImporter.CallAsync(selector, request.Get());
        if (selector != aiInitiateAsyncRead) {
            Expect(answer, {0});
        } else if (FailuresOnTheWayToAFrame() > before) {
            Expect(answer, {kOrderedFailure});
        } else {
            Expect(answer, {0, 9, 22, 27});
        }
    }

    // Of the suites that a request calls itself, and whose failure it returns.
    int FailuresOnTheWayToAFrame() const {
        int failures = 0;
        for (const char* const function : kFrameFunctions) {
            failures += mBuffers.faults.Failures(function);
        }
        return failures;
    }

    // Another mood of the host's, until the next one.
    void ChangeHost() {
        const auto status = static_cast<int32_t>(mRandom.OneIn(5) ? kOrderedFailure : 0);
        const std::vector<std::string> suites = {
            "MediaCore App Info Suite",      "Premiere Legacy Suite",
            "Premiere PPix Cache Suite",     "Premiere PPix Creator Suite",
            "Premiere PPix Creator 2 Suite", "Premiere PPix Suite",
        };
        switch (mRandom.Pick(0, 8)) {
            case 0: {
                const std::string& suite = mRandom.AnyOf(suites);
                Note("%s acquired with %d\n", suite.c_str(), status);
                mHost.FailAcquisition(suite, status);
                if (status != 0) {
                    mRefused.insert(suite);
                } else {
                    mRefused.erase(suite);
                }
                break;
            }
            case 1:
                mHost.settings.hasSuites = !mRandom.OneIn(4);
                Note("suites: %d\n", mHost.settings.hasSuites);
                break;
            case 2:
                mHost.settings.versionStatus = status;
                break;
            case 3:
                mHost.settings.ticksStatus = status;
                break;
            case 4: {
                const std::string function = mRandom.AnyOf(std::vector<std::string>(
                    std::begin(kFrameFunctions), std::end(kFrameFunctions)));
                Note("%s fails once\n", function.c_str());
                mBuffers.faults.FailAt(function, 1, kOrderedFailure);
                break;
            }
            case 5: {
                const std::string function =
                    mRandom.AnyOf<std::string>({"AddFrameToCache", "GetFrameFromCache"});
                Note("%s fails once\n", function.c_str());
                mCache.faults.FailAt(function, 1, kOrderedFailure);
                break;
            }
            case 6:
                Note("the cache lets go of all frames\n");
                mCache.Forget();
                break;
            case 7: {
                const int64_t ticks = mRandom.AnyOf<int64_t>(
                    {254016000000, 254016000000, 254016000000, 0, -1, 1, INT64_MAX});
                Note("%lld ticks a second\n", static_cast<long long>(ticks));
                mHost.settings.ticksPerSecond = ticks;
                break;
            }
            default:
                mBuffers.settings.misalignment = static_cast<size_t>(mRandom.Pick(0, 17));
                mBuffers.settings.rowBytesMultiple = mRandom.OneIn(2) ? 16 : 1;
                mBuffers.settings.extraRowBytes = static_cast<int>(mRandom.Pick(0, 33));
                mBuffers.settings.rows = static_cast<kvx_hostkit::RowOrder>(mRandom.Pick(0, 2));
                Note("pixels at %zu, rows %d\n", mBuffers.settings.misalignment,
                     static_cast<int>(mBuffers.settings.rows));
                break;
        }
    }

    kvx_hostkit::Host& mHost;
    kvx_hostkit::PixelBuffers& mBuffers;
    kvx_hostkit::FrameCache& mCache;
    kvx_hostkit::Importer mImporter;
    const std::vector<std::string>& mMovies;
    const kvx_test::TempDirectory& mScratch;
    Random mRandom;
    std::set<std::string> mRefused;  // suites that cannot be acquired
    std::array<Slot, kSlots> mSlots;
    std::array<std::vector<float>, kPlanes> mPlanes;
};

bool Eventually(const std::function<bool()>& condition) {
    const auto limit = Clock::now() + kPatience;
    while (!condition()) {
        if (Clock::now() > limit) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    const long sequences = argc > 1 ? std::atol(argv[1]) : 10000;
    const long first = argc > 2 ? std::atol(argv[2]) : 0;
    // Sanitizers tell what they find beside the log.
    if (!kvx_test::IsUnderSanitizer()) {
        if (sequences > 1) {
            dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
        }
        for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGABRT}) {
            std::signal(signal, TellAndDie);
        }
    }

    const kvx_test::TempDirectory directory;
    const kvx_test::TempDirectory scratch;
    const std::vector<std::string> movies = WriteMovies(directory);
    kvx_hostkit::Host host;
    kvx_hostkit::PixelBuffers buffers(host);
    kvx_hostkit::FrameCache cache(host);
    const kvx_hostkit::HostSettings usualHost;
    const kvx_hostkit::PixelBufferSettings usualPixels;

    size_t descriptors = 0;
    for (sSequence = first; sSequence < first + sequences; ++sSequence) {
        sCallsLength = 0;
        sCalls[0] = '\0';
        KVX::gAppIsPremiere = -1;
        Sequence(host, buffers, cache, movies, scratch, static_cast<uint64_t>(sSequence)).Run();

        if (!Eventually([&] {
                cache.Forget();
                return buffers.LiveCount() == 0;
            })) {
            Fail("pixel buffers are left");
        }
        if (buffers.DamagedCount() != 0) {
            Fail("bytes around a frame's pixels were written");
        }
        const size_t left = kvx_test::OpenDescriptors().size();
        if (descriptors != 0 && left != descriptors) {
            Fail("descriptors are left");
        }
        descriptors = left;
        host.settings = usualHost;
        buffers.settings = usualPixels;
        buffers.faults.Clear();
        cache.faults.Clear();
        for (const char* const suite : {"MediaCore App Info Suite", "Premiere Legacy Suite",
                                        "Premiere PPix Cache Suite", "Premiere PPix Creator Suite",
                                        "Premiere PPix Creator 2 Suite", "Premiere PPix Suite"}) {
            host.FailAcquisition(suite, 0);
        }
    }
    if (sequences == 1) {
        sSequence = first;
        TellSequence();
    }
    std::printf("%ld sequences, %d pixel buffers\n", sequences, buffers.CreatedCount());
    return 0;
}
