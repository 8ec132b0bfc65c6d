// `kvx mend` on what ffmpeg writes: refused before and imported after, no sample changed, and whole
// whenever it is killed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "end_to_end/built_paths.h"
#include "end_to_end/real_movie.h"
#include "end_to_end/run_command.h"
#include "support/file_tools.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"
#include "support/temp_directory.h"

namespace {

namespace fs = std::filesystem;
using kvx_test::CommandRun;
using kvx_test::MediaPath;
using kvx_test::MovieRecipe;
using kvx_test::ReadFile;
using kvx_test::RunCommand;
using kvx_test::TempDirectory;
using kvx_test::TrackRecipe;
using testing::EndsWith;
using testing::HasSubstr;

void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

std::vector<std::string> UnmendedMovies() {
    std::vector<std::string> names;
    // Before they are made there are none, as where tests are only listed.
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(MediaPath("unmended"), ignored)) {
        names.push_back(entry.path().stem().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

struct Ending {
    int exitCode = -1;  // -1: killed
    std::string output;
};

// By way of the shell, both outputs together.
Ending RunShell(const std::string& line) {
    std::FILE* const pipe = popen(("exec 2>&1; " + line).c_str(), "r");
    Ending ending;
    char block[1 << 12];
    while (const size_t got = std::fread(block, 1, sizeof block, pipe)) {
        ending.output.append(block, got);
    }
    const int status = pclose(pipe);
    ending.exitCode = WIFEXITED(status) && WEXITSTATUS(status) < 128 ? WEXITSTATUS(status) : -1;
    return ending;
}

// ffmpeg's hash of each packet of each track, of many movies in one run. By path.
std::map<std::string, std::string> HashesByFfmpeg(const std::vector<std::string>& movies) {
    const TempDirectory folder;
    std::string inputs;
    std::string outputs;
    for (size_t i = 0; i < movies.size(); ++i) {
        inputs += " -i '" + movies[i] + "'";
        outputs += " -map " + std::to_string(i) + " -c copy -f framemd5 '" +
                   folder.File(std::to_string(i)) + "'";
    }
    const Ending ending = RunShell("ffmpeg -v error -nostdin -y" + inputs + outputs);
    EXPECT_EQ(ending.exitCode, 0) << ending.output;
    std::map<std::string, std::string> hashes;
    for (size_t i = 0; i < movies.size(); ++i) {
        std::istringstream lines(ReadFile(folder.File(std::to_string(i))));
        for (std::string line; std::getline(lines, line);) {
            if (!line.empty() && line[0] != '#') {
                hashes[movies[i]] += line + "\n";
            }
        }
        EXPECT_NE(hashes[movies[i]], "") << movies[i];
    }
    return hashes;
}

// A line of --dry-run.
struct Change {
    size_t offset;
    std::string before;
    std::string after;
};

std::string FromHex(const std::string& digits) {
    std::string bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

std::vector<Change> ListedChanges(const std::string& movie) {
    const CommandRun run = RunCommand("mend --dry-run '" + movie + "'");
    std::vector<Change> changes;
    std::istringstream lines(run.output);
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        Change change;
        std::string before;
        std::string after;
        words >> change.offset >> before >> after;
        change.before = FromHex(before);
        change.after = FromHex(after);
        changes.push_back(change);
    }
    return changes;
}

// The movie with the first `count` of its changes made, by the list alone.
std::string WithChanges(std::string bytes, const std::vector<Change>& changes, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        EXPECT_EQ(bytes.substr(changes[i].offset, 4), changes[i].before);
        bytes.replace(changes[i].offset, 4, changes[i].after);
    }
    return bytes;
}

TEST(EndToEndMend, MakesWhatFfmpegWritesImportable) {
    const TempDirectory folder;
    std::vector<std::string> all;
    std::string mended;
    const std::vector<std::string> names = UnmendedMovies();
    ASSERT_GE(names.size(), 22u);
    for (const std::string& name : names) {
        const std::string original = MediaPath("unmended/" + name + ".mov");
        const std::string copy = folder.File(name + ".mov");
        fs::copy_file(original, copy);
        all.push_back(original);
        all.push_back(copy);
        mended += " " + copy;
        EXPECT_EQ(RunCommand("info " + original).exitCode, 1) << name;
        EXPECT_THAT(ListedChanges(copy), testing::Not(testing::IsEmpty())) << name;
    }
    const CommandRun run = RunCommand("mend" + mended);
    EXPECT_EQ(run.exitCode, 0) << run.output;
    EXPECT_EQ(static_cast<size_t>(std::count(run.output.begin(), run.output.end(), '\n')),
              names.size());
    EXPECT_EQ(RunCommand("info" + mended).exitCode, 0);
    const auto hashes = HashesByFfmpeg(all);
    for (size_t i = 0; i < all.size(); i += 2) {
        EXPECT_EQ(hashes.at(all[i]), hashes.at(all[i + 1])) << all[i];
        // Byte for byte what the list says.
        const std::vector<Change> changes = ListedChanges(all[i]);
        EXPECT_TRUE(ReadFile(all[i + 1]) == WithChanges(ReadFile(all[i]), changes, changes.size()));
    }
    const CommandRun again = RunCommand("mend" + mended);
    EXPECT_EQ(again.exitCode, 0);
    EXPECT_THAT(again.output, HasSubstr("nothing to mend, it imports as it is"));
}

// Whatever goes wrong with whichever write or sync: the file is as between two changes of the list,
// ffmpeg finds all samples as before, the importer takes it exactly when the last change is made,
// and a second mend finishes.
class MendKilled {
  public:
    explicit MendKilled(const std::string& name)
        : mOriginal(MediaPath("unmended/" + name + ".mov")),
          mBytes(ReadFile(mOriginal)),
          mChanges(ListedChanges(mOriginal)) {
        for (size_t count = 0; count <= mChanges.size(); ++count) {
            mStates.push_back(WithChanges(mBytes, mChanges, count));
        }
    }

    void Run(const std::vector<std::string>& ways) {
        ASSERT_FALSE(mChanges.empty());
        LookAtStates();
        // A write and a sync for each change, and one call that does not come.
        const int calls = static_cast<int>(2 * mChanges.size());
        for (const std::string& how : ways) {
            for (int nth = 1; nth <= calls + 1; ++nth) {
                SCOPED_TRACE(mOriginal + ": call " + std::to_string(nth) + " " + how);
                FailAt(nth, how, calls);
            }
        }
    }

  private:
    void LookAtStates() {
        std::vector<std::string> movies = {mOriginal};
        for (size_t count = 0; count < mStates.size(); ++count) {
            movies.push_back(mFolder.File("state" + std::to_string(count) + ".mov"));
            WriteFile(movies.back(), mStates[count]);
            const CommandRun check = RunCommand("check --json " + movies.back());
            EXPECT_EQ(check.exitCode == 1, count < mChanges.size()) << movies.back();
            EXPECT_TRUE(nlohmann::json::parse(check.output)[0].at("disagreement").is_null());
        }
        const auto hashes = HashesByFfmpeg(movies);
        for (const auto& [movie, rows] : hashes) {
            EXPECT_EQ(rows, hashes.at(mOriginal)) << movie;
        }
    }

    void FailAt(int nth, const std::string& how, int calls) {
        const std::string movie = mFolder.File("movie.mov");
        WriteFile(movie, mBytes);
        const Ending ending = RunShell(
            std::string("ASAN_OPTIONS=$ASAN_OPTIONS:verify_asan_link_order=0 LD_PRELOAD='") +
            kvx_test::kFailingWrites + "' KVX_FAILING_WRITE='" + std::to_string(nth) + " " + how +
            "' '" + kvx_test::kBuiltCommand + "' mend " + movie);
        const bool isWhole = nth > calls || how == "short";
        EXPECT_EQ(ending.exitCode, isWhole ? 0 : how == "error" ? 3 : -1) << ending.output;
        if (how == "error" && !isWhole) {
            EXPECT_THAT(ending.output, EndsWith("Input/output error\n"));
        }
        // The write of change N is call 2 N - 1, and the sync after it call 2 N.
        const bool isWritten = nth % 2 == 0 || how == "after";
        const auto made =
            isWhole ? mChanges.size() : static_cast<size_t>((nth - 1) / 2) + (isWritten ? 1 : 0);
        EXPECT_TRUE(ReadFile(movie) == mStates.at(made)) << made;
        if (!isWhole) {
            const CommandRun second = RunCommand("mend " + movie);
            EXPECT_EQ(second.exitCode, 0) << second.output;
            EXPECT_TRUE(ReadFile(movie) == mStates.back());
        }
    }

    const TempDirectory mFolder;
    const std::string mOriginal;
    const std::string mBytes;
    const std::vector<Change> mChanges;
    std::vector<std::string> mStates;
};

TEST(EndToEndMend, IsWholeWheneverItIsKilled) {
    MendKilled("2vuy-s24le-bitmap-first").Run({"after", "error"});
}

// Minutes.
class EveryMendKilled : public testing::TestWithParam<std::string> {};

TEST_P(EveryMendKilled, IsWhole) {
    MendKilled(GetParam()).Run({"before", "after", "error", "short"});
}

INSTANTIATE_TEST_SUITE_P(All, EveryMendKilled, testing::ValuesIn(UnmendedMovies()),
                         [](const auto& info) { return std::to_string(info.index); });

class EndToEndMendFiles : public testing::Test {
  protected:
    void SetUp() override {
        mMovie = mFolder.File("movie.mov");
        fs::copy_file(MediaPath("unmended/v210-timecode.mov"), mMovie);
        mBytes = ReadFile(mMovie);
        const std::vector<Change> changes = ListedChanges(mMovie);
        ASSERT_EQ(changes.size(), 6u);
        mMended = WithChanges(mBytes, changes, changes.size());
    }

    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(mFolder.Path())) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    const TempDirectory mFolder;
    std::string mMovie;
    std::string mBytes;
    std::string mMended;
};

TEST_F(EndToEndMendFiles, ACopyLeavesTheMovieAsItIs) {
    const std::string copy = mFolder.File("copy.mov");
    const CommandRun run = RunCommand("mend " + mMovie + " -o " + copy);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output, mMovie + ": mended by 6 changes as " + copy + ", it imports now\n");
    EXPECT_TRUE(ReadFile(mMovie) == mBytes);
    EXPECT_TRUE(ReadFile(copy) == mMended);
    EXPECT_EQ(Names(), (std::vector<std::string>{"copy.mov", "movie.mov"}));
}

