// What is mended and what is left alone, in made movies of which each is about one thing.

#include "inspect/mend_plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "inspect/inspect.h"
#include "support/alias_records.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"
#include "support/temp_directory.h"

namespace {

using namespace kvx_test;
using kvx_inspect::Change;
using kvx_inspect::ChangeKind;
using kvx_inspect::MendPlan;
using kvx_inspect::PlanMend;
using kvx_inspect::Verdict;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr uint32_t kUrl = 0x75726C20;
constexpr uint32_t kAlis = 0x616C6973;
constexpr uint32_t kByBitmap = 0x10000;
constexpr uint32_t kMpeg51A = 0x00790006;
constexpr uint32_t kBitmap51 = 0x3F;

AtomNode UrlToItself() {
    return {"url ", big32(1)};
}

TrackRecipe Pictures(const Bytes& handler, const std::vector<AtomNode>& references) {
    TrackRecipe track = VideoTrackRecipe({"v210", 48, 2, 24}, 256, 10);
    track.dataHandler->componentSubtype = handler;
    track.dataReferences = references;
    return track;
}

TrackRecipe Surround(const AtomNode& layout, int channels = 6) {
    SoundDescriptionV1 sound;
    sound.channels = channels;
    sound.bytesPerFrame = static_cast<uint32_t>(2 * channels);
    sound.extensions = {layout};
    return SoundTrackRecipe(Describe(sound), sound.bytesPerFrame, 20000, 48000,
                            kMediaOffset + 0x1000);
}

MovieRecipe Movie(std::vector<TrackRecipe> tracks) {
    MovieRecipe recipe;
    recipe.tracks = std::move(tracks);
    return recipe;
}

MendPlan Plan(const MovieRecipe& recipe) {
    const TempDirectory directory;
    return PlanMend(WriteMovie(directory, recipe));
}

std::vector<ChangeKind> KindsOf(const MendPlan& plan) {
    std::vector<ChangeKind> kinds;
    for (const Change& change : plan.changes) {
        kinds.push_back(change.kind);
    }
    return kinds;
}

TEST(InspectMendPlan, ReferencesComeBeforeTheHandler) {
    const MendPlan plan = Plan(Movie({Pictures("url ", {UrlToItself(), UrlToItself()})}));
    EXPECT_THAT(KindsOf(plan), ElementsAre(ChangeKind::DataReference, ChangeKind::DataReference,
                                           ChangeKind::DataHandler));
    EXPECT_EQ(plan.before.GetVerdict(), Verdict::Refused);
    EXPECT_EQ(plan.after.GetVerdict(), Verdict::Imports);
    EXPECT_THAT(plan.Obstacles(), IsEmpty());
    for (const Change& change : plan.changes) {
        EXPECT_EQ(change.before, kUrl);
        EXPECT_EQ(change.after, kAlis);
        EXPECT_EQ(change.track, 1);
    }
}

TEST(InspectMendPlan, WhatIsHalfDoneIsFinished) {
    EXPECT_THAT(KindsOf(Plan(Movie({Pictures("url ", {SelfReference()})}))),
                ElementsAre(ChangeKind::DataHandler));
    EXPECT_THAT(KindsOf(Plan(Movie({Pictures("alis", {UrlToItself()})}))),
                ElementsAre(ChangeKind::DataReference));
    EXPECT_THAT(KindsOf(Plan(Movie({Pictures("alis", {SelfReference(), UrlToItself()})}))),
                ElementsAre(ChangeKind::DataReference));
    EXPECT_THAT(KindsOf(Plan(Movie({Surround(ChannelLayout(kMpeg51A, kBitmap51))}))),
                ElementsAre(ChangeKind::LayoutBitmap));
}

TEST(InspectMendPlan, WhatImportsIsLeftAlone) {
    EXPECT_THAT(Plan(Movie({Pictures("alis", {SelfReference()})})).changes, IsEmpty());
    MovieRecipe recipe = Movie({Pictures("alis", {SelfReference()})});
    recipe.tracks[0].dataHandler = std::nullopt;
    EXPECT_THAT(Plan(recipe).changes, IsEmpty());
}

TEST(InspectMendPlan, AReferenceToAnotherFileKeepsItsTrack) {
    const AtomNode another = AliasReference(AliasVersion3(0, AliasItems({{18, "/x"}, {19, "/"}})));
    for (const std::vector<AtomNode>& references :
         std::vector<std::vector<AtomNode>>{{UrlReference("file:///x")},
                                            {UrlToItself(), another},
                                            {another, UrlToItself()},
                                            {UrlToItself(), UrlReference("http://example.com/x")},
                                            {UrlToItself(), ResourceReference("x")},
                                            {}}) {
        const MendPlan plan =
            Plan(Movie({Pictures("url ", {UrlToItself()}), Pictures("url ", references)}));
        ASSERT_EQ(plan.changes.size(), 2u);
        EXPECT_EQ(plan.changes[0].track, 1);
        EXPECT_EQ(plan.changes[1].track, 1);
        EXPECT_FALSE(plan.Obstacles().empty());
    }
}

TEST(InspectMendPlan, OtherHandlersAreLeftAlone) {
    EXPECT_THAT(Plan(Movie({Pictures("rsrc", {UrlToItself()})})).changes, IsEmpty());
    MovieRecipe recipe = Movie({Pictures("url ", {UrlToItself()})});
    recipe.tracks[0].dataHandler->componentType = "mhlr";
    EXPECT_THAT(Plan(recipe).changes, IsEmpty());
}

// Tracks that the importer passes over, as those of texts.
TEST(InspectMendPlan, EveryTrackIsMended) {
    MovieRecipe recipe =
        Movie({Pictures("alis", {SelfReference()}), Pictures("url ", {UrlToItself()})});
    recipe.tracks[1].mediaType = "text";
    const MendPlan plan = Plan(recipe);
    ASSERT_EQ(plan.changes.size(), 2u);
    EXPECT_EQ(plan.changes[0].track, 2);
}

TEST(InspectMendPlan, TheTagOfALayoutComesBeforeItsBitmap) {
    const MendPlan plan = Plan(Movie(
        {Pictures("alis", {SelfReference()}), Surround(ChannelLayout(kByBitmap, kBitmap51))}));
    ASSERT_THAT(KindsOf(plan), ElementsAre(ChangeKind::LayoutTag, ChangeKind::LayoutBitmap));
    EXPECT_EQ(plan.changes[0].before, kByBitmap);
    EXPECT_EQ(plan.changes[0].after, kMpeg51A);
    EXPECT_EQ(plan.changes[1].offset, plan.changes[0].offset + 4);
    EXPECT_EQ(plan.changes[1].before, kBitmap51);
    EXPECT_EQ(plan.changes[1].after, 0u);
    EXPECT_EQ(plan.after.GetVerdict(), Verdict::Imports);
}

TEST(InspectMendPlan, OtherLayoutsAreLeftAlone) {
    AtomNode extended = ChannelLayout(kByBitmap, kBitmap51);
    extended.form = AtomNode::SizeForm::Extended;
    for (const AtomNode& layout :
         {ChannelLayout(kByBitmap, 0x60F), ChannelLayout(kByBitmap, 0), ChannelLayout(0, kBitmap51),
          ChannelLayout(kMpeg51A, 0), ChannelLayout(0x007A0006, kBitmap51), extended}) {
        EXPECT_THAT(Plan(Movie({Surround(layout)})).changes, IsEmpty());
    }
    EXPECT_THAT(Plan(Movie({Surround(ChannelLayout(kByBitmap, kBitmap51), 2)})).changes, IsEmpty());
    SoundDescriptionV0 old;
    old.channels = 6;
    old.extensions = {ChannelLayout(kByBitmap, kBitmap51)};
    EXPECT_THAT(Plan(Movie({SoundTrackRecipe(Describe(old), 12, 20000)})).changes, IsEmpty());
}

// A field of a length that is written long would be part of that length: 0x10000 bytes, of which
// the layout would be the tag.
TEST(InspectMendPlan, ALengthIsNoLayout) {
    AtomNode layout = {"chan", big32(kBitmap51) + zeros(0x10000 - 20)};
    layout.form = AtomNode::SizeForm::Extended;
    ASSERT_EQ(layout.Length(), 0x10000u);
    EXPECT_THAT(Plan(Movie({Surround(layout)})).changes, IsEmpty());
}

TEST(InspectMendPlan, AVersion2DescriptionIsMended) {
    SoundDescriptionV2 sound;
    sound.channels = 6;
    sound.formatFlags = 2 | 4 | 8;
    sound.extensions = {ChannelLayout(kByBitmap, kBitmap51), ChannelLayout(kByBitmap, kBitmap51)};
    const MendPlan plan =
        Plan(Movie({Pictures("alis", {SelfReference()}),
                    SoundTrackRecipe(Describe(sound), 12, 20000, 48000, kMediaOffset + 0x1000)}));
    // The last of several decides.
    EXPECT_THAT(KindsOf(plan), ElementsAre(ChangeKind::LayoutTag, ChangeKind::LayoutBitmap,
                                           ChangeKind::LayoutTag, ChangeKind::LayoutBitmap));
    EXPECT_EQ(plan.after.GetVerdict(), Verdict::Imports);
}

// Four bytes in two sectors of a disk, of which one was written.
class InspectMendTorn : public testing::Test {
  protected:
    // A movie whose handler has `inFirst` of its four bytes in one sector and the rest in the next.
    void Make(uint64_t inFirst) {
        MovieRecipe recipe = Movie({Pictures("url ", {UrlToItself()})});
        const uint64_t place = Offset(recipe);
        const uint64_t padding = (1024 + 512 - inFirst - 8 - place % 512) % 512 + 8;
        recipe.change = [padding](AtomNode& moov) {
            moov.children.insert(moov.children.begin(), {"free", zeros(padding - 8)});
        };
        mOffset = Offset(recipe);
        ASSERT_EQ(mOffset % 512, 512 - inFirst);
        mMovie = WriteMovie(mFolder, recipe);
    }

