#pragma once

#include <string>

namespace kvx_test {

// Takes what the process writes to standard error while it lives.
class LogCapture {
  public:
    LogCapture();
    ~LogCapture();

    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // All that was written so far, as it stands.
    std::string Raw() const;

    // The same with each "*** function[line]: " shortened to "function: ", so that expectations
    // can name the function and the text and leave the line number alone.
    std::string Text() const;

  private:
    int mFile;
    int mSavedStderr;
};

}  // namespace kvx_test
