// Which file holds a track's media?

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/four_char_code.h"
#include "quicktime/movie.h"
#include "quicktime/track.h"
#include "quicktime/video_track.h"
#include "support/alias_records.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"
#include "support/movie_file.h"
#include "support/movie_in_memory.h"
#include "support/temp_directory.h"

namespace {

using namespace kvx_test;
using KVX::QT::Atom;
using KVX::QT::Track;

const char* const kMoviePath = "/movies/movie.mov";

Bytes AliasTo(const std::string& path) {
    return AliasVersion3(0, AliasItems({{18, path}, {19, "/"}}));
}

struct Outcome {
    long status = -1;
    std::string path;
    std::string log;
};

// Runs SetFilePath on a track with these references, changed at will below the "mdia".
Outcome SetFilePath(const TrackRecipe& track, const std::function<void(AtomNode&)>& change) {
    MovieRecipe recipe;
    recipe.tracks.push_back(track);
    if (change) {
        recipe.change = [&](AtomNode& moov) { change(moov.At("trak/mdia")); };
    }
    const MovieInMemory movie(recipe);
    Atom* const mdia = movie.Trak()->FindNextChildOfType(KVX::Core::FourCharCode("mdia"), nullptr);
    Track plain;
    const LogCapture log;
    Outcome outcome;
    outcome.status = plain.SetFilePath(kMoviePath, mdia);
    outcome.path = plain.mFilePath;
    outcome.log = log.Text();
    return outcome;
}

Outcome SetFilePath(const std::vector<AtomNode>& references,
                    const std::function<void(AtomNode&)>& change = nullptr) {
    TrackRecipe track = VideoTrackRecipe({}, 64, 5);
    track.dataReferences = references;
    return SetFilePath(track, change);
}

void ExpectPath(const Outcome& outcome, const std::string& path, const std::string& log = "") {
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.path, path);
    EXPECT_EQ(outcome.log, log);
}

void ExpectFailure(const Outcome& outcome, long status, const std::string& log) {
    EXPECT_EQ(outcome.status, status);
    EXPECT_EQ(outcome.log, "SetFilePath: " + log + "\n");
}

TEST(DataReferences, SelfContained) {
    ExpectPath(SetFilePath({SelfReference()}), kMoviePath);
}

TEST(DataReferences, Alias) {
    ExpectPath(SetFilePath({AliasReference(AliasTo("media/clip.mov"))}), "/media/clip.mov");
    ExpectPath(SetFilePath({AliasReference(AliasExampleVersion2())}),
               "/Volumes/Media/Shots/clip.mov");
    ExpectPath(SetFilePath({AliasReference(AliasTo("m\xC3\xA9"
                                                   "dia.mov"))}),
               "/m\xC3\xA9"
               "dia.mov");
}

TEST(DataReferences, OnlyTheLowestFlagMeansSelfContained) {
    AtomNode reference = AliasReference(AliasTo("media.mov"));
    reference.Poke(8, big32(0xFFFFFFFE));
    ExpectPath(SetFilePath({reference}), "/media.mov");
    reference.Poke(8, big32(0x00000003));
    ExpectPath(SetFilePath({reference}), kMoviePath);
}

TEST(DataReferences, LastAliasDecides) {
    const AtomNode alias = AliasReference(AliasTo("media.mov"));
    const AtomNode other = AliasReference(AliasTo("other.mov"));
    ExpectPath(SetFilePath({alias, SelfReference()}), kMoviePath);
    ExpectPath(SetFilePath({SelfReference(), alias}), "/media.mov");
    ExpectPath(SetFilePath({alias, other}), "/other.mov");
}

TEST(DataReferences, UnsupportedKindsAreLoggedAndPassedOver) {
    const std::string kUrl = "SetFilePath: URL data references not supported\n";
    const std::string kResource = "SetFilePath: Resource data references not supported\n";
    ExpectPath(SetFilePath({UrlReference("file:///media.mov")}), "", kUrl);
    ExpectPath(SetFilePath({ResourceReference(AliasTo("media.mov"))}), "", kResource);
    ExpectPath(SetFilePath({{"abcd", big32(1)}}), "",
               "SetFilePath: 'abcd' data references not recognised\n");
    // Flagged as self-contained or not, only an alias counts.
    ExpectPath(SetFilePath({{"url ", big32(1)}, SelfReference(), {"rsrc", big32(1)}}), kMoviePath,
               kUrl + kResource);
}

TEST(DataReferences, NoEntriesLeaveThePathEmpty) {
    ExpectPath(SetFilePath(std::vector<AtomNode>{}), "");
    ExpectPath(SetFilePath({SelfReference()},
                           [](AtomNode& mdia) { mdia.At("minf/dinf/dref").SetEntryCount(0); }),
               "");
    ExpectPath(SetFilePath({SelfReference()},
                           [](AtomNode& mdia) { mdia.At("minf/dinf/dref").SetEntryCount(-1); }),
               "");
}

