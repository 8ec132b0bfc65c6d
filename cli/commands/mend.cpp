#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/with_movie.h"
#include "cli/movie/check_report.h"
#include "cli/movie/media_track.h"
#include "cli/movie/movie_files.h"
#include "cli/movie/session.h"
#include "cli/output/complain.h"
#include "cli/output/copy_file.h"
#include "cli/output/output_file.h"
#include "cli/output/progress_bar.h"
#include "cli/output/text.h"
#include "inspect/mend_file.h"
#include "inspect/mend_plan.h"
#include "inspect/movie_file.h"

namespace kvx_cli {

using kvx_inspect::Change;
using kvx_inspect::ChangeKind;
using kvx_inspect::Durability;
using kvx_inspect::Finding;
using kvx_inspect::MendPlan;
using kvx_inspect::Verdict;

namespace {

constexpr char kChanged[] = "it has been changed by somebody else meanwhile";

std::string Counted(size_t count, const char* noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

// A code in quotes where all of its characters can be printed, else a number.
std::string ValueText(const Change& change, uint32_t value) {
    char text[16];
    if (change.kind == ChangeKind::LayoutTag || change.kind == ChangeKind::LayoutBitmap) {
        std::snprintf(text, sizeof text, "0x%08" PRIx32, value);
    } else {
        std::snprintf(text, sizeof text, "\"%c%c%c%c\"", static_cast<int>(value >> 24),
                      static_cast<int>(value >> 16 & 0xFF), static_cast<int>(value >> 8 & 0xFF),
                      static_cast<int>(value & 0xFF));
    }
    return text;
}

// "  36410  75726c20 616c6973  track 1 (video 0): data handler "url " becomes "alis"".
std::string ChangeLine(const kvx_inspect::Report& report, const Change& change) {
    char numbers[64];
    std::snprintf(numbers, sizeof numbers, "  %10" PRIu64 "  %08" PRIx32 " %08" PRIx32 "  ",
                  change.offset, change.before, change.after);
    return numbers + TrackName(report, change.track) + ": " + NameOf(change.kind) + " " +
           ValueText(change, change.before) + " becomes " + ValueText(change, change.after) + "\n";
}

// The movie's file, open for writing: the one that was looked at.
class WritableMovie {
  public:
    ~WritableMovie() {
        if (mDescriptor >= 0) {
            close(mDescriptor);
        }
    }

    Problem Open(const std::string& path, int lookedAt) {
        mDescriptor = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        struct stat file = {};
        struct stat before = {};
        if (mDescriptor < 0 || fstat(mDescriptor, &file) != 0 || fstat(lookedAt, &before) != 0) {
            return CannotWrite(path, errno);
        }
        if (file.st_dev != before.st_dev || file.st_ino != before.st_ino) {
            return {kExitFailed, kChanged};
        }
        mNames = file.st_nlink;
        return {};
    }

    int Descriptor() const { return mDescriptor; }
    uint64_t Names() const { return mNames; }

  private:
    int mDescriptor = -1;
    uint64_t mNames = 1;
};

// Only those who may read the movie may read its copy. The copy's owner may write it.
void HideLike(int movie, int copy) {
    struct stat ofMovie = {};
    struct stat ofCopy = {};
    if (fstat(movie, &ofMovie) == 0 && fstat(copy, &ofCopy) == 0) {
        fchmod(copy, ofCopy.st_mode & (ofMovie.st_mode | S_IRUSR | S_IWUSR) &
                         (S_IRWXU | S_IRWXG | S_IRWXO));
    }
}

class Mender {
  public:
    Mender(const Arguments& arguments, std::shared_ptr<const Session> session)
        : mArguments(arguments),
          mSession(std::move(session)),
          mOutput(arguments.Text(OptionId::kOutput)),
          mIsQuiet(arguments.Has(OptionId::kQuiet)),
          mLimit(Timeout(arguments)) {}

    ExitCode Mend(const std::string& path) {
        auto plan = mLimit.Ask<MendPlan>([path] { return kvx_inspect::PlanMend(path); });
        if (!plan) {
            return Fail(path, {kExitFailed, mLimit.Words()});
        }
        if (plan->before.GetVerdict() == Verdict::Unreadable) {
            return Fail(path, {kExitFailed, plan->before.findings.front().text});
        }
        // Where the movie's media is another file, which the list of movies does not have.
        if (const Problem problem = CheckStandardOutput(InputsOf(plan->before))) {
            return Fail(path, problem);
        }
        const std::vector<Finding> obstacles = plan->Obstacles();
        if (plan->changes.empty()) {
            return TellNothingToMend(path, *plan, obstacles);
        }
        if (!obstacles.empty() && !mArguments.Has(OptionId::kAnyway)) {
            std::string text = Printable(path) + ": not mended, since more is wrong with it\n";
            Tell(text + FindingLines(plan->after, obstacles) +
                 "  --anyway mends what can be mended\n");
            return kExitRefused;
        }
        if (mArguments.Has(OptionId::kDryRun)) {
            Say(Printable(path) + ": would be mended by " +
                Counted(plan->changes.size(), "change") + "\n" + ChangeLines(*plan));
            Tell(FindingLines(plan->after, obstacles));
            return obstacles.empty() ? kExitDone : kExitRefused;
        }
        const Problem problem = mOutput.empty() ? MendInPlace(path, *plan) : MendCopy(*plan);
        return problem ? Fail(path, problem) : TellResult(path, *plan, obstacles);
    }

  private:
    // Of what went well.
    void Say(const std::string& text) const {
        if (!mIsQuiet) {
            Tell(text);
        }
    }

    static void Tell(const std::string& text) { std::fputs(text.c_str(), stdout); }

    static ExitCode Fail(const std::string& path, const Problem& problem) {
        // What has been reported of earlier movies comes before it.
        std::fflush(stdout);
        Complain(path, problem);
        return problem.code;
    }

    static std::string FindingLines(const kvx_inspect::Report& report,
                                    const std::vector<Finding>& findings) {
        std::string lines;
        for (const Finding& finding : findings) {
            lines += FindingLine(report, finding);
        }
        return lines;
    }

    static std::string ChangeLines(const MendPlan& plan) {
        std::string lines;
        for (const Change& change : plan.changes) {
            lines += ChangeLine(plan.before, change);
        }
        return lines;
    }

    ExitCode TellNothingToMend(const std::string& path, const MendPlan& plan,
                               const std::vector<Finding>& obstacles) const {
        const bool imports = plan.before.GetVerdict() == Verdict::Imports;
        const std::string text = Printable(path) + ": nothing to mend" +
                                 (imports ? ", it imports as it is" : ", and it is refused") +
                                 "\n" + FindingLines(plan.before, obstacles);
        if (imports) {
            Say(text);
            return kExitDone;
        }
        Tell(text);
        return kExitRefused;
    }

    Problem MendInPlace(const std::string& path, const MendPlan& plan) {
        WritableMovie movie;
        if (Problem problem = movie.Open(path, plan.before.file->Descriptor())) {
            return problem;
        }
        mNames = movie.Names();
        const int error = MakeChanges(movie.Descriptor(), plan.changes, Durability::EachChange);
        return error == ESTALE ? Problem(kExitFailed, kChanged)
               : error != 0    ? CannotWrite(path, error)
                               : Problem();
    }

    Problem MendCopy(const MendPlan& plan) {
        struct stat ignored = {};
        const bool isNew = stat(mOutput.c_str(), &ignored) != 0;
        OutputFile copy;
        if (Problem problem =
                copy.Open(mOutput, InputsOf(plan.before),
                          mArguments.Has(OptionId::kForce) ? OutputFile::Existing::kReplace
                                                           : OutputFile::Existing::kRefuse)) {
            return problem;
        }
        if (!copy.CanSeek()) {
            return {kExitUsage, "cannot write " + mOutput + ": a mended copy has to be a file"};
        }
        const uint64_t size = plan.before.file->Size();
        ProgressBar progress("copy", static_cast<int64_t>(size));
        const int descriptor = fileno(copy.Stream());
        if (isNew) {
            HideLike(plan.before.file->Descriptor(), descriptor);
        }
        int error =
            CopyBytes(plan.before.file->Descriptor(), descriptor, size,
                      [&progress](uint64_t done) { progress.Update(static_cast<int64_t>(done)); });
        if (error == 0) {
            error = MakeChanges(descriptor, plan.changes, Durability::None);
        }
        if (error != 0) {
            return error == ESTALE ? Problem(kExitFailed, kChanged) : CannotWrite(mOutput, error);
        }
        return copy.Finish();
    }

    ExitCode TellResult(const std::string& path, const MendPlan& plan,
                        const std::vector<Finding>& obstacles) {
        const std::string result = mOutput.empty() ? path : mOutput;
        auto facts = mLimit.Ask<MovieFacts>(
            [session = mSession, result] { return FindFacts(*session, result); });
        const MovieFacts told = facts ? std::move(*facts) : NoFacts(result, mLimit.Words());
        const bool imports = told.GetVerdict() == Verdict::Imports;
        const std::string text =
            Printable(path) + ": mended by " + Counted(plan.changes.size(), "change") +
            (mOutput.empty() ? "" : " as " + Printable(mOutput)) +
            (imports ? ", it imports now"
                     : ", and still refused: " + Printable(told.importer.words)) +
            "\n" +
            (mOutput.empty() && mNames > 1
                 ? "  the file has " + std::to_string(mNames) + " names; it is mended under all\n"
                 : "") +
            FindingLines(plan.after, obstacles);
        if (imports && obstacles.empty()) {
            Say(text);
            return kExitDone;
        }
        Tell(text);
        return kExitRefused;
    }

    const Arguments& mArguments;
    const std::shared_ptr<const Session> mSession;
    const std::string mOutput;
    const bool mIsQuiet;
    TimeLimit mLimit;
    uint64_t mNames = 1;
};

}  // namespace

int RunMend(const Arguments& arguments) {
    const MovieFiles movies = FindMovies(arguments);
    if (movies.problem) {
        return Complain(movies.problem.code, movies.problem.words);
    }
    if (arguments.Has(OptionId::kOutput) && movies.areMany) {
        return Complain(kExitUsage, "--output takes one movie, that is named");
    }
    InputFiles inputs;
    for (const MovieFile& movie : movies.files) {
        inputs.Add(movie.path);
    }
    Problem problem = CheckStandardOutput(inputs);
    if (problem) {
        return Complain(problem.code, problem.words);
    }
    // Before anything is changed.
    const auto session = Session::Start(arguments.Text(OptionId::kModule), problem);
    if (session == nullptr) {
        return Complain(problem.code, problem.words);
    }
    Mender mender(arguments, session);
    ExitCode exitCode = movies.code;
    for (const MovieFile& movie : movies.files) {
        exitCode = Graver(exitCode, mender.Mend(movie.path));
    }
    return FlushStandardOutput() ? exitCode : kExitFailed;
}

}  // namespace kvx_cli
