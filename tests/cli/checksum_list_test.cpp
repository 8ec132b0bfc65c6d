#include "cli/hash/checksum_list.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "support/temp_directory.h"

namespace {

using kvx_cli::ChecksumComparison;
using kvx_cli::ChecksumHeader;
using kvx_cli::ChecksumRow;

const char kHash[] = "00112233445566778899aabbccddeeff";

ChecksumHeader Header() {
    ChecksumHeader header;
    header.timeScale = 25;
    header.codec = "v210";
    header.width = 48;
    header.height = 16;
    return header;
}

const ChecksumRow kRow = {0, 0, 1, 2048, kHash};

// Compares a list of one row, which has these lines before it and this text after its hash.
std::string Compare(const std::string& lines, const std::string& afterHash = "") {
    const kvx_test::TempDirectory directory;
    const std::string path = directory.File("list");
    std::ofstream(path) << "#format: frame checksums\n#version: 2\n#hash: MD5\n#tb 0: 1/25\n"
                        << "#dimensions 0: 48x16\n"
                        << lines << "0, 0, 0, 1, 2048, " << kHash << afterHash << "\n";
    ChecksumComparison comparison;
    kvx_cli::Problem problem = comparison.Open(path, Header());
    problem = problem ? problem : comparison.Compare(kRow);
    problem = problem ? problem : comparison.Finish();
    return problem.words;
}

TEST(CliChecksumList, HeadersMayBeOfAnyLength) {
    for (const size_t length : {100u, 4094u, 4095u, 4096u, 4097u, 8192u, 100000u}) {
        EXPECT_EQ(Compare("#" + std::string(length - 1, 'x') + "\n"), "") << length;
        EXPECT_EQ(Compare("#" + std::string(length - 1, '7') + "\r\n"), "") << length;
    }
}

TEST(CliChecksumList, RowsMayHaveAnyAmountOfSideData) {
    for (const size_t length : {100u, 4000u, 5000u, 100000u}) {
        EXPECT_EQ(Compare("", ", S=1, " + std::string(length, '0')), "") << length;
    }
}

TEST(CliChecksumList, LongLinesAreCountedAsOne) {
    const kvx_test::TempDirectory directory;
    const std::string path = directory.File("list");
    std::ofstream(path) << "#format: frame checksums\n#version: 2\n#hash: MD5\n#"
                        << std::string(9000, 'x') << "\n0, 0, 0, 2, 2048, " << kHash << "\n";
    ChecksumComparison comparison;
    ASSERT_EQ(comparison.Open(path, Header()).words, "");
    EXPECT_EQ(comparison.Compare(kRow).words,
              "row 0 (line 5 of " + path + "): its duration is 1, in the list 2");
}

}  // namespace