TEST(DataReferences, CountBeyondTheEntriesStopsAtTheEnd) {
    ExpectPath(
        SetFilePath({SelfReference()},
                    [](AtomNode& mdia) { mdia.At("minf/dinf/dref").SetEntryCount(0x7FFFFFFF); }),
        kMoviePath);
}

TEST(DataReferences, EntriesBeyondTheCountAreIgnored) {
    ExpectPath(SetFilePath({SelfReference(), AliasReference(AliasTo("media.mov"))},
                           [](AtomNode& mdia) { mdia.At("minf/dinf/dref").SetEntryCount(1); }),
               kMoviePath);
}

// The path is taken as it is, and the file behind it does not open. Nobody writes to the pipe, so
// to wait for bytes would be to wait for ever.
TEST(DataReferences, NamedPipeFailsTheMovie) {
    const TempDirectory directory;
    const std::string pipePath = directory.File("media");
    ASSERT_EQ(mkfifo(pipePath.c_str(), 0600), 0);
    MovieRecipe recipe;
    recipe.tracks.push_back(VideoTrackRecipe({}, 64, 5));
    recipe.tracks.back().dataReferences = {AliasReference(AliasTo(pipePath.substr(1)))};
    const std::string path = directory.File("movie.mov");
    WriteMovieFile(path, BuildMoov(recipe), {});
    const LogCapture log;
    EXPECT_EQ(KVX::QT::Movie::Create(path), nullptr);
    EXPECT_EQ(log.Text(),
              "OpenFile: open returned 22\n"
              "Init: OpenFile returned 22\n"
              "Init: Track::Init() returned 22\n"
              "Create: qtTrack->Init() returned 22\n"
              "Init: Failed to create a new VideoTrack\n"
              "Create: Init() failed with 22\n");
}

TEST(DataReferences, NoDataHandlerMeansTheMovieFile) {
    TrackRecipe track = VideoTrackRecipe({}, 64, 5);
    track.dataHandler.reset();
    track.dataReferences = {AliasReference(AliasTo("media.mov"))};
    ExpectPath(SetFilePath(track, nullptr), kMoviePath);
    ExpectPath(SetFilePath(track, [](AtomNode& mdia) { mdia.Remove("minf/dinf/dref"); }),
               kMoviePath);
    ExpectPath(SetFilePath(track, [](AtomNode& mdia) { mdia.Remove("minf/dinf"); }), kMoviePath);
}

TEST(DataReferences, OtherDataHandlersFail) {
    const struct {
        DataHandler handler;
        const char* log;
    } kCases[] = {
        {{"dhlr", "url "}, "Unsupported data handler type 'dhlr' and subtype 'url '"},
        {{"mhlr", "alis"}, "Unsupported data handler type 'mhlr' and subtype 'alis'"},
        {{zeros(4), zeros(4)}, "Unsupported data handler type 0x0 (0) and subtype 0x0 (0)"},
    };
    for (const auto& entry : kCases) {
        TrackRecipe track = VideoTrackRecipe({}, 64, 5);
        track.dataHandler = entry.handler;
        ExpectFailure(SetFilePath(track, nullptr), 22, entry.log);
    }
}

TEST(DataReferences, EachMissingAtomHasItsLine) {
    const auto without = [](const char* path) {
        return SetFilePath({SelfReference()}, [=](AtomNode& mdia) { mdia.Remove(path); });
    };
    ExpectFailure(without("minf"), 2, "Failed to find a media info atom");
    ExpectFailure(without("minf/dinf"), 2, "Failed to find a data info atom");
    ExpectFailure(without("minf/dinf/dref"), 2, "Failed to find a data references atom");
}

TEST(DataReferences, FieldsOutsideTheirAtomFail) {
    ExpectFailure(SetFilePath({SelfReference()},
                              [](AtomNode& mdia) { mdia.At("minf/hdlr").payload.resize(10); }),
                  22, "'hdlr' atom of 18 bytes does not hold 4 bytes at 16");
    ExpectFailure(SetFilePath({SelfReference()},
                              [](AtomNode& mdia) {
                                  mdia.Replace("minf/dinf/dref", {"dref", zeros(7)});
                              }),
                  22, "'dref' atom of 15 bytes does not hold 4 bytes at 12");
    ExpectFailure(SetFilePath({{"alis", zeros(3)}}), 22,
                  "'alis' atom of 11 bytes does not hold 1 bytes at 11");
}

