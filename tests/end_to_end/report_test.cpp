// `kvx report`: a page of real movies.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>

#include "end_to_end/real_movie.h"
#include "end_to_end/run_command.h"
#include "support/temp_directory.h"

namespace {

namespace fs = std::filesystem;
using kvx_test::CommandRun;
using kvx_test::MediaPath;
using kvx_test::RunCommand;
using testing::HasSubstr;
using testing::Not;

size_t CountOf(const std::string& text, const std::string& part) {
    size_t count = 0;
    for (size_t place = text.find(part); place != std::string::npos;
         place = text.find(part, place + 1)) {
        ++count;
    }
    return count;
}

class EndToEndReport : public testing::Test {
  protected:
    std::string Page(const std::string& arguments, int exitCode) {
        const CommandRun run =
            RunCommand("report " + arguments + " -o " + mFolder.File("page.html"));
        EXPECT_EQ(run.exitCode, exitCode) << run.output;
        mTold = run.output;
        std::ifstream file(mFolder.File("page.html"), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }

    const kvx_test::TempDirectory mFolder;
    std::string mTold;
};

TEST_F(EndToEndReport, ShowsAMovie) {
    const std::string page = Page("tracks/three-sounds.mov", 0);
    EXPECT_EQ(mTold, "tracks/three-sounds.mov: imports\n");
    EXPECT_EQ(CountOf(page, "<img "), 4u);
    EXPECT_EQ(CountOf(page, "src=\"data:image/png;base64,iVBORw0KGgo"), 4u);
    EXPECT_EQ(CountOf(page, "class=\"wave\""), 5u);  // mono and twice stereo
    EXPECT_EQ(CountOf(page, "<section "), 1u);
    EXPECT_THAT(page, HasSubstr("<dt>rate</dt><dd>48000 Hz</dd>"));
    EXPECT_THAT(page, HasSubstr("<title>three-sounds.mov</title>"));
    EXPECT_THAT(page, Not(HasSubstr("<table>")));
}

TEST_F(EndToEndReport, ShowsSeveralMoviesAndWhatIsWrongWithThem) {
    const std::string page = Page(
        "refused/h264.mov checked/ffmpeg-cut-off.mov no-such.mov timecodes/25.mov --frames 20", 3);
    EXPECT_EQ(CountOf(page, "<section "), 4u);
    EXPECT_THAT(page, HasSubstr("4 movies"));
    EXPECT_THAT(page, HasSubstr("Remedy: "));
    EXPECT_THAT(page, HasSubstr("there is no such file"));
    EXPECT_EQ(CountOf(page, "<svg class=\"missing\""), 2u);  // frames 8 and 9 of the second
    EXPECT_THAT(page, HasSubstr("H.264"));
    EXPECT_EQ(CountOf(page, "<script>"), 1u);
}

TEST_F(EndToEndReport, IsAloneWithItsMovies) {
    const std::string movie = mFolder.File("m/'\"><img onerror=alert(1)>.mov");
    fs::create_directories(mFolder.File("m"));
    fs::copy_file(MediaPath("tracks/no-sound.mov"), movie);
    const std::string page = Page("-r " + mFolder.File("m") + " --frames 0 --quiet", 0);
    EXPECT_EQ(mTold, "");
    EXPECT_EQ(CountOf(page, "<img"), 0u);
    EXPECT_THAT(page, HasSubstr("&gt;.mov"));
    EXPECT_FALSE(std::regex_search(page, std::regex("(src|href)=\"?(?!data:|#)")));
}

TEST_F(EndToEndReport, GoesToStandardOutputAlone) {
    const std::string page = RunCommand("report tracks/no-sound.mov -o -").output;
    EXPECT_THAT(page, testing::StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(page, testing::EndsWith("</html>\n"));
}

TEST_F(EndToEndReport, IsNeverWrittenOverAMovie) {
    const std::string movie = mFolder.File("page.html");
    fs::copy_file(MediaPath("tracks/no-sound.mov"), movie);
    const auto size = fs::file_size(movie);
    Page("tracks/timecode.mov " + movie, 2);
    EXPECT_EQ(fs::file_size(movie), size);
}

TEST_F(EndToEndReport, OfNoMovieIsAPageToo) {
    fs::create_directory(mFolder.File("m"));
    EXPECT_THAT(Page("-r " + mFolder.File("m"), 0), HasSubstr("0 movies"));
}

}  // namespace
