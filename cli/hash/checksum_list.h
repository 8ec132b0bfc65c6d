// Lists of the checksums of packets, in the form that ffmpeg writes as "framemd5", version 2.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "cli/output/exit_code.h"

namespace kvx_cli {

// What comes before the rows.
struct ChecksumHeader {
    int64_t timeScale = 0;  // units a second
    bool isSound = false;
    std::string codec;  // "v210", "pcm_s24le"
    int width = 0;      // of pictures
    int height = 0;
    uint32_t pixelAspectH = 0;  // 0 over 1 without one
    uint32_t pixelAspectV = 1;
    int sampleRate = 0;  // of sound
    std::string layout;  // "stereo"
};

std::string HeaderText(const ChecksumHeader& header);

// One packet: the times in units of the time scale, the size in bytes, the MD5 in hexadecimal.
struct ChecksumRow {
    int64_t decodeTime = 0;
    int64_t time = 0;
    int64_t duration = 0;
    uint64_t size = 0;
    std::string hash;
};

std::string RowText(const ChecksumRow& row);

// Compares rows with a list that was written earlier, as they come.
class ChecksumComparison {
  public:
    ChecksumComparison() = default;
    ~ChecksumComparison();

    ChecksumComparison(const ChecksumComparison&) = delete;
    ChecksumComparison& operator=(const ChecksumComparison&) = delete;

    // Opens the list and reads its header; "-" is standard input. A problem if it cannot be read or
    // is not of version 2 with MD5, and at the first difference from `header`, in the time base or
    // in the dimensions of pictures.
    Problem Open(const std::string& path, const ChecksumHeader& header);

    // The next row. A problem, of kExitRefused, if the list has another one or none.
    Problem Compare(const ChecksumRow& row);

    // A problem if the list has more rows.
    Problem Finish();

    int64_t RowCount() const { return mRows; }

  private:
    bool ReadLine(std::string& line);
    // False at the end of the list.
    bool NextRowLine(std::string& line);
    Problem CheckFailure() const;
    Problem CompareHeaderLine(const std::string& line, const ChecksumHeader& header);

    std::string mName;
    std::FILE* mFile = nullptr;
    std::string mFirstRow;  // read with the header
    int64_t mLine = 0;
    int64_t mRows = 0;
};

}  // namespace kvx_cli