TEST(DataReferences, EntrySizesThatCannotBeSteppedByEndTheWalk) {
    for (const uint64_t size : {0U, 2U, 7U}) {
        AtomNode bad = AliasReference(AliasTo("media.mov"));
        bad.writtenSize = size;
        ExpectPath(SetFilePath({SelfReference(), bad}), kMoviePath);
        ExpectPath(SetFilePath({bad, SelfReference()}), "");
    }
    // Bytes too few for an entry are none.
    AtomNode padded = SelfReference();
    padded.writtenSize = padded.Length();
    padded.payload += zeros(7);
    ExpectPath(
        SetFilePath({padded}, [](AtomNode& mdia) { mdia.At("minf/dinf/dref").SetEntryCount(2); }),
        kMoviePath);
}

TEST(DataReferences, EntriesThatPassTheEndFail) {
    for (const uint64_t size : {uint64_t{13}, uint64_t{0x80000000}, uint64_t{0xFFFFFFFF}}) {
        AtomNode bad = SelfReference();
        bad.writtenSize = size;
        ExpectFailure(SetFilePath({bad}), 22,
                      "Invalid data reference entry size: " + std::to_string(size));
    }
    AtomNode wide = SelfReference();
    wide.form = AtomNode::SizeForm::Extended;
    wide.writtenSize = 0xFFFFFFFFFFFFFFFF;
    ExpectFailure(SetFilePath({wide}), 22, "Invalid data reference entry size: 1");
}

TEST(DataReferences, StatusOfTheAliasServiceIsPassedOn) {
    // An empty record and one without a path; the numbers are the File Manager's.
    ExpectFailure(SetFilePath({AliasReference("")}), -50, "FSCopyAliasInfo returned -50");
    ExpectFailure(SetFilePath({AliasReference(AliasVersion2("Media", ""))}), -43,
                  "FSCopyAliasInfo returned -43");
}

TEST(DataReferences, FailedAliasEndsTheWalkAndKeepsThePath) {
    const Outcome outcome =
        SetFilePath({SelfReference(), AliasReference("bad"), AliasReference(AliasTo("a"))});
    EXPECT_EQ(outcome.status, -50);
    EXPECT_EQ(outcome.path, kMoviePath);
}

TEST(DataReferences, NoMemoryForTheAlias) {
    MovieRecipe recipe;
    recipe.tracks.push_back(VideoTrackRecipe({}, 64, 5));
    recipe.tracks[0].dataReferences = {AliasReference(Bytes(100, 'a'))};
    const MovieInMemory movie(recipe);
    Atom* const mdia = movie.Trak()->FindNextChildOfType(KVX::Core::FourCharCode("mdia"), nullptr);
    Track track;
    const LogCapture log;
    long status = 0;
    {
        const Fault fail(SystemCall::kNewNothrow, ENOMEM, 1, Fault::kForever);
        status = track.SetFilePath(kMoviePath, mdia);
    }
    EXPECT_EQ(status, 12);
    EXPECT_EQ(log.Text(), "SetFilePath: Failed to allocate 100 byte alias handle\n");
}

// Each track opens what it names, and a track that names nothing fails at the open.
TEST(DataReferences, TracksOfOneMovieMayLieInSeveralFiles) {
    const TempDirectory directory;
    const std::string media = directory.File("media.bin");
    WriteFile(media, Bytes(1234, 'm'));
    MovieRecipe recipe;
    recipe.tracks = {VideoTrackRecipe({}, 64, 5), VideoTrackRecipe({}, 64, 5)};
    recipe.tracks[1].dataReferences = {AliasReference(AliasTo(media.substr(1)))};
    const std::string path = directory.File("movie.mov");
    WriteMovieFile(path, BuildMoov(recipe), {{kMediaOffset, "media"}});

    const std::unique_ptr<KVX::QT::Movie> movie(KVX::QT::Movie::Create(path));
    ASSERT_NE(movie, nullptr);
    ASSERT_EQ(movie->mVideoTracks.size(), 2U);
    EXPECT_EQ(movie->mVideoTracks[0]->mFilePath, path);
    EXPECT_EQ(movie->mVideoTracks[1]->mFilePath, media);
    EXPECT_EQ(movie->mVideoTracks[1]->mFileSize, 1234);
}

TEST(DataReferences, TrackWithoutAPathFailsAtTheOpen) {
    TrackRecipe recipe = VideoTrackRecipe({}, 64, 5);
    recipe.dataReferences = {UrlReference("file:///media.mov")};
    const MovieInMemory movie = MovieOf(recipe);
    KVX::QT::VideoTrack track;
    const LogCapture log;
    EXPECT_EQ(track.Init(movie.Path(), movie.Moov(), movie.Trak()), 22);
    EXPECT_EQ(log.Text(),
              "SetFilePath: URL data references not supported\n"
              "OpenFile: open returned 2\n"
              "Init: OpenFile returned 22\n"
              "Init: Track::Init() returned 22\n");
}

}  // namespace