// A movie that nobody else may read, and one of a card that nobody may write.
TEST_F(EndToEndMendFiles, ACopyIsReadByThoseWhoMayReadTheMovie) {
    const std::pair<int, int> modes[] = {{0600, 0600}, {0640, 0640}, {0444, 0644}, {0666, 0644}};
    for (const auto& [ofMovie, ofCopy] : modes) {
        fs::permissions(mMovie, fs::perms(ofMovie));
        const std::string copy = mFolder.File(std::to_string(ofMovie) + ".mov");
        const mode_t before = umask(022);
        EXPECT_EQ(RunCommand("mend " + mMovie + " -o " + copy).exitCode, 0);
        umask(before);
        EXPECT_EQ(fs::status(copy).permissions(), fs::perms(ofCopy)) << ofMovie;
    }
}

TEST_F(EndToEndMendFiles, ACopyThatIsThereIsReplacedByForceAlone) {
    const std::string copy = mFolder.File("copy.mov");
    WriteFile(copy, "before");
    const CommandRun refused = RunCommand("mend " + mMovie + " -o " + copy);
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_EQ(refused.output, "kvx: " + mMovie + ": cannot write " + copy +
                                  ": it is there already; --force replaces it\n");
    EXPECT_EQ(ReadFile(copy), "before");
    EXPECT_EQ(RunCommand("mend " + mMovie + " --force -o " + copy).exitCode, 0);
    EXPECT_TRUE(ReadFile(copy) == mMended);
    EXPECT_EQ(Names(), (std::vector<std::string>{"copy.mov", "movie.mov"}));
}

