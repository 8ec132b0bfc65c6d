// From a handle to the path of an alias, as the reader of data references asks for it.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/file_manager.h"
#include "support/alias_records.h"
#include "support/cf_owner.h"

namespace {

class FSCopyAliasInfoTest : public testing::Test {
  protected:
    ~FSCopyAliasInfoTest() override { DisposeHandle(mHandle); }

    AliasHandle Load(const kvx_test::Bytes& record) {
        DisposeHandle(mHandle);
        mHandle = NewHandle(static_cast<Size>(record.size()));
        std::memcpy(*mHandle, record.data(), record.size());
        return reinterpret_cast<AliasHandle>(mHandle);
    }

    static OSStatus Copy(AliasHandle alias, CFStringRef* path) {
        return FSCopyAliasInfo(alias, nullptr, nullptr, path, nullptr, nullptr);
    }

    Handle mHandle = nullptr;
};

TEST_F(FSCopyAliasInfoTest, AnswersThePathAsAStringOfTheCallers) {
    CFStringRef path = nullptr;
    ASSERT_EQ(Copy(Load(kvx_test::AliasExampleVersion2()), &path), 0);
    const kvx_test::CFOwner<CFStringRef> owner(path);
    EXPECT_EQ(CFGetRetainCount(path), 1);
    char text[100];
    ASSERT_TRUE(CFStringGetCString(path, text, sizeof(text), kCFStringEncodingUTF8));
    EXPECT_STREQ(text, "/Volumes/Media/Shots/clip.mov");
}

TEST_F(FSCopyAliasInfoTest, LeavesThePathAloneOnFailure) {
    const UniChar slash[] = {'/'};
    const kvx_test::CFOwner<CFStringRef> before(
        CFStringCreateWithCharacters(kCFAllocatorDefault, slash, 1));
    CFStringRef path = before.Get();
    EXPECT_EQ(Copy(Load(""), &path), -50);
    EXPECT_EQ(Copy(Load("alias"), &path), -50);
    EXPECT_EQ(Copy(Load(kvx_test::AliasVersion2("Media", "")), &path), -43);
    EXPECT_EQ(path, before.Get());
    EXPECT_EQ(CFGetRetainCount(path), 1);
}

TEST_F(FSCopyAliasInfoTest, NeedsAnAliasAndNotAPath) {
    CFStringRef path = nullptr;
    Ptr empty = nullptr;
    EXPECT_EQ(Copy(nullptr, &path), -50);
    EXPECT_EQ(Copy(reinterpret_cast<AliasHandle>(&empty), &path), -50);
    EXPECT_EQ(path, nullptr);
    EXPECT_EQ(Copy(Load(kvx_test::AliasExampleVersion3()), nullptr), 0);
}

TEST_F(FSCopyAliasInfoTest, AnswersNothingButThePath) {
    const AliasHandle alias = Load(kvx_test::AliasExampleVersion3());
    HFSUniStr255 name = {};
    FSAliasInfoBitmap which = 0;
    CFStringRef path = nullptr;
    EXPECT_EQ(FSCopyAliasInfo(alias, &name, nullptr, &path, nullptr, nullptr), -50);
    EXPECT_EQ(FSCopyAliasInfo(alias, nullptr, &name, &path, nullptr, nullptr), -50);
    EXPECT_EQ(FSCopyAliasInfo(alias, nullptr, nullptr, &path, &which, nullptr), -50);
    EXPECT_EQ(path, nullptr);
}

}  // namespace
