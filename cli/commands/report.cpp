#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/glance.h"
#include "cli/commands/with_movie.h"
#include "cli/movie/movie_files.h"
#include "cli/movie/streams.h"
#include "cli/output/complain.h"
#include "cli/output/output_file.h"
#include "cli/output/progress_bar.h"
#include "cli/output/text.h"
#include "cli/page/movie_page.h"
#include "cli/picture/scale.h"

namespace kvx_cli {

namespace {

constexpr int kFrameWidth = 360;  // on the page, at most
constexpr int kSoundColumns = 1000;

// A frame as it is shown, pixels square.
PageFrame PageFrameOf(const Glance::Frame& frame, const imFileInfoRec8& video, WorkerPool& pool,
                      Problem& problem) {
    const PixelAspect aspect = PixelAspectOf(video);
    const double shown = double{1} * video.width * aspect.width / aspect.height;
    const double scale = std::min(kFrameWidth / shown, 1.0);
    PageFrame made;
    made.caption = frame.caption;
    made.width = std::max(static_cast<int>(std::lround(shown * scale)), 1);
    made.height = std::max(static_cast<int>(std::lround(video.height * scale)), 1);
    if (frame.isThere) {
        constexpr int kSmallCompression = 6;
        const Picture picture = ScaledDown(frame.view, std::min(made.width, frame.view.width),
                                           std::min(made.height, frame.view.height));
        PngEncoding encoding(pool, RowsOf(picture), {{}, kSmallCompression});
        problem = encoding.Append(made.png);
    }
    return made;
}

class ReportCommand {
  public:
    explicit ReportCommand(const Arguments& arguments)
        : mArguments(arguments), mLimit(Timeout(arguments)) {}

    int Run() {
        const MovieFiles movies = FindMovies(mArguments);
        if (movies.problem) {
            return Complain(movies.problem.code, movies.problem.words);
        }
        Problem problem;
        mSession = Session::Start(mArguments.Text(OptionId::kModule), problem);
        if (mSession == nullptr) {
            return Complain(problem.code, problem.words);
        }
        mCode = movies.code;
        const std::vector<MovieFacts> facts = FindAllFacts(movies);
        OutputFile file;
        problem = CheckStandardOutput(mInputs);
        if (!problem) {
            problem = file.Open(mArguments.Text(OptionId::kOutput), mInputs);
        }
        if (!problem) {
            problem = WritePage(file, facts);
        }
        return problem ? Complain(problem.code, problem.words) : mCode;
    }

  private:
    std::vector<MovieFacts> FindAllFacts(const MovieFiles& movies) {
        std::vector<MovieFacts> all;
        ProgressBar progress("facts", static_cast<int64_t>(movies.files.size()));
        for (const MovieFile& movie : movies.files) {
            auto facts = mLimit.Ask<MovieFacts>(
                [session = mSession, path = movie.path] { return FindFacts(*session, path); });
            all.push_back(facts ? std::move(*facts) : NoFacts(movie.path, mLimit.Words()));
            // What the report's tables look into is of no use here.
            for (kvx_inspect::TrackFacts& track : all.back().report.tracks) {
                track.tables = {};
                mInputs.Add(track.media.path);
            }
            all.back().report.file = nullptr;
            mInputs.Add(movie.path);
            progress.Update(static_cast<int64_t>(all.size()));
        }
        return all;
    }

    Problem WritePage(OutputFile& file, const std::vector<MovieFacts>& facts) {
        if (Problem problem = Write(file, PageStart(facts))) {
            return problem;
        }
        ProgressBar progress("movies", static_cast<int64_t>(facts.size()));
        for (size_t number = 0; number < facts.size(); ++number) {
            if (Problem problem = Write(file, Section(facts[number], number))) {
                return problem;
            }
            Tell(facts[number]);
            progress.Update(static_cast<int64_t>(number) + 1);
        }
        const Problem problem = Write(file, PageEnd());
        return problem ? problem : file.Finish();
    }

    static Problem Write(OutputFile& file, const std::string& html) {
        errno = 0;
        return std::fwrite(html.data(), 1, html.size(), file.Stream()) == html.size()
                   ? Problem()
                   : file.Failure();
    }

    std::string Section(const MovieFacts& facts, size_t number) {
        const kvx_inspect::Verdict verdict = facts.GetVerdict();
        if (verdict != kvx_inspect::Verdict::Imports) {
            mCode = Graver(mCode,
                           verdict == kvx_inspect::Verdict::Refused ? kExitRefused : kExitFailed);
            return PageMovie(facts, number, {}, {}, {});
        }
        const auto movie = std::make_shared<OpenedMovie>();
        const bool hasReturned = mLimit.Run(
            [session = mSession, movie, path = facts.path] { *movie = OpenMovie(*session, path); });
        if (!hasReturned || movie->clip == nullptr) {
            const std::string words = hasReturned ? movie->problem.words : mLimit.Words();
            mCode = Graver(mCode, ExitCode(Complain(kExitFailed, facts.path, words)));
            return PageMovie(facts, number, {}, {}, {words});
        }
        const std::string name;
        const MovieAtWork atWork = {{facts.path, name, true, mInputs}, *movie->clip, mLimit};
        Glance glance(atWork);
        std::vector<std::string> notes;
        const std::vector<Waveform> sounds = glance.ReadSounds(kSoundColumns, notes);
        std::vector<PageFrame> frames;
        if (Problem problem = ReadFrames(glance, frames)) {
            notes.push_back(problem.words);
            mCode = Graver(mCode, ExitCode(Complain(facts.path, problem)));
        }
        mCode = Graver(mCode, glance.Code());
        return PageMovie(facts, number, frames, sounds, notes);
    }

    Problem ReadFrames(Glance& glance, std::vector<PageFrame>& frames) {
        const int64_t room = mArguments.Number(OptionId::kFrames);
        if (room == 0) {
            return {};
        }
        int count = 0;
        Problem problem = glance.BeginFrames(room, count);
        while (!problem && static_cast<int>(frames.size()) < count) {
            Glance::Frame frame;
            problem = glance.NextFrame(frame);
            if (!problem) {
                frames.push_back(PageFrameOf(frame, *glance.Video(), mPool, problem));
            }
        }
        glance.EndFrames();
        return problem;
    }

    void Tell(const MovieFacts& facts) const {
        if (!mArguments.Has(OptionId::kQuiet) && mArguments.Text(OptionId::kOutput) != "-") {
            ProgressBar::Wipe();
            std::printf("%s: %s\n", Printable(facts.path).c_str(), NameOf(facts.GetVerdict()));
            std::fflush(stdout);
        }
    }

    const Arguments& mArguments;
    TimeLimit mLimit;
    InputFiles mInputs;
    std::shared_ptr<const Session> mSession;
    WorkerPool mPool;
    ExitCode mCode = kExitDone;
};

}  // namespace

int RunReport(const Arguments& arguments) {
    return ReportCommand(arguments).Run();
}

}  // namespace kvx_cli
