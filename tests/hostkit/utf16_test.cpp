#include "hostkit/utf16.h"

#include <gtest/gtest.h>

namespace {

using kvx_hostkit::ToHostPath;
using Units = std::vector<prUTF16Char>;

TEST(HostPath, Characters) {
    EXPECT_EQ(ToHostPath(""), (Units{0}));
    EXPECT_EQ(ToHostPath("/a.mov"), (Units{'/', 'a', '.', 'm', 'o', 'v', 0}));
    EXPECT_EQ(ToHostPath("é"), (Units{0xE9, 0}));
    EXPECT_EQ(ToHostPath("日"), (Units{0x65E5, 0}));
    EXPECT_EQ(ToHostPath("🎬"), (Units{0xD83C, 0xDFAC, 0}));
    EXPECT_EQ(ToHostPath("\xEF\xBF\xBF\xF4\x8F\xBF\xBF"), (Units{0xFFFF, 0xDBFF, 0xDFFF, 0}));
}

TEST(HostPath, WhatIsNoUtf8IsReplaced) {
    EXPECT_EQ(ToHostPath("a\x80z"), (Units{'a', 0xFFFD, 'z', 0}));
    EXPECT_EQ(ToHostPath("\xC3"), (Units{0xFFFD, 0}));
    EXPECT_EQ(ToHostPath("\xC0\xAF"), (Units{0xFFFD, 0xFFFD, 0}));
    EXPECT_EQ(ToHostPath("\xE0\x80\xAF"), (Units{0xFFFD, 0xFFFD, 0xFFFD, 0}));
    EXPECT_EQ(ToHostPath("\xED\xA0\x80"), (Units{0xFFFD, 0xFFFD, 0xFFFD, 0}));
    EXPECT_EQ(ToHostPath("\xF4\x90\x80\x80"), (Units{0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD, 0}));
    EXPECT_EQ(ToHostPath("\xE6\x97z"), (Units{0xFFFD, 0xFFFD, 'z', 0}));
}

}  // namespace
