// Movies while the process runs out of descriptors: every number of free ones from none to what the
// movie needs.
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <set>
#include <string>
#include <vector>

#include "host/host_test.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/pixel_buffers.h"
#include "quicktime/movie.h"
#include "support/open_descriptors.h"
#include "support/sanitizers.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::FrameSource;
using kvx_test::LogCapture;
using kvx_test::OpenDescriptors;

// Leaves so many descriptors free while it lives.
class FreeDescriptors {
  public:
    explicit FreeDescriptors(int count) {
        getrlimit(RLIMIT_NOFILE, &mUsual);
        const std::set<int> open = OpenDescriptors();
        const int beyond = *open.rbegin() + 1;
        // Whatever is free below the highest in use is taken.
        for (int descriptor = dup(0); descriptor != -1; descriptor = dup(0)) {
            if (descriptor >= beyond) {
                close(descriptor);
                break;
            }
            mTaken.push_back(descriptor);
        }
        rlimit limit = mUsual;
        limit.rlim_cur = static_cast<rlim_t>(beyond) + static_cast<rlim_t>(count);
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~FreeDescriptors() {
        setrlimit(RLIMIT_NOFILE, &mUsual);
        for (const int descriptor : mTaken) {
            close(descriptor);
        }
    }

    FreeDescriptors(const FreeDescriptors&) = delete;
    FreeDescriptors& operator=(const FreeDescriptors&) = delete;

  private:
    rlimit mUsual = {};
    std::vector<int> mTaken;
};

class Descriptors : public kvx_test::HostTest, public testing::WithParamInterface<int> {
  protected:
    // One of video, all others of audio.
    int Tracks() const { return GetParam(); }

    std::string WriteTracks() {
        std::vector<kvx_test::TrackRecipe> tracks = {kvx_test::Video()};
        kvx_test::SoundDescriptionV0 mono;
        mono.channels = 1;
        while (static_cast<int>(tracks.size()) < Tracks()) {
            tracks.push_back(kvx_test::Sound(mono, 100));
        }
        return Write(kvx_test::MovieOf(tracks));
    }
};

TEST_P(Descriptors, FewerThanTheMovieNeeds) {
    if (kvx_test::IsUnderAddressSanitizer()) {
        GTEST_SKIP() << "the checks of casts that come with this sanitizer take descriptors too";
    }
    const std::string path = WriteTracks();
    // Each track's own, and the movie's while the tracks are made.
    const int needed = Tracks() + 1;
    for (int free = 0; free <= needed; ++free) {
        SCOPED_TRACE(free);
        Clip clip(importer, path);
        LogCapture log;
        const std::set<int> before = OpenDescriptors();
        long result = -1;
        {
            const FreeDescriptors few(free);
            result = clip.Open();
        }
        if (free < needed) {
            EXPECT_EQ(result, 12);
            // None at all and the file does not open; then each track needs one of its own.
            const std::string reason =
                free == 0 ? "Failed to open movie file" : "OpenFile: open returned 24\n";
            EXPECT_NE(log.Text().find(reason), std::string::npos) << log.Text();
            EXPECT_EQ(OpenDescriptors(), before);
        } else {
            EXPECT_EQ(result, 0);
            EXPECT_EQ(OpenDescriptors().size(), before.size() + static_cast<size_t>(Tracks()));
        }
        while (clip.Close() == imNoErr && clip.PrivateData() != nullptr) {
        }
        EXPECT_EQ(OpenDescriptors(), before);
    }
}

// The host is told nothing at the reopening; tracks that are left closed refuse to be read.
TEST_P(Descriptors, FewerThanTheReopeningNeeds) {
    kvx_hostkit::PixelBuffers buffers{host};
    kvx_hostkit::FrameCache cache{host};
    Clip clip(importer, WriteTracks());
    ASSERT_EQ(clip.Open(), 0);
    KVX::QT::Movie* const movie = ModuleOf(clip)->mMovie;
    FrameSource source(clip);
    ASSERT_EQ(source.Open(), 0);
    for (int free = 0; free <= Tracks(); ++free) {
        SCOPED_TRACE(free);
        const LogCapture log;
        ASSERT_EQ(clip.Quiet(), 0);
        const std::set<int> quiet = OpenDescriptors();
        long opened = -1;
        long reopened = -1;
        {
            const FreeDescriptors few(free);
            opened = movie->OpenFile();
            movie->CloseFile();
            reopened = clip.Reopen();
        }
        EXPECT_EQ(opened, free < Tracks() ? 22 : 0);
        EXPECT_EQ(reopened, 0);
        EXPECT_EQ(OpenDescriptors().size(), quiet.size() + static_cast<size_t>(free));

        // Audio tracks are opened before the video track.
        for (int track = 0; track < Tracks() - 1; ++track) {
            std::vector<float> samples(10);
            float* planes[] = {samples.data()};
            EXPECT_EQ(clip.ReadAudio(track, 0, 10, planes), track < free ? 0 : EBADF);
        }
        cache.Forget();
        EXPECT_EQ(source.Request(0, {PrPixelFormat_BGRA_4444_8u}), free < Tracks() ? 22 : 0);
        if (free == Tracks()) {
            EXPECT_TRUE(cache.WaitForFrame(clip.ImporterID(), 0, std::chrono::seconds(30)));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Tracks, Descriptors, testing::Values(1, 5, 64));

// Or the tests above prove nothing.
TEST(FreeDescriptors, LeavesAsManyAsItSays) {
    for (const int count : {0, 1, 3}) {
        std::vector<int> opened;
        {
            const FreeDescriptors few(count);
            for (int next = dup(0); next != -1; next = dup(0)) {
                opened.push_back(next);
            }
        }
        EXPECT_EQ(opened.size(), static_cast<size_t>(count));
        for (const int each : opened) {
            close(each);
        }
    }
}

}  // namespace
