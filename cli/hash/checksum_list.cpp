#include "cli/hash/checksum_list.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstring>
#include <numeric>
#include <utility>

namespace kvx_cli {

namespace {

// Of a line no more is kept: longer than any row up to its hash, and than any header that is
// compared.
constexpr size_t kLongestLine = 4096;

bool StartsWith(const std::string& text, const char* start) {
    return text.rfind(start, 0) == 0;
}

// The row that a line holds, and the stream that it is of. False for anything else.
bool ParseRow(const std::string& line, int& stream, ChecksumRow& row) {
    char hash[64] = "";
    char rest = '\0';
    const int read = std::sscanf(
        line.c_str(),
        "%d , %" SCNd64 " , %" SCNd64 " , %" SCNd64 " , %" SCNu64 " , %63[0-9a-fA-F] %c", &stream,
        &row.decodeTime, &row.time, &row.duration, &row.size, hash, &rest);
    row.hash = hash;
    // After the hash the list may describe side data.
    return (read == 6 || (read == 7 && rest == ',')) && row.hash.size() == 32;
}

std::string TimeBaseText(const ChecksumHeader& header) {
    return "1/" + std::to_string(header.timeScale);
}

std::string DimensionsText(const ChecksumHeader& header) {
    return std::to_string(header.width) + "x" + std::to_string(header.height);
}

std::string Lower(std::string text) {
    for (char& character : text) {
        character =
            character >= 'A' && character <= 'F' ? static_cast<char>(character + 32) : character;
    }
    return text;
}

// What is different in a row of the list; empty if nothing is.
std::string Difference(const ChecksumRow& row, const ChecksumRow& listed) {
    const struct {
        const char* name;
        int64_t here;
        int64_t there;
    } numbers[] = {
        {"decoding time", row.decodeTime, listed.decodeTime},
        {"time", row.time, listed.time},
        {"duration", row.duration, listed.duration},
        {"size", static_cast<int64_t>(row.size), static_cast<int64_t>(listed.size)},
    };
    for (const auto& number : numbers) {
        if (number.here != number.there) {
            return std::string("its ") + number.name + " is " + std::to_string(number.here) +
                   ", in the list " + std::to_string(number.there);
        }
    }
    if (row.hash != Lower(listed.hash)) {
        return "its hash is " + row.hash + ", in the list " + listed.hash;
    }
    return {};
}

}  // namespace

std::string HeaderText(const ChecksumHeader& header) {
    std::string text =
        "#format: frame checksums\n#version: 2\n#hash: MD5\n#software: kvx\n#tb 0: " +
        TimeBaseText(header) + "\n#media_type 0: " + (header.isSound ? "audio" : "video") +
        "\n#codec_id 0: " + header.codec + "\n";
    if (header.isSound) {
        text += "#sample_rate 0: " + std::to_string(header.sampleRate) +
                "\n#channel_layout_name 0: " + header.layout + "\n";
    } else {
        const uint32_t common =
            std::max<uint32_t>(std::gcd(header.pixelAspectH, header.pixelAspectV), 1);
        text += "#dimensions 0: " + DimensionsText(header) +
                "\n#sar 0: " + std::to_string(header.pixelAspectH / common) + "/" +
                std::to_string(header.pixelAspectV / common) + "\n";
    }
    return text + "#stream#, dts,        pts, duration,     size, hash\n";
}

std::string RowText(const ChecksumRow& row) {
    char text[192];
    std::snprintf(text, sizeof text,
                  "0, %10" PRId64 ", %10" PRId64 ", %8" PRId64 ", %8" PRIu64 ", %s\n",
                  row.decodeTime, row.time, row.duration, row.size, row.hash.c_str());
    return text;
}

ChecksumComparison::~ChecksumComparison() {
    if (mFile != nullptr && mFile != stdin) {
        std::fclose(mFile);
    }
}

bool ChecksumComparison::ReadLine(std::string& line) {
    line.clear();
    errno = 0;
    bool isThere = false;
    for (int character = 0; character != '\n' && (character = std::getc(mFile)) != EOF;) {
        isThere = true;
        if (line.size() < kLongestLine) {
            line += static_cast<char>(character);
        }
    }
    line.erase(line.find_last_not_of("\r\n") + 1);
    mLine += isThere ? 1 : 0;
    return isThere && std::ferror(mFile) == 0;
}

bool ChecksumComparison::NextRowLine(std::string& line) {
    if (!mFirstRow.empty()) {
        line = std::exchange(mFirstRow, {});
        return true;
    }
    while (ReadLine(line)) {
        if (!line.empty() && line[0] != '#') {
            return true;
        }
    }
    return false;
}

Problem ChecksumComparison::CheckFailure() const {
    return std::ferror(mFile) == 0
               ? Problem()
               : Problem(kExitFailed, "cannot read " + mName + ": " + std::strerror(errno));
}

Problem ChecksumComparison::CompareHeaderLine(const std::string& line,
                                              const ChecksumHeader& header) {
    const struct {
        const char* start;
        const char* name;
        std::string value;
    } values[] = {{"#tb 0: ", "time base", TimeBaseText(header)},
                  {"#dimensions 0: ", "size", DimensionsText(header)}};
    for (const auto& value : values) {
        const bool isTold = StartsWith(line, value.start);
        const std::string listed = isTold ? line.substr(std::strlen(value.start)) : "";
        if (isTold && listed != value.value) {
            return {kExitRefused, std::string("its ") + value.name + " is " + value.value +
                                      ", in line " + std::to_string(mLine) + " of " + mName + " " +
                                      listed};
        }
    }
    return {};
}

Problem ChecksumComparison::Open(const std::string& path, const ChecksumHeader& header) {
    mName = path == "-" ? "standard input" : path;
    mFile = path == "-" ? stdin : std::fopen(path.c_str(), "re");
    if (mFile == nullptr) {
        return {kExitFailed, "cannot read " + mName + ": " + std::strerror(errno)};
    }
    bool isList = false;
    bool isVersion2 = false;
    bool isMd5 = false;
    std::string line;
    while (mFirstRow.empty() && ReadLine(line)) {
        if (!line.empty() && line[0] != '#') {
            mFirstRow = line;
        } else if (Problem problem = CompareHeaderLine(line, header)) {
            return problem;
        }
        isList |= line == "#format: frame checksums";
        isVersion2 |= line == "#version: 2";
        isMd5 |= line == "#hash: MD5";
    }
    if (Problem problem = CheckFailure()) {
        return problem;
    }
    if (!isList || !isVersion2 || !isMd5) {
        return {kExitFailed, mName + " is no list of frame checksums, version 2, by MD5"};
    }
    return {};
}

Problem ChecksumComparison::Compare(const ChecksumRow& row) {
    const std::string number = std::to_string(mRows++);
    std::string line;
    if (!NextRowLine(line)) {
        const Problem problem = CheckFailure();
        return problem ? problem : Problem(kExitRefused, mName + " ends before row " + number);
    }
    int stream = 0;
    ChecksumRow listed;
    const std::string where = "line " + std::to_string(mLine) + " of " + mName;
    if (!ParseRow(line, stream, listed)) {
        return {kExitFailed, where + " is no row of checksums"};
    }
    const std::string difference =
        stream != 0 ? "it is of stream " + std::to_string(stream) : Difference(row, listed);
    return difference.empty()
               ? Problem()
               : Problem(kExitRefused, "row " + number + " (" + where + "): " + difference);
}

Problem ChecksumComparison::Finish() {
    std::string line;
    if (NextRowLine(line)) {
        return {kExitRefused, mName + " has more than its " + std::to_string(mRows) + " rows"};
    }
    return CheckFailure();
}

}  // namespace kvx_cli
