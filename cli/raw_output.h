#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/raw_frame.h"

namespace kvx_cli {

// Where frames go as bytes: a file for each in a folder, or one after the other on standard output.
// Operations answer false when they failed; Problem() then tells why.
class RawOutput {
  public:
    // "-" is standard output. Files are called <frame number>.<extension>.
    RawOutput(std::string place, std::string extension);

    // Makes the folder if it is not there.
    bool Open();

    bool Write(int64_t frame, const std::vector<ByteSpan>& bytes);

    const std::string& Problem() const { return mProblem; }

  private:
    bool Fail(const std::string& place, int error);

    std::string mPlace;
    std::string mExtension;
    std::string mProblem;
};

}  // namespace kvx_cli
