// Each line that the module logs for its refusal leads to the sentence that tells of it, and to no
// other.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cli/movie/refusal.h"

namespace {

std::string WordsFor(const std::string& line) {
    return kvx_cli::Refusal(12, "*** Init[5]: " + line + "\n*** Create[6]: more\n").words;
}

struct Row {
    const char* line;
    const char* words;  // that only this sentence has
};

// Lines that share a sentence stand in one row each with the same words.
const std::vector<Row>& Rows() {
    static const std::vector<Row> rows = {
        {"Unsupported data handler type 'dhlr' and subtype 'url '", "as ffmpeg's movies do"},
        {"Unsupported data handler type 'dhlr' and subtype 'rsrc'", "not QuickTime's own"},
        {"Unrecognised 5.1 channel layout tag 0x00010000", "none of the four MPEG 5.1 orders"},
        {"Unsupported sound description version: 3", "in a version of the format"},
        {"Unable to determine bytes per frame", "how many bytes a sample takes"},
        {"Unable to determine number of channels", "how many channels it has"},
        {"Invalid sound description: 4294967296 bytes per frame, 16 bits per channel",
         "numbers that no sound can have"},
        {"URL data references not supported", "follow"},
        {"Resource data references not supported", "resource fork"},
        {"'abcd' data references not recognised", "named in a way"},
        {"Invalid data reference entry size: 3", "should name the file"},
        {"FSCopyAliasInfo returned -50", "the record that names this file is damaged"},
        {"Failed to open movie file at \"/a.mov\"", "the file cannot be opened"},
        {"open returned 2", "is not there or cannot be opened"},
        {"read of 16 bytes failed with 22", "shorter than its atoms say"},
        {"Invalid atom length 7 (0x7)", "its chain of atoms breaks"},
        {"'moov' atom not found in file \"/a.mov\"", "never finished"},
        {"'moov' atom in file \"/a.mov\" has invalid length of 9000000", "8 MiB"},
        {"'stts' atom of 12 bytes does not hold 4 bytes at 12", "too short for what belongs"},
        {"The last track atom passes the end of the movie atom", "its last track reaches"},
        {"Invalid movie time scale 0 or media time scale 25", "a time scale is 0"},
        {"Invalid number of sample description entries: 0", "there is no sample description"},
        {"Invalid sample description entry size: 4", "its sample description is damaged"},
        {"Invalid sample to chunk table at chunk 0", "which samples lie in which chunk"},
        {"Got invalid offset of 0", "a chunk has no place"},
        {"Got invalid first size of 0", "a sample has no size"},
        {"Failed to find 'mdhd' atom", "lacks an atom"},
        {"3 channel audio not supported", "only mono, stereo and 5.1 are"},
        {"Unsigned 16 bit integer audio not supported", "no unsigned samples above 8 bits"},
        {"64 bit integer audio not supported", "no unsigned samples above 8 bits"},
        {"20 bit audio not supported", "only 8, 16, 24, 32 and 64 bits are"},
    };
    return rows;
}

TEST(CliRefusalSentences, EachLineHasItsOwn) {
    for (const Row& row : Rows()) {
        for (const Row& other : Rows()) {
            const bool tells = WordsFor(row.line).find(other.words) != std::string::npos;
            EXPECT_EQ(tells, std::string(row.words) == other.words) << row.line << "\n"
                                                                    << WordsFor(row.line) << "\n"
                                                                    << other.words;
        }
    }
}

}  // namespace
