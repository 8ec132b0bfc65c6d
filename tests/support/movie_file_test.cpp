#include "support/movie_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

using namespace kvx_test;

namespace {

Bytes ReadAt(const std::string& path, uint64_t offset, size_t count) {
    std::ifstream file(path, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(offset));
    Bytes bytes(count, '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(count));
    bytes.resize(static_cast<size_t>(file.gcount()));
    return bytes;
}

MovieRecipe TwoFrames() {
    MovieRecipe recipe;
    recipe.tracks = {VideoTrackRecipe({}, 256, 2)};
    return recipe;
}

TEST(TempDirectory, GoesWithItsContents) {
    std::string path;
    {
        const TempDirectory directory;
        path = directory.Path();
        WriteFile(directory.File("a"), "text");
        EXPECT_EQ(ReadAt(directory.File("a"), 0, 9), "text");
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(MovieFile, SamplesLieAtTheirOffsetsWhereverTheMovieAtomIs) {
    const TempDirectory directory;
    for (const bool movieFirst : {false, true}) {
        const std::string path = WriteMovie(directory, TwoFrames(), {kMediaOffset, movieFirst});
        EXPECT_EQ(ReadAt(path, kMediaOffset - 8, 8), big32(8 + 512) + "mdat");
        EXPECT_EQ(ReadAt(path, kMediaOffset, 256), PatternSample(0, 0, 256));
        EXPECT_EQ(ReadAt(path, kMediaOffset + 256, 256), PatternSample(0, 1, 256));
        const uint64_t movieAt = movieFirst ? 20 : kMediaOffset + 512;
        EXPECT_EQ(ReadAt(path, movieAt + 4, 4), "moov");
    }
}

TEST(MovieFile, TopLevelAtomsFollowOneAnother) {
    const TempDirectory directory;
    const std::string path = WriteMovie(directory, TwoFrames(), {5000, false});
    EXPECT_EQ(ReadAt(path, 0, 8), big32(20) + "ftyp");
    EXPECT_EQ(ReadAt(path, 20, 8), big32(5000 - 8 - 20) + "free");
    EXPECT_EQ(ReadAt(path, 4992, 8), big32(8 + kMediaOffset - 5000 + 512) + "mdat");
}

TEST(MovieFile, MediaBeyondFourGigabytesIsAHole) {
    const uint64_t far = 0x140000000;
    const TempDirectory directory;
    const std::string path = directory.File("far.mov");
    WriteMovieFile(path, {"moov"}, {{kMediaOffset, "near"}, {far, "far"}});
    EXPECT_EQ(ReadAt(path, kMediaOffset - 16, 16),
              big32(1) + "mdat" + big64(static_cast<int64_t>(far + 3 - kMediaOffset + 16)));
    EXPECT_EQ(ReadAt(path, far, 11), "far" + big32(8) + "moov");
    struct stat status = {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_LT(status.st_blocks, 1024);
}

TEST(MovieFile, PatternsDifferBetweenTracksSamplesAndPositions) {
    EXPECT_NE(PatternSample(0, 0, 16), PatternSample(0, 1, 16));
    EXPECT_NE(PatternSample(0, 0, 16), PatternSample(1, 0, 16));
    EXPECT_NE(PatternSample(0, 0, 16).substr(0, 8), PatternSample(0, 0, 16).substr(8, 8));
}

}  // namespace
