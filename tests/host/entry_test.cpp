#include "host/entry.h"

#include <climits>
#include <new>
#include <set>

#include "host/host_test.h"
#include "hostkit/pixel_buffers.h"
#include "hostkit/record_block.h"
#include "hostkit/utf16.h"
#include "support/cf_owner.h"
#include "support/fault_injection.h"
#include "util/text.h"

namespace {

using KVX::PointerFromWord;
using kvx_hostkit::RecordBlock;
using kvx_test::Fault;
using kvx_test::LogCapture;
using kvx_test::SystemCall;

// What must answer without a look at its arguments gets these.
constexpr long kNowhere = 1;

class Entry : public kvx_test::HostTest {};

TEST_F(Entry, InvalidImportSelector) {
    for (const int selector : {58, 59, -1, INT_MAX, INT_MIN}) {
        LogCapture log;
        EXPECT_EQ(xImportEntry(selector, nullptr, kNowhere, kNowhere), 3);
        EXPECT_EQ(log.Text(), "xImportEntry: Invalid selector: " + std::to_string(selector) + "\n");
    }
}

TEST_F(Entry, InvalidAsyncSelector) {
    for (const int selector : {5, 6, -1, INT_MAX, INT_MIN}) {
        LogCapture log;
        EXPECT_EQ(AsyncImportEntry(selector, nullptr), 1);
        EXPECT_EQ(log.Text(),
                  "AsyncImportEntry: Invalid selector: " + std::to_string(selector) + "\n");
    }
}

TEST_F(Entry, TablesHaveTheirSizes) {
    EXPECT_EQ(fileImportFunctions.size(), 58u);
    EXPECT_EQ(asyncImportFunctions.size(), 5u);
    for (const FileImportFunction function : fileImportFunctions) {
        EXPECT_NE(function, nullptr);
    }
    for (const AsyncImportFunction function : asyncImportFunctions) {
        EXPECT_NE(function, nullptr);
    }
}

TEST_F(Entry, OtherSelectorsAreUnsupportedUnseen) {
    const std::set<int> handled = {0,  1,  8,  9,  12, 13, 14, 23, 24, 25, 27, 28, 36,
                                   37, 39, 40, 41, 42, 43, 44, 45, 46, 47, 52, 53};
    int unhandled = 0;
    LogCapture log;
    for (int selector = 0; selector < 58; ++selector) {
        if (handled.count(selector) == 0) {
            ++unhandled;
            EXPECT_EQ(xImportEntry(selector, nullptr, kNowhere, kNowhere), 3) << selector;
            EXPECT_EQ(fileImportFunctions[static_cast<size_t>(selector)], fileImportFunctions[2]);
        } else {
            EXPECT_NE(fileImportFunctions[static_cast<size_t>(selector)], fileImportFunctions[2])
                << selector;
        }
    }
    EXPECT_EQ(unhandled, 33);
    EXPECT_EQ(log.Raw(), "");
}

TEST_F(Entry, ShutdownLooksAtNothing) {
    LogCapture log;
    EXPECT_EQ(xImportEntry(1, nullptr, kNowhere, kNowhere), 0);
    EXPECT_EQ(log.Raw(), "");
}

TEST_F(Entry, DeclinedSelectorsReadNoRecord) {
    struct Declined {
        int selector;
        long answer;
    };
    const Declined declined[] = {
        {12, 3}, {13, 3}, {42, 3}, {43, 3}, {44, 3}, {47, 3}, {23, 16}, {24, 0},
    };
    LogCapture log;
    for (const Declined& each : declined) {
        EXPECT_EQ(xImportEntry(each.selector, nullptr, kNowhere, kNowhere), each.answer)
            << each.selector;
    }
    EXPECT_EQ(log.Raw(), "");
}

TEST_F(Entry, MetaDataRequestWithoutRecordIsLogged) {
    LogCapture log;
    EXPECT_EQ(xImportEntry(23, nullptr, 0, 0), 16);
    EXPECT_EQ(log.Text(), "GetMetaData: invalid metaData pointer\n");
    EXPECT_EQ(xImportEntry(24, nullptr, 0, 0), 0);
}

TEST_F(Entry, AsyncCloseIgnoresNull) {
    EXPECT_EQ(AsyncImportEntry(4, nullptr), 0);
}

TEST_F(Entry, AsyncFlushTakesNoModule) {
    EXPECT_EQ(AsyncImportEntry(2, PointerFromWord<void>(kNowhere)), 0);
}

TEST_F(Entry, LackOfMemoryIsAnAnswer) {
    const std::string path = Write(kvx_test::MovieOf({kvx_test::Video()}));
    const auto hostPath = kvx_hostkit::ToHostPath(path);
    imStdParms* stdParms = host.StdParms();
    RecordBlock<imFileOpenRec8> record;
    record->filepath = hostPath.data();
    record->importerID = kvx_hostkit::Host::NextImporterID();
    void* fileRef = PointerFromWord<void>(-1L);
    const long fileRefParameter = reinterpret_cast<long>(&fileRef);
    const long recordParameter = reinterpret_cast<long>(record.Get());
    long result = 0;
    {
        const Fault failing(SystemCall::kNew, ENOMEM, 1, Fault::kForever);
        result = xImportEntry(imOpenFile8, stdParms, fileRefParameter, recordParameter);
    }
    EXPECT_EQ(result, 4);
    EXPECT_EQ(fileRef, PointerFromWord<void>(-1L));
    if (record->privatedata != nullptr) {
        xImportEntry(imCloseFile, stdParms, fileRefParameter,
                     reinterpret_cast<long>(record->privatedata));
    }
}

// Whatever the host's suites do.
TEST_F(Entry, WhatIsThrownInAnAsyncCallIsAnAnswer) {
    const kvx_hostkit::PixelBuffers buffers(host);
    static constexpr PrSDKPPixCacheSuite kThrowing = {
        nullptr,
        [](uint32_t, int32_t, int32_t, int32_t, imFrameFormat*, PPixHand*, void*,
           int32_t) -> int32_t { throw std::bad_alloc(); }};
    host.AddSuite("Premiere PPix Cache Suite", 3, &kThrowing);
    kvx_hostkit::Clip clip(importer, Write(kvx_test::MovieOf({kvx_test::Video()})));
    ASSERT_EQ(clip.Open(), 0);
    RecordBlock<imAsyncImporterCreationRec> creation;
    ASSERT_EQ(clip.CreateAsyncImporter(creation.Get()), 0);
    void* const module = creation->asyncPrivateData;

    RecordBlock<aiAsyncRequest> request;
    request->privatedata = module;
    request->sourceRec.privatedata = module;
    EXPECT_EQ(AsyncImportEntry(aiInitiateAsyncRead, request.Get()), 12);
    EXPECT_EQ(AsyncImportEntry(aiGetFrame, &request->sourceRec), 12);
    EXPECT_EQ(AsyncImportEntry(aiClose, module), 0);
}

TEST_F(Entry, MoviePlayableThrowsNothing) {
    const std::string path = Write(kvx_test::MovieOf({kvx_test::Video()}));
    ASSERT_TRUE(KVX::AppIsPremiere(host.StdParms()));
    const kvx_test::CFOwner<CFStringRef> pathRef(KVX::Util::Text::u2cf(path));
    int playable = -1;
    KVX::QT::Movie* movie = nullptr;
    int sampleType = 77;
    long status = 0;
    {
        const Fault failing(SystemCall::kNew, ENOMEM, 1, Fault::kForever);
        status = xMoviePlayable(pathRef.Get(), &playable, &movie, &sampleType);
    }
    EXPECT_EQ(status, 12);
    EXPECT_EQ(playable, 0);
    EXPECT_EQ(movie, nullptr);
    EXPECT_EQ(sampleType, 77);
}

}  // namespace