TEST_F(EndToEndMendFiles, TheMovieIsNeverItsOwnCopy) {
    fs::create_hard_link(mMovie, mFolder.File("hard.mov"));
    fs::create_symlink("movie.mov", mFolder.File("soft.mov"));
    for (const char* name : {"movie.mov", "hard.mov", "soft.mov"}) {
        for (const char* force : {"", " --force"}) {
            const CommandRun run =
                RunCommand("mend " + mMovie + force + " -o " + mFolder.File(name));
            EXPECT_EQ(run.exitCode, 2) << name;
            EXPECT_THAT(run.output, EndsWith("this is a file that the movie is read from\n"));
            EXPECT_TRUE(ReadFile(mMovie) == mBytes);
        }
    }
    EXPECT_EQ(RunCommand("mend " + mMovie + " >>" + mMovie).exitCode, 2);
    EXPECT_EQ(Names(), (std::vector<std::string>{"hard.mov", "movie.mov", "soft.mov"}));
}

TEST_F(EndToEndMendFiles, NothingIsWrittenWhereThereIsNothingToMend) {
    WriteFile(mMovie, mMended);
    const std::string copy = mFolder.File("copy.mov");
    const CommandRun run = RunCommand("mend " + mMovie + " -o " + copy);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output, mMovie + ": nothing to mend, it imports as it is\n");
    EXPECT_FALSE(fs::exists(copy));
    EXPECT_EQ(RunCommand("mend --quiet " + mMovie).output, "");
}

