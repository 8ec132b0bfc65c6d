#include "host/stream_info.h"

#include <gtest/gtest.h>

#include "host/host_values.h"

namespace {

void* Handle(long number) {
    return KVX::PointerFromWord<void>(number);
}

TEST(StreamInfoCollection, EmptyHasEveryStatus) {
    const StreamInfoCollection streams;
    EXPECT_TRUE(streams.areAllStatusesEqualTo(StreamStatusUnknown));
    EXPECT_TRUE(streams.areAllStatusesEqualTo(StreamStatusOpen));
    EXPECT_TRUE(streams.areAllStatusesEqualTo(StreamStatusQuiet));
    EXPECT_FALSE(streams.exists(Handle(0)));
    EXPECT_EQ(streams.getStatus(Handle(0)), StreamStatusUnknown);
}

TEST(StreamInfoCollection, StatusIsMadeAndOverwritten) {
    StreamInfoCollection streams;
    streams.setStatus(Handle(0), StreamStatusOpen);
    streams.setStatus(Handle(-1), StreamStatusQuiet);
    EXPECT_TRUE(streams.exists(Handle(0)));
    EXPECT_TRUE(streams.exists(Handle(-1)));
    EXPECT_FALSE(streams.exists(Handle(1)));
    EXPECT_EQ(streams.getStatus(Handle(0)), StreamStatusOpen);
    EXPECT_EQ(streams.getStatus(Handle(-1)), StreamStatusQuiet);
    EXPECT_EQ(streams.getStatus(Handle(1)), StreamStatusUnknown);
    EXPECT_FALSE(streams.exists(Handle(1)));

    streams.setStatus(Handle(0), StreamStatusQuiet);
    EXPECT_EQ(streams.getStatus(Handle(0)), StreamStatusQuiet);
}

TEST(StreamInfoCollection, AllStatusesMustAgree) {
    StreamInfoCollection streams;
    streams.setStatus(Handle(0), StreamStatusQuiet);
    streams.setStatus(Handle(1), StreamStatusQuiet);
    streams.setStatus(Handle(2), StreamStatusOpen);
    EXPECT_FALSE(streams.areAllStatusesEqualTo(StreamStatusQuiet));
    EXPECT_FALSE(streams.areAllStatusesEqualTo(StreamStatusOpen));
    streams.setStatus(Handle(2), StreamStatusQuiet);
    EXPECT_TRUE(streams.areAllStatusesEqualTo(StreamStatusQuiet));
    EXPECT_FALSE(streams.areAllStatusesEqualTo(StreamStatusUnknown));
}

TEST(StreamInfoCollection, UnknownEntryIsAnEntry) {
    StreamInfoCollection streams;
    streams.setStatus(Handle(5), StreamStatusUnknown);
    EXPECT_TRUE(streams.exists(Handle(5)));
    EXPECT_FALSE(streams.areAllStatusesEqualTo(StreamStatusOpen));
}

}  // namespace