    uint64_t Offset(const MovieRecipe& recipe) const {
        const auto plan = PlanMend(WriteMovie(mFolder, recipe));
        return plan.changes.back().offset;
    }

    MendPlan PlanWith(const std::string& bytes) const {
        WriteSparseFile(mFolder.File("torn.mov"), {});
        std::string whole;
        {
            std::FILE* const file = std::fopen(mMovie.c_str(), "rb");
            whole.resize(1 << 20);
            whole.resize(std::fread(whole.data(), 1, whole.size(), file));
            std::fclose(file);
        }
        whole.replace(mOffset, 4, bytes);
        WriteFile(mFolder.File("torn.mov"), whole);
        return PlanMend(mFolder.File("torn.mov"));
    }

    const TempDirectory mFolder;
    std::string mMovie;
    uint64_t mOffset = 0;
};

TEST_F(InspectMendTorn, IsFinished) {
    const std::string url = "url ";
    const std::string alis = "alis";
    for (size_t inFirst = 1; inFirst < 4; ++inFirst) {
        Make(inFirst);
        for (const std::string& torn : {alis.substr(0, inFirst) + url.substr(inFirst),
                                        url.substr(0, inFirst) + alis.substr(inFirst)}) {
            const MendPlan plan = PlanWith(torn);
            EXPECT_EQ(plan.before.GetVerdict(), Verdict::Refused) << torn;
            EXPECT_THAT(KindsOf(plan),
                        ElementsAre(ChangeKind::DataReference, ChangeKind::DataHandler));
            EXPECT_EQ(plan.after.GetVerdict(), Verdict::Imports) << torn;
        }
    }
}

TEST_F(InspectMendTorn, IsTornNowhereElse) {
    Make(2);
    for (const char* other : {"arl ", "ali ", "urls", "ulis", "a l ", "zzzz"}) {
        EXPECT_THAT(PlanWith(other).changes, IsEmpty()) << other;
    }
}

TEST(InspectMendPlan, ACompressedMovieAtomIsNamed) {
    MovieRecipe recipe = Movie({Pictures("url ", {UrlToItself()})});
    recipe.change = [](AtomNode& moov) { moov.children = {{"cmov", zeros(40)}}; };
    const MendPlan plan = Plan(recipe);
    EXPECT_THAT(plan.changes, IsEmpty());
    bool isNamed = false;
    for (const kvx_inspect::Finding& finding : plan.Obstacles()) {
        isNamed |= finding.text.find("compressed (\"cmov\")") != std::string::npos;
    }
    EXPECT_TRUE(isNamed);
}

}  // namespace
