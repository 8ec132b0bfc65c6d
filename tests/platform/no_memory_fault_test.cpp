// The platform services without memory: what each returns.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "platform/file_manager.h"
#include "support/alias_records.h"
#include "support/cf_owner.h"
#include "support/fault_injection.h"
#include "support/file_tools.h"

namespace {

using kvx_test::Fault;
using kvx_test::SystemCall;
using kvx_test::ToCFString;

constexpr UniChar kUnits[] = {'/', 'a'};
constexpr UInt8 kBytes[] = {'/', 'a'};

CFStringRef CreateWithCharacters() {
    return CFStringCreateWithCharacters(kCFAllocatorDefault, kUnits, 2);
}

CFStringRef CreateWithBytes() {
    return CFStringCreateWithBytes(kCFAllocatorDefault, kBytes, 2, kCFStringEncodingUTF8, false);
}

CFStringRef CreateNoCopy() {
    return CFStringCreateWithCharactersNoCopy(kCFAllocatorDefault, kUnits, 2, kCFAllocatorNull);
}

TEST(NoMemoryFault, StringsAreNull) {
    const struct {
        CFStringRef (*create)();
        SystemCall call;
    } cases[] = {{&CreateWithCharacters, SystemCall::kMalloc},
                 {&CreateWithCharacters, SystemCall::kNewNothrow},
                 {&CreateWithBytes, SystemCall::kMalloc},
                 {&CreateWithBytes, SystemCall::kNewNothrow},
                 {&CreateNoCopy, SystemCall::kNewNothrow}};
    for (const auto& expected : cases) {
        const Fault fault(expected.call, ENOMEM);
        EXPECT_EQ(expected.create(), nullptr);
        EXPECT_EQ(fault.Hits(), 1);
    }
}

TEST(NoMemoryFault, UrlsAreNull) {
    const kvx_test::CFOwner<CFStringRef> path = ToCFString("/clip.mov");
    const Fault fault(SystemCall::kNew, ENOMEM);
    EXPECT_EQ(
        CFURLCreateWithFileSystemPath(kCFAllocatorDefault, path.Get(), kCFURLPOSIXPathStyle, false),
        nullptr);
    EXPECT_EQ(fault.Hits(), 1);
}

TEST(NoMemoryFault, HandlesAreNull) {
    for (const SystemCall call : {SystemCall::kMalloc, SystemCall::kNewNothrow}) {
        const Fault fault(call, ENOMEM);
        EXPECT_EQ(NewHandle(100), nullptr);
        EXPECT_EQ(fault.Hits(), 1);
    }
}

TEST(NoMemoryFault, AliasesAnswerMemFullErrAndLeaveThePath) {
    const kvx_test::Bytes record = kvx_test::AliasExampleVersion2();
    const Handle handle = NewHandle(static_cast<Size>(record.size()));
    std::memcpy(*handle, record.data(), record.size());
    for (const SystemCall call : {SystemCall::kMalloc, SystemCall::kNewNothrow}) {
        CFStringRef path = nullptr;
        const Fault fault(call, ENOMEM);
        EXPECT_EQ(FSCopyAliasInfo(reinterpret_cast<AliasHandle>(handle), nullptr, nullptr, &path,
                                  nullptr, nullptr),
                  -108);
        EXPECT_EQ(fault.Hits(), 1);
        EXPECT_EQ(path, nullptr);
    }
    DisposeHandle(handle);
}

}  // namespace
