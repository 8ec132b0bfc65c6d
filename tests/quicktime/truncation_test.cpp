// Movie files that end early: what lies wholly in the file is read, a torn track is refused, and
// nothing else is touched.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "quicktime/audio_track.h"
#include "quicktime/movie.h"
#include "quicktime/timecode_track.h"
#include "quicktime/video_track.h"
#include "support/log_capture.h"
#include "support/movie_file.h"

using namespace kvx_test;
using KVX::QT::Movie;
using KVX::QT::Track;

namespace {

const Bytes kHead = AtomNode{"ftyp", "qt  " + big32(0x20050300)}.Serialize();

MovieRecipe ReorderedVideo() {
    VideoDescription video{"v210", 48, 2, 24, {PixelAspect(1, 1), FieldHandling(1, 0)}};
    TrackRecipe track = VideoTrackRecipe(video, 256, 6);
    track.constantSize = 0;
    track.sizes = {256, 256, 300, 300, 256, 10};
    track.PlaceSamples(kMediaOffset, 2, 50);
    track.edits = {{100, 1000}, {50, 0, 0x00020000}};
    track.displayOffsets = {{2, 1000}, {4, -1000}};
    track.keyFrames = {1, 4};
    MovieRecipe movie;
    movie.tracks = {track};
    return movie;
}

MovieRecipe AllKinds() {
    SoundDescriptionV2 sound;
    sound.channels = 6;
    sound.bytesPerPacket = 12;
    sound.extensions = {ChannelLayout(0x00790006),
                        Wave({Endianness(true), ElementaryStream("stream")})};
    MovieRecipe movie;
    movie.tracks = {VideoTrackRecipe({}, 256, 3),
                    SoundTrackRecipe(Describe(sound), 12, 48000, 48000, kMediaOffset + 768),
                    TimeCodeTrackRecipe({}, 3, kMediaOffset + 768 + 48000 * 12)};
    return movie;
}

// Extended sizes wherever the reader allows them, wide chunk offsets, a foreign track in between.
MovieRecipe WideAtoms() {
    MovieRecipe movie = AllKinds();
    for (TrackRecipe& track : movie.tracks) {
        track.wideChunkOffsets = true;
    }
    movie.tracks[1].mediaType = "text";
    movie.change = [](AtomNode& moov) {
        for (const char* path : {"trak", "trak/mdia", "trak[2]/mdia/minf", "trak[2]"}) {
            moov.At(path).form = AtomNode::SizeForm::Extended;
        }
    };
    return movie;
}

// Lengths to cut the file at: every short one, and each edge of an atom with its neighbours.
std::set<uint64_t> Lengths(const AtomNode& moov) {
    const uint64_t whole = kHead.size() + moov.Length();
    std::set<uint64_t> lengths;
    for (uint64_t length = 0; length < std::min<uint64_t>(whole, 2048); ++length) {
        lengths.insert(length);
    }
    for (const uint64_t edge : AtomEdges(moov)) {
        for (uint64_t length = edge + kHead.size() - 1; length <= edge + kHead.size() + 1;
             ++length) {
            lengths.insert(std::min(length, whole));
        }
    }
    return lengths;
}

struct Expectation {
    size_t wholeTracks = 0;  // of the kinds that a movie keeps
    std::string passedOver;  // the lines about those of other kinds
    bool endsInTrack = false;
};

// What the first `length` bytes of the file hold. The header tells a torn track from other atoms.
Expectation Expect(AtomNode& moov, uint64_t length) {
    Expectation expectation;
    for (int index = 0; moov.Find("trak[" + std::to_string(index) + "]") != nullptr; ++index) {
        const std::string path = "trak[" + std::to_string(index) + "]";
        const bool isKept = moov.At(path + "/mdia/hdlr").Peek(16, 4) != "text";
        const uint64_t start = kHead.size() + OffsetOf(moov, path);
        const uint64_t end = start + moov.At(path).Length();
        expectation.wholeTracks += isKept && end <= length;
        expectation.passedOver += isKept || end > length ? "" : "skipping track type 'text'\n";
        expectation.endsInTrack |= start + 8 <= length && length < end;
    }
    return expectation;
}

// What a file of `length` bytes that does not open is refused with. All cuts in front of the movie
// atom lie in the file's head, and a track that the cut goes through is the last one.
std::string LinesOfRefusal(const std::string& path, uint64_t length) {
    const auto refusal = [](const std::string& line, int status) {
        return "Init: " + line + "\nCreate: Init() failed with " + std::to_string(status) + "\n";
    };
    if (length == 0) {
        return refusal("read of 0 bytes failed with 22", 22);
    }
    if (length < kHead.size()) {
        // The bytes that are missing from the size count as 0.
        uint32_t size = 0;
        for (size_t i = 0; i < 4; ++i) {
            size = size << 8 | (i < length ? static_cast<uint8_t>(kHead[i]) : 0);
        }
        char text[64];
        std::snprintf(text, sizeof(text), "Invalid atom length %u (0x%x)", size, size);
        return refusal(text, 1);
    }
    if (length < kHead.size() + 8) {
        return refusal("'moov' atom not found in file \"" + path + "\"", 2);
    }
    return refusal("The last track atom passes the end of the movie atom", 22);
}

void VisitTracks(const Movie& movie) {
    std::vector<Track*> tracks(movie.mVideoTracks.begin(), movie.mVideoTracks.end());
    tracks.insert(tracks.end(), movie.mAudioTracks.begin(), movie.mAudioTracks.end());
    tracks.insert(tracks.end(), movie.mTimeCodeTracks.begin(), movie.mTimeCodeTracks.end());
    for (Track* track : tracks) {
        EXPECT_GT(track->mSampleCount, 0);
        EXPECT_GT(track->GetSampleOffset(track->mSampleCount - 1), 0);
    }
}

struct TruncationCase {
    const char* what;
    MovieRecipe (*recipe)();
};

void PrintTo(const TruncationCase& test, std::ostream* out) {
    *out << test.what;
}

class Truncation : public testing::TestWithParam<TruncationCase> {};

TEST_P(Truncation, OpensWithWholeTracksOrNotAtAll) {
    AtomNode moov = BuildMoov(GetParam().recipe());
    const TempDirectory directory;
    const std::string path = directory.File("movie.mov");
    WriteFile(path, kHead + moov.Serialize());
    const std::set<uint64_t> lengths = Lengths(moov);
    // From the longest down, so that one file is cut again and again.
    for (auto length = lengths.rbegin(); length != lengths.rend(); ++length) {
        SCOPED_TRACE("length " + std::to_string(*length));
        ASSERT_EQ(truncate(path.c_str(), static_cast<off_t>(*length)), 0);
        const Expectation expected = Expect(moov, *length);
        const bool opens = *length >= kHead.size() + 8 && !expected.endsInTrack;
        LogCapture log;
        const std::unique_ptr<Movie> movie(Movie::Create(path));
        const std::string text = log.Text();
        ASSERT_EQ(movie != nullptr, opens) << text;
        if (!opens) {
            EXPECT_EQ(text, expected.passedOver + LinesOfRefusal(path, *length));
            continue;
        }
        EXPECT_EQ(text, expected.passedOver);
        EXPECT_EQ(
            movie->mVideoTracks.size() + movie->mAudioTracks.size() + movie->mTimeCodeTracks.size(),
            expected.wholeTracks);
        VisitTracks(*movie);
    }
}

INSTANTIATE_TEST_SUITE_P(Movies, Truncation,
                         testing::Values(TruncationCase{"ReorderedVideo", ReorderedVideo},
                                         TruncationCase{"AllKinds", AllKinds},
                                         TruncationCase{"WideAtoms", WideAtoms}),
                         [](const auto& info) { return info.param.what; });

// The same cuts with sizes that agree: each atom ends early while the file around it goes on.
TEST_P(Truncation, AtomsThatEndEarlyNeverCrash) {
    const MovieRecipe recipe = GetParam().recipe();
    AtomNode whole = BuildMoov(recipe);
    const std::vector<std::string> paths = {"mvhd",
                                            "trak/tkhd",
                                            "trak/edts/elst",
                                            "trak/mdia/mdhd",
                                            "trak/mdia/hdlr",
                                            "trak/mdia/minf/hdlr",
                                            "trak/mdia/minf/dinf/dref",
                                            "trak/mdia/minf/stbl/stsd",
                                            "trak/mdia/minf/stbl/stts",
                                            "trak/mdia/minf/stbl/stsc",
                                            "trak/mdia/minf/stbl/stsz",
                                            "trak/mdia/minf/stbl/stco",
                                            "trak/mdia/minf/stbl/co64",
                                            "trak/mdia/minf/stbl/ctts",
                                            "trak/mdia/minf/stbl/stss",
                                            "trak[1]/mdia/minf/stbl/stsd",
                                            "trak[2]/mdia/minf/stbl/stsd"};
    const TempDirectory directory;
    const std::string path = directory.File("movie.mov");
    LogCapture log;
    for (const std::string& atomPath : paths) {
        if (whole.Find(atomPath) == nullptr) {
            continue;
        }
        AtomNode shortened = whole;
        AtomNode& atom = shortened.At(atomPath);
        const Bytes content = atom.Serialize().substr(8);
        atom.children.clear();
        for (size_t length = 0; length < content.size(); ++length) {
            SCOPED_TRACE(atomPath + " with a payload of " + std::to_string(length));
            atom.payload = content.substr(0, length);
            WriteFile(path, kHead + shortened.Serialize());
            const size_t logged = log.Raw().size();
            const std::unique_ptr<Movie> movie(Movie::Create(path));
            EXPECT_TRUE(movie != nullptr || log.Raw().size() > logged);
        }
    }
}

}  // namespace