TEST_F(EndToEndMendFiles, ADryRunChangesNothing) {
    const fs::file_time_type time = fs::last_write_time(mMovie);
    const std::string copy = mFolder.File("copy.mov");
    for (const std::string& options : {std::string(), " -o " + copy}) {
        const CommandRun run = RunCommand("mend --dry-run " + mMovie + options);
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'), 7);
    }
    EXPECT_TRUE(ReadFile(mMovie) == mBytes);
    EXPECT_EQ(fs::last_write_time(mMovie), time);
    EXPECT_FALSE(fs::exists(copy));
}

TEST_F(EndToEndMendFiles, LinksAreFollowed) {
    fs::create_hard_link(mMovie, mFolder.File("hard.mov"));
    fs::create_symlink("movie.mov", mFolder.File("soft.mov"));
    const CommandRun run = RunCommand("mend " + mFolder.File("soft.mov"));
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.output, EndsWith("\n  the file has 2 names; it is mended under all\n"));
    EXPECT_TRUE(fs::is_symlink(mFolder.File("soft.mov")));
    EXPECT_TRUE(ReadFile(mFolder.File("hard.mov")) == mMended);
}

TEST_F(EndToEndMendFiles, AFileThatMayNotBeWrittenIsNamed) {
    const std::string disk = mFolder.File("disk");
    fs::create_directory(disk);
    if (geteuid() != 0 || mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=1m") != 0) {
        GTEST_SKIP() << "only the superuser makes file systems";
    }
    const std::string movie = disk + "/movie.mov";
    WriteFile(movie, mBytes);
    ASSERT_EQ(mount(nullptr, disk.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    const CommandRun run = RunCommand("mend " + movie);
    EXPECT_EQ(run.exitCode, 3);
    EXPECT_EQ(run.output,
              "kvx: " + movie + ": cannot write " + movie + ": Read-only file system\n");
    EXPECT_TRUE(ReadFile(movie) == mBytes);
    EXPECT_EQ(RunCommand("mend " + movie + " -o " + mFolder.File("copy.mov")).exitCode, 0);
    EXPECT_EQ(umount(disk.c_str()), 0);
}

TEST_F(EndToEndMendFiles, WhatIsNoFileIsNamed) {
    const std::string pipe = mFolder.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(RunCommand("mend " + pipe).output,
              "kvx: " + pipe + ": it is a device, a pipe or a socket, not a file\n");
    EXPECT_EQ(RunCommand("mend " + mFolder.Path()).exitCode, 3);
    const CommandRun device = RunCommand("mend " + mMovie + " --force -o /dev/null");
    EXPECT_EQ(device.exitCode, 2);
    EXPECT_THAT(device.output, EndsWith("a mended copy has to be a file\n"));
    EXPECT_EQ(RunCommand("mend " + mMovie + " " + mMovie + " -o x.mov").exitCode, 2);
    EXPECT_EQ(RunCommand("mend " + mMovie + " --force").exitCode, 2);
}

TEST_F(EndToEndMendFiles, ALongHoleStaysAHole) {
    const std::string sparse = mFolder.File("sparse.mov");
    fs::copy_file(mMovie, sparse);
    constexpr uint64_t kSize = uint64_t{5} << 30;
    fs::resize_file(sparse, kSize);
    const std::string copy = mFolder.File("copy.mov");
    EXPECT_EQ(RunCommand("mend " + sparse + " -o " + copy).exitCode, 0);
    EXPECT_EQ(fs::file_size(copy), kSize);
    struct stat file = {};
    ASSERT_EQ(stat(copy.c_str(), &file), 0);
    EXPECT_LT(file.st_blocks * 512, 1 << 20);
    std::string head(mMended.size(), '\0');
    std::ifstream(copy, std::ios::binary).read(head.data(), static_cast<long>(head.size()));
    EXPECT_TRUE(head == mMended);
}

// A movie of a handler to mend, and of sound that will be noise: float by its flags, in a
// description by which it is read as integers.
class EndToEndMendObstacles : public EndToEndMendFiles {
  protected:
    std::string MakeNoise() {
        kvx_test::SoundDescriptionV2 description;
        description.bits = 32;
        description.formatFlags = 1 | 8;  // float, packed
        description.bytesPerPacket = 8;
        MovieRecipe recipe;
        recipe.tracks = {kvx_test::VideoTrackRecipe({"v210", 48, 2, 24}, 256, 10),
                         kvx_test::SoundTrackRecipe(kvx_test::Describe(description), 8, 20000,
                                                    48000, kvx_test::kMediaOffset + 0x1000)};
        recipe.tracks[0].dataHandler->componentSubtype = "url ";
        recipe.tracks[0].dataReferences[0].type = "url ";
        return WriteMovie(mFolder, recipe, {}, "noise.mov");
    }
};

TEST_F(EndToEndMendObstacles, AreNamedAndNothingIsChanged) {
    const std::string noise = MakeNoise();
    const std::string before = ReadFile(noise);
    const CommandRun run = RunCommand("mend " + noise);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.output, HasSubstr(": not mended, since more is wrong with it\n"));
    EXPECT_THAT(run.output, HasSubstr("  warning  sound-byte-order "));
    EXPECT_TRUE(ReadFile(noise) == before);
    EXPECT_EQ(RunCommand("mend " + noise + " -o " + mFolder.File("copy.mov")).exitCode, 1);
    EXPECT_FALSE(fs::exists(mFolder.File("copy.mov")));
}

TEST_F(EndToEndMendObstacles, AreOvercomeAnyway) {
    const std::string noise = MakeNoise();
    const CommandRun run = RunCommand("mend --anyway " + noise);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.output, HasSubstr(": mended by 2 changes, it imports now\n"));
    EXPECT_THAT(run.output, HasSubstr("  warning  sound-byte-order "));
    EXPECT_EQ(RunCommand("info " + noise).exitCode, 0);
}

TEST_F(EndToEndMendObstacles, OthersAreMendedAllTheSame) {
    const std::string noise = MakeNoise();
    const CommandRun run = RunCommand("mend " + noise + " " + mMovie);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(ReadFile(mMovie) == mMended);
}

}  // namespace
