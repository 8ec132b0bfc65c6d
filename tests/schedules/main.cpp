// Enumerates the orders in which the threads of the importer and of its host can meet.
//
//     kvx_schedules [OPTIONS] [SCENARIO...]     all scenarios if none is named
//
//       --list              names and stories
//       --self-test         the scheduler's own test, in place of scenarios
//       --preemptions N     threads interrupted in one run, 2 if not said; 0, 1 ... N in turn
//       --seconds S         of the processor for each scenario; no limit if not said
//       --runs N            of those with most preemptions at most; no limit if not said
//       --all               not to have made all runs is a failure
//       --share K/N         of the scenarios every N-th, from the K-th on
//       --random RUNS       random priorities in place of every order
//       --seed N            for these
//       --replay PATH       one run of one scenario, with its points and the importer's log
//
// A line a scenario. Ends with 1 when a run has done what it must not do; the line then has the
// path that repeats it.

#include <fcntl.h>
#include <getopt.h>
#include <signal.h>
#include <sys/single_threaded.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

#include "schedules/scenarios.h"
#include "schedules/scheduler.h"
#include "schedules/self_test.h"
#include "schedules/strategy.h"

namespace kvx_schedules {

namespace {

// Of the processor: what a scenario takes does not depend on what else the machine is doing.
struct Clock {
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<Clock>;
    [[maybe_unused]] static constexpr bool is_steady = true;

    static time_point now() {
        timespec time{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return time_point(std::chrono::seconds(time.tv_sec) +
                          std::chrono::nanoseconds(time.tv_nsec));
    }
};

struct Options {
    size_t share = 1;
    size_t shares = 1;
    unsigned preemptions = 2;
    double seconds = 0;
    long runs = std::numeric_limits<long>::max();
    long random = 0;
    uint64_t seed = 1;
    const char* replay = nullptr;
    bool wantsAll = false;
};

// What the runs of one scenario came to.
struct Result {
    long runs = 0;
    long givenUp = 0;  // since an earlier run had shown the rest
    size_t longest = 0;
    bool isExhausted = false;
    std::optional<Finding> finding;
};

// The log of millions of runs is of no use to anybody.
class Silence {
  public:
    Silence() : mError(dup(STDERR_FILENO)) {
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDERR_FILENO);
        close(nowhere);
    }
    ~Silence() {
        dup2(mError, STDERR_FILENO);
        close(mError);
    }

  private:
    int mError;
};

// A run that crashes is a finding like another. Whatever the thread was at is left as it is.
void FailOnCrashes() {
    struct sigaction action = {};
    action.sa_handler = [](int signal) {
        if (!IsUnderSchedule()) {
            std::_Exit(128 + signal);
        }
        gScheduler->Fail(signal == SIGSEGV ? "looks at an address that is nobody's" : "aborts");
    };
    action.sa_flags = SA_NODEFER;
    sigaction(SIGSEGV, &action, nullptr);
    sigaction(SIGABRT, &action, nullptr);
}

// Where the runs of a scenario end, if not all of them have been made by then.
struct Limit {
    Clock::time_point end = Clock::time_point::max();
    long runs = std::numeric_limits<long>::max();

