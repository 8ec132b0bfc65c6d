// Conversions without memory, or without a place for it: empty strings, and the next one works.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <thread>

#include "support/cf_owner.h"
#include "support/fault_injection.h"
#include "util/text.h"

namespace {

using KVX::Util::Text::StringStorage;
using kvx_test::Fault;
using kvx_test::SystemCall;

// Runs `function` on a new thread, which has no scratch yet, and takes the scratch away after it.
template <typename Function>
void OnNewThread(Function function) {
    std::thread([function] {
        function();
        StringStorage::get_ptr(1);
        auto* const storage =
            static_cast<StringStorage::Storage*>(pthread_getspecific(StringStorage::key));
        std::free(storage->mBlock);
        delete storage;
    }).join();
}

TEST(TextFault, AFailedBlockLeavesNoCapacity) {
    StringStorage::Storage storage;
    ASSERT_NE(storage.get_ptr(64), nullptr);
    {
        const Fault fault(SystemCall::kCalloc, ENOMEM);
        EXPECT_EQ(storage.get_ptr(65), nullptr);
    }
    EXPECT_EQ(storage.mBlock, nullptr);
    EXPECT_EQ(storage.mCapacity, 0u);
    EXPECT_NE(storage.get_ptr(16), nullptr);
    EXPECT_EQ(storage.mCapacity, 16u);
    std::free(storage.mBlock);
}

TEST(TextFault, NoScratchGivesEmptyStrings) {
    struct {
        SystemCall call;
        int error;
    } const faults[] = {{SystemCall::kCalloc, ENOMEM},
                        {SystemCall::kNewNothrow, ENOMEM},
                        {SystemCall::kSetspecific, ENOMEM},
                        {SystemCall::kOnce, EINVAL}};
    for (const auto& expected : faults) {
        OnNewThread([expected] {
            std::wstring wide;
            std::string narrow;
            int hits = 0;
            {
                const Fault fault(expected.call, expected.error, 1, 2);
                wide = KVX::Util::Text::utf8_to_wide("clip");
                narrow = KVX::Util::Text::wide_to_utf8(L"clip", 4);
                hits = fault.Hits();
            }
            EXPECT_EQ(hits, 2);
            EXPECT_EQ(wide, L"");
            EXPECT_EQ(narrow, "");
            EXPECT_EQ(KVX::Util::Text::utf8_to_wide("clip"), L"clip");
            EXPECT_EQ(KVX::Util::Text::wide_to_utf8(L"clip", 4), "clip");
        });
    }
}

TEST(TextFault, WithoutAKeyThereIsNoScratch) {
    StringStorage::key_once = PTHREAD_ONCE_INIT;
    {
        const Fault fault(SystemCall::kKeyCreate, EAGAIN);
        EXPECT_EQ(KVX::Util::Text::utf8_to_wide("clip"), L"");
        EXPECT_EQ(fault.Hits(), 1);
    }
    EXPECT_EQ(KVX::Util::Text::wide_to_utf8(L"clip", 4), "");
    StringStorage::key_once = PTHREAD_ONCE_INIT;
    OnNewThread([] { EXPECT_EQ(KVX::Util::Text::utf8_to_wide("clip"), L"clip"); });
}

TEST(TextFault, CfStringWithoutMemoryGivesAnEmptyString) {
    const kvx_test::CFOwner<CFStringRef> string(KVX::Util::Text::u2cf("/clips"));
    std::string text;
    {
        const Fault fault(SystemCall::kMalloc, ENOMEM);
        text = KVX::Util::Text::cf2u(string.Get());
    }
    EXPECT_EQ(text, "");
    EXPECT_EQ(KVX::Util::Text::cf2u(string.Get()), "/clips");
}

}  // namespace
