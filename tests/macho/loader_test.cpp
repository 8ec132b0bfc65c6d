// The loader's own tests, on a bundle made for them.
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "macho/loader/bytes.h"
#include "macho/loader/image.h"
#include "macho/loader/load_error.h"
#include "macho/shims/error_numbers.h"
#include "macho/shims/ledger.h"
#include "macho/shims/shims.h"
#include "support/temp_directory.h"

namespace {

// Numbers of errno on macOS.
constexpr int kNoEntry = 2;
constexpr int kBadDescriptor = 9;
constexpr int kInvalid = 22;
constexpr int kTooManyLinks = 62;
constexpr int kNameTooLong = 63;

class Loader : public testing::Test {
  protected:
    Loader() : ledger(macho::AllShims()), image(KVX_MACHO_PROBE, ledger) {}

    template <typename Function>
    Function* Find(const char* name) const {
        void* const address = image.Find(name);
        EXPECT_NE(address, nullptr) << name;
        return reinterpret_cast<Function*>(address);
    }

    bool WasCalled(const char* name) { return *ledger.Mark(*ledger.Find(name)) == '+'; }

    macho::Ledger ledger;
    macho::Image image;
};

TEST_F(Loader, RunsInitialisers) {
    EXPECT_EQ(Find<int()>("_probe_initialised")(), 7);
}

TEST_F(Loader, KnowsNoOtherNames) {
    EXPECT_EQ(image.Find("_probe_nothing"), nullptr);
    EXPECT_EQ(image.Find("probe_initialised"), nullptr);
}

TEST_F(Loader, EachThreadHasVariablesOfItsOwn) {
    auto* const count = Find<int()>("_probe_count");
    EXPECT_EQ(count(), 43);
    EXPECT_EQ(count(), 44);
    int elsewhere = 0;
    std::thread([&] { elsewhere = count(); }).join();
    EXPECT_EQ(elsewhere, 43);
    EXPECT_EQ(count(), 45);
}

TEST_F(Loader, AskingForAVariableKeepsTheRegistersOfArguments) {
    char text[100] = {};
    auto* const print = Find<int(char*, unsigned long, double, double, int)>("_probe_variadic");
    print(text, sizeof text, 0.5, 2.25, -7);
    EXPECT_STREQ(text, "0.5 -7 2.25 42 2.75 |");
}

TEST_F(Loader, ExceptionsCrossFramesAndAreCaught) {
    auto* const throwing = Find<int(int, int, int*)>("_probe_throw");
    for (const int depth : {0, 1, 10}) {
        int destroyed = 0;
        EXPECT_EQ(throwing(depth, 1234, &destroyed), 1234);
        EXPECT_EQ(destroyed, depth + 1);
    }
    EXPECT_EQ(Find<int(int)>("_probe_throw_small")(5), -5);
    EXPECT_EQ(Find<int(int)>("_probe_throw_small")(-5), -5);
}

TEST_F(Loader, ExceptionsOfThisSystemAreCaughtThere) {
    int destroyed = 0;
    auto* const catching = Find<int(void (*)(), int*)>("_probe_catch");
    EXPECT_EQ(catching([] { throw std::runtime_error("from here"); }, &destroyed), 1);
    EXPECT_EQ(catching([] {}, &destroyed), 0);
    EXPECT_EQ(destroyed, 2);
}

TEST_F(Loader, ExceptionsOfThisSystemPassThrough) {
    int destroyed = 0;
    auto* const passing = Find<void(void (*)(), int*)>("_probe_pass");
    EXPECT_THROW(passing([] { throw std::runtime_error("from here"); }, &destroyed),
                 std::runtime_error);
    EXPECT_EQ(destroyed, 1);
}

TEST_F(Loader, ErrorNumbersAreThoseOfMacos) {
    auto* const open = Find<int(const char*, int*)>("_probe_open");
    const kvx_test::TempDirectory directory;
    const std::string loop = directory.File("loop");
    ASSERT_EQ(symlink(loop.c_str(), loop.c_str()), 0);
    int descriptor = 0;
    EXPECT_EQ(open(directory.File("none").c_str(), &descriptor), kNoEntry);
    EXPECT_EQ(open(loop.c_str(), &descriptor), kTooManyLinks);
    EXPECT_EQ(open(std::string(300, 'n').c_str(), &descriptor), kNameTooLong);
    EXPECT_EQ(Find<int(int)>("_probe_close")(-1), kBadDescriptor);
    EXPECT_STREQ(Find<const char*(int)>("_probe_error_text")(kNameTooLong), strerror(ENAMETOOLONG));
}

TEST(ErrorNumbers, GoThereAndBack) {
    for (int number = 0; number <= 106; ++number) {
        const int here = macho::ErrorFromMacos(number);
        if (here != EIO) {
            EXPECT_EQ(macho::ErrorFromMacos(macho::ErrorForMacos(here)), here) << number;
        }
    }
    EXPECT_EQ(macho::ErrorForMacos(EAGAIN), 35);
    EXPECT_EQ(macho::ErrorForMacos(EDEADLK), 11);
    EXPECT_EQ(macho::ErrorForMacos(ETIMEDOUT), 60);
    EXPECT_EQ(macho::ErrorForMacos(ECANCELED), 89);
    EXPECT_EQ(macho::ErrorFromMacos(45), ENOTSUP);
}

TEST_F(Loader, TellsTheStateOfAFile) {
    const kvx_test::TempDirectory directory;
    const std::string path = directory.File("file");
    ASSERT_EQ(truncate((std::fclose(std::fopen(path.c_str(), "w")), path.c_str()), 5000000000), 0);
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    struct stat expected = {};
    ASSERT_EQ(stat(path.c_str(), &expected), 0);
    int descriptor = -1;
    ASSERT_EQ(Find<int(const char*, int*)>("_probe_open")(path.c_str(), &descriptor), 0);
    long long size = 0;
    int mode = 0;
    long long modified = 0;
    unsigned long long file = 0;
    auto* const state =
        Find<int(int, long long*, int*, long long*, unsigned long long*)>("_probe_stat");
    ASSERT_EQ(state(descriptor, &size, &mode, &modified, &file), 0);
    EXPECT_EQ(size, 5000000000);
    EXPECT_EQ(mode, 0100640);
    EXPECT_EQ(modified, expected.st_mtime);
    EXPECT_EQ(file, expected.st_ino);
    EXPECT_EQ(Find<int(int)>("_probe_close")(descriptor), 0);
    EXPECT_EQ(state(descriptor, &size, &mode, &modified, &file), kBadDescriptor);
}

TEST_F(Loader, ObjectsOfThreadsAreKnownByTheirSignatures) {
    EXPECT_EQ(Find<int()>("_probe_zeroed_mutex")(), kInvalid);
    EXPECT_EQ(Find<int()>("_probe_static_mutex")(), 0);
    EXPECT_EQ(Find<int()>("_probe_static_mutex")(), 0);
    EXPECT_EQ(Find<int()>("_probe_destroyed_mutex")(), kInvalid);
    EXPECT_EQ(Find<int()>("_probe_zeroed_once")(), kInvalid);
    EXPECT_EQ(Find<int()>("_probe_zeroed_condition")(), kInvalid);
    EXPECT_EQ(Find<int()>("_probe_initialised")(), 7);
}

TEST_F(Loader, ThreadsHaveTheSmallStackOfMacos) {
    static size_t sStack = 0;
    EXPECT_EQ(Find<int(void (*)())>("_probe_thread")([] {
                  pthread_attr_t attributes;
                  pthread_getattr_np(pthread_self(), &attributes);
                  pthread_attr_getstacksize(&attributes, &sStack);
                  pthread_attr_destroy(&attributes);
              }),
              0);
    EXPECT_EQ(sStack, size_t{512} << 10);
}

TEST_F(Loader, AnOverrunOfTheStackEndsTheProcess) {
    auto* const overrun = Find<void(const char*)>("_probe_overrun");
    overrun("short");
    EXPECT_DEATH(overrun("much longer than eight characters are"), "return address");
}

TEST_F(Loader, TheLedgerTellsWhatWasCalled) {
    EXPECT_FALSE(WasCalled("_pthread_join"));
    Find<int(void (*)())>("_probe_thread")([] {});
    EXPECT_TRUE(WasCalled("_pthread_join"));
}

// One that knows none.
class NoShims : public macho::ShimSource {
  public:
    size_t Count() const override { return 0; }
    const macho::Shim* Find(const std::string&) const override { return nullptr; }
    char* Mark(const macho::Shim&) override { return nullptr; }
};

TEST(LoadErrors, TellWhatIsMissing) {
    NoShims none;
    try {
        const macho::Image image(KVX_MACHO_PROBE, none);
        FAIL() << "loaded";
    } catch (const macho::LoadError& error) {
        EXPECT_NE(std::string(error.what()).find(" _snprintf"), std::string::npos) << error.what();
    }
}

TEST(LoadErrors, MeetFilesThatAreNoImages) {
    macho::Ledger ledger(macho::AllShims());
    EXPECT_THROW(macho::Image("/nowhere", ledger), macho::LoadError);
    EXPECT_THROW(macho::Image("/proc/self/exe", ledger), macho::LoadError);
    EXPECT_THROW(macho::Image("/", ledger), macho::LoadError);
}

TEST(Numbers, OfVariableLength) {
    const unsigned char bytes[] = {0xE5, 0x8E, 0x26, 0x7F, 0x80, 0x7F, 0x80};
    macho::Cursor cursor(macho::Bytes(bytes, sizeof bytes));
    EXPECT_EQ(cursor.Uleb(), 624485u);
    EXPECT_EQ(cursor.Sleb(), -1);
    EXPECT_EQ(cursor.Sleb(), -128);
    EXPECT_THROW(cursor.Uleb(), macho::LoadError);
}

}  // namespace
