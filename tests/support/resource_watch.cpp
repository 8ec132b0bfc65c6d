// Looks before and after every test at the descriptors and threads of the process. A test must
// leave as many descriptors as it found, and no thread but those of the two pools, which start with
// the first frame and stay: once in the importer that is linked in, once in the loaded module.
#include <dirent.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <set>
#include <thread>

#include "support/open_descriptors.h"

namespace kvx_test {

namespace {

constexpr int kReadThreads = 8;
constexpr int kImporters = 2;

int Threads() {
    int count = 0;
    DIR* const directory = opendir("/proc/self/task");
    if (directory == nullptr) {
        return 0;
    }
    while (const dirent* const entry = readdir(directory)) {
        count += entry->d_name[0] == '.' ? 0 : 1;
    }
    closedir(directory);
    return count;
}

// A thread is gone a little after it has been joined.
bool Soon(const std::function<bool()>& holds) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!holds()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

class ResourceWatch : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override {
        mDescriptors = OpenDescriptors();
        if (mFirstThreads == 0) {
            mFirstThreads = Threads();
        }
    }

    void OnTestEnd(const testing::TestInfo&) override {
        if (!Soon([this] { return OpenDescriptors() == mDescriptors; })) {
            const std::set<int> left = OpenDescriptors();
            ADD_FAILURE() << mDescriptors.size() << " descriptors before the test, " << left.size()
                          << " behind it";
        }
        const int processors = static_cast<int>(std::thread::hardware_concurrency());
        const int allowed = mFirstThreads + kImporters * (kReadThreads + processors);
        if (!Soon([allowed] { return Threads() <= allowed; })) {
            ADD_FAILURE() << Threads() << " threads, where " << allowed << " are accounted for";
        }
    }

    std::set<int> mDescriptors;
    int mFirstThreads = 0;
};

// Ends are told in reverse order, so that the printer, which is there already, prints what is
// found.
[[maybe_unused]] const bool kIsWatching = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new ResourceWatch);
    return true;
}();

}  // namespace

}  // namespace kvx_test
