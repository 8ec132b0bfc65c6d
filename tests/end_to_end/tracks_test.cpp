// More, fewer and other tracks than one of each kind; and tracks of which an edit list shows a
// part.

#include <gtest/gtest.h>

#include "end_to_end/module_under_test.h"
#include "end_to_end/movie_checks.h"
#include "hostkit/clip.h"

namespace {

using kvx_test::ExpectSameInAll;
using kvx_test::ReadRealMovie;
using kvx_test::RealMovie;

TEST(EndToEndTracks, NoSound) {
    ExpectSameInAll(ReadRealMovie("tracks/no-sound.mov"));
}

TEST(EndToEndTracks, ThreeSounds) {
    const RealMovie movie = ReadRealMovie("tracks/three-sounds.mov");
    ASSERT_EQ(movie.sounds.size(), 3u);
    ASSERT_NE(movie.sounds[0].samples, movie.sounds[1].samples);
    ExpectSameInAll(movie);
}

TEST(EndToEndTracks, ThreeSoundsHaveThreeStreams) {
    const RealMovie movie = ReadRealMovie("tracks/three-sounds.mov");
    kvx_hostkit::Clip clip(kvx_test::ModuleUnderTest(), movie.path);
    ASSERT_EQ(clip.Open(), imNoErr);
    EXPECT_EQ(clip.ReadAudio(3, 0, 0, nullptr), imBadStreamIndex);
    ASSERT_EQ(clip.Open(), imNoErr);
    ASSERT_EQ(clip.Open(), imNoErr);
    EXPECT_EQ(clip.Quiet(0), imNoErr);
    EXPECT_EQ(clip.Close(1), imNoErr);
    EXPECT_EQ(clip.Reopen(0), imNoErr);
}

TEST(EndToEndTracks, TimecodeDoesNotDisturb) {
    ExpectSameInAll(ReadRealMovie("tracks/timecode.mov"));
}

TEST(EndToEndTracks, EditListSkipsTheStart) {
    const RealMovie movie = ReadRealMovie("tracks/trimmed.mov");
    // Ten frames in the file, of which three are skipped and five are shown.
    EXPECT_EQ(movie.videos[0].duration, 5 * 512);
    EXPECT_EQ(movie.sounds[0].samples.size(), 2u * 9600);
    ExpectSameInAll(movie);
}

}  // namespace