    bool IsReached(long made) const {
        return made >= runs || (made % 64 == 0 && Clock::now() > end);
    }
};

void RunAll(const Scenario& scenario, const Movies& movies, Strategy& strategy,
            const Bounds& bounds, const Limit& limit, Result& result) {
    const std::function<void()> body = [&] { scenario.body(movies); };
    do {
        result.finding = gScheduler->Run(strategy, bounds, body);
        ++result.runs;
        result.givenUp += gScheduler->WasGivenUp() ? 1 : 0;
        result.longest = std::max(result.longest, gScheduler->Choices());
        if (result.finding) {
            return;
        }
        if (!strategy.NextRun()) {
            result.isExhausted = true;
            return;
        }
    } while (!limit.IsReached(result.runs));
}

// Which objects the threads have in common turns out on the way: the runs are made until they have
// shown no further one.
Result RunEvery(const Scenario& scenario, const Movies& movies, const Bounds& bounds,
                const Limit& limit) {
    Result result;
    for (;;) {
        gScheduler->TheirCauses().AcceptCommon();
        result.isExhausted = false;
        EveryRun strategy;
        RunAll(scenario, movies, strategy, bounds, limit, result);
        if (!result.isExhausted || !gScheduler->TheirCauses().HasFoundCommon()) {
            return result;
        }
    }
}

bool Report(const Scenario& scenario, const std::string& how, const Result& result,
            double seconds) {
    std::printf("%-14s %-24s %9ld runs, %s, %zu choices at most, %.1f s", scenario.name,
                how.c_str(), result.runs, result.isExhausted ? "all" : "not all", result.longest,
                seconds);
    if (result.finding) {
        std::printf("\n  %s\n  --replay '%s'", result.finding->what.c_str(),
                    result.finding->path.c_str());
    }
    std::printf("\n");
    std::fflush(stdout);
    return !result.finding;
}

bool Play(const Scenario& scenario, const Movies& movies, const Options& options) {
    Bounds bounds;
    bounds.failures = scenario.failures;
    bounds.wakeUps = scenario.wakeUps;
    bounds.threadsAlike = scenario.threadsAlike;
    const auto start = Clock::now();
    const auto seconds = [&] {
        return std::chrono::duration<double>(Clock::now() - start).count();
    };
    Limit limit;
    if (options.seconds > 0) {
        limit.end = start + std::chrono::milliseconds(static_cast<long>(options.seconds * 1000));
    }
    if (options.replay != nullptr) {
        bounds.preemptions = static_cast<unsigned>(-1);
        Replay strategy(options.replay);
        gScheduler->Trace();
        Result result;
        RunAll(scenario, movies, strategy, bounds, limit, result);
        return Report(scenario, "replay", result, seconds());
    }
    const Silence silence;
    if (options.random > 0) {
        bounds.preemptions = static_cast<unsigned>(-1);
        RandomPriorities strategy(options.seed, options.random, 3, 200);
        Result result;
        RunAll(scenario, movies, strategy, bounds, limit, result);
        return Report(scenario, "random", result, seconds());
    }
    bounds.onlyWhereThreadsMeet = true;
    gScheduler->TheirCauses().ForgetCommon();
    for (unsigned preemptions = 0; preemptions <= options.preemptions; ++preemptions) {
        bounds.preemptions = preemptions;
        if (preemptions == options.preemptions) {
            limit.runs = options.runs;
        }
        const Result result = RunEvery(scenario, movies, bounds, limit);
        if (!Report(scenario, std::to_string(preemptions) + " preemptions", result, seconds())) {
            return false;
        }
        if (!result.isExhausted) {
            return !options.wantsAll;
        }
    }
    return true;
}

int Main(int argc, char** argv) {
    static const option kOptions[] = {
        {"list", no_argument, nullptr, 'l'},
        {"self-test", no_argument, nullptr, 't'},
        {"preemptions", required_argument, nullptr, 'p'},
        {"seconds", required_argument, nullptr, 's'},
        {"runs", required_argument, nullptr, 'n'},
        {"all", no_argument, nullptr, 'a'},
        {"share", required_argument, nullptr, 'h'},
        {"random", required_argument, nullptr, 'r'},
        {"seed", required_argument, nullptr, 'e'},
        {"replay", required_argument, nullptr, 'y'},
        {},
    };
    Options options;
    for (int found = 0; (found = getopt_long(argc, argv, "", kOptions, nullptr)) != -1;) {
        switch (found) {
            case 'l':
                for (const Scenario& scenario : Scenarios()) {
                    std::printf("%-14s %s\n", scenario.name, scenario.story);
                }
                return 0;
            case 't':
                gScheduler = new Scheduler;
                return SelfTest() ? 0 : 1;
            case 'p':
                options.preemptions = static_cast<unsigned>(std::atoi(optarg));
                break;
            case 's':
                options.seconds = std::atof(optarg);
                break;
            case 'n':
                options.runs = std::atol(optarg);
                break;
            case 'a':
                options.wantsAll = true;
                break;
            case 'h':
                if (std::sscanf(optarg, "%zu/%zu", &options.share, &options.shares) != 2 ||
                    options.share < 1 || options.share > options.shares) {
                    return 2;
                }
                break;
            case 'r':
                options.random = std::atol(optarg);
                break;
            case 'e':
                options.seed = static_cast<uint64_t>(std::atoll(optarg));
                break;
            case 'y':
                options.replay = optarg;
                break;
            default:
                return 2;
        }
    }
    const std::vector<std::string> names(argv + optind, argv + argc);
    const auto isNamed = [&](const Scenario& scenario) {
        return names.empty() || std::find(names.begin(), names.end(), scenario.name) != names.end();
    };
    const auto& all = Scenarios();
    if (std::count_if(all.begin(), all.end(), isNamed) <
        static_cast<long>(std::max<size_t>(names.size(), 1))) {
        std::fprintf(stderr, "kvx_schedules: there is no such scenario; see --list\n");
        return 2;
    }
    const auto movies = std::make_unique<Movies>();
    gScheduler = new Scheduler;
    FailOnCrashes();
    bool isGood = true;
    for (size_t place = 0; place < all.size(); ++place) {
        if (place % options.shares + 1 == options.share && isNamed(all[place])) {
            isGood = Play(all[place], *movies, options) && isGood;
        }
    }
    return isGood ? 0 : 1;
}

}  // namespace

const std::vector<Scenario>& Scenarios() {
    static const std::vector<Scenario>* const scenarios = [] {
        auto* all = new std::vector<Scenario>(FrameScenarios());
        for (const auto& more : {RequestScenarios(), EndScenarios()}) {
            all->insert(all->end(), more.begin(), more.end());
        }
        return all;
    }();
    return *scenarios;
}

}  // namespace kvx_schedules

int main(int argc, char** argv) {
    // There is one thread of the system, and yet counts must be such as several can share.
    __libc_single_threaded = 0;
    const int status = kvx_schedules::Main(argc, argv);
    // Of a scenario in which the process exits, the last run has destroyed the importer's static
    // objects.
    std::fflush(nullptr);
    std::_Exit(status);
}
