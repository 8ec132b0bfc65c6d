// Sound and the start timecode are read while a call of the system fails: the host's answer, the
// log and what is written.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "faults/fault_rows.h"
#include "faults/module_stage.h"
#include "host/entry.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::Importer;
using kvx_test::FaultRow;
using kvx_test::HostCall;
using kvx_test::ModuleStage;
using kvx_test::StageMovies;
using kvx_test::SystemCall;

constexpr uint32_t kCount = 1000;
constexpr float kUntouched = 77;

class SoundFaultLines : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(clip.Open(), 0); }

    HostCall Read() {
        return {[this] {
                    std::fill(left.begin(), left.end(), kUntouched);
                    std::fill(right.begin(), right.end(), kUntouched);
                },
                [this] {
                    float* planes[] = {left.data(), right.data()};
                    return clip.ReadAudio(0, 100, kCount, planes);
                }};
    }

    bool IsAll(float value, size_t from = 0) const {
        const auto is = [value](float sample) { return sample == value; };
        return std::all_of(left.begin() + static_cast<long>(from), left.end(), is) &&
               std::all_of(right.begin() + static_cast<long>(from), right.end(), is);
    }

    const StageMovies movies;
    ModuleStage stage{movies};
    const Importer importer{stage.host, {&xImportEntry, &AsyncImportEntry}};
    Clip clip{importer, movies.picture};
    std::vector<float> left = std::vector<float>(kCount);
    std::vector<float> right = std::vector<float>(kCount);
};

TEST_F(SoundFaultLines, OfAStretch) {
    std::vector<FaultRow> rows = {
        {"the buffer", SystemCall::kCalloc, 1, ENOMEM, 4, "ImportAudio7: calloc failed\n"}};
    for (const int error : {EIO, EINTR, EBADF, 70}) {
        rows.push_back({"the read", SystemCall::kPread, 1, error, error,
                        "ImportAudio7: pread returned " + std::to_string(error) + "\n"});
    }
    for (const FaultRow& row : rows) {
        ExpectRows(Read(), {row});
        EXPECT_TRUE(IsAll(kUntouched)) << row.place;
    }
    // What was not delivered is silence.
    ExpectRows(Read(), {{"a read of nothing", SystemCall::kReadShort, 1, 0, 0, ""}});
    EXPECT_TRUE(IsAll(0));
    ExpectRows(Read(), {{"a read of a byte", SystemCall::kReadShort, 1, 1, 0, ""}});
    EXPECT_TRUE(IsAll(0, 1));
    ExpectRows(Read(), {{"a read of all but a byte", SystemCall::kReadShort, 1, -1, 0, ""}});
    EXPECT_FALSE(IsAll(0));
    ExpectARowForEveryCall(Read(), rows, {SystemCall::kReadShort});
}

// A timecode that cannot be read is none.
TEST_F(SoundFaultLines, OfTheTimecode) {
    const HostCall ask = {[] {},
                          [this] {
                              imTimeInfoRec8 info = {};
                              return clip.GetTimeInfo(&info);
                          }};
    const std::vector<FaultRow> rows = {
        {"the read", SystemCall::kPread, 1, EIO, 12, ""},
        {"a read of nothing", SystemCall::kReadShort, 1, 0, 12, ""},
        {"a read of a byte", SystemCall::kReadShort, 1, 1, 12, ""},
        {"a read of all but a byte", SystemCall::kReadShort, 1, -1, 12, ""},
    };
    ExpectRows(ask, rows);
    ExpectARowForEveryCall(ask, rows);
}

// Everything that is known of the streams is in memory.
TEST_F(SoundFaultLines, OfTheStreams) {
    kvx_test::ExpectARowForEveryCall({[] {},
                                      [this] {
                                          long result = 0;
                                          EXPECT_FALSE(clip.Streams(&result).empty());
                                          EXPECT_FALSE(clip.PixelFormats().empty());
                                          return result;
                                      }},
                                     {});
}

}  // namespace
