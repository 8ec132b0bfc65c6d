#pragma once

#include <string>

namespace kvx_test {

// A directory of its own for one test, removed with all that is in it.
class TempDirectory {
  public:
    TempDirectory();
    ~TempDirectory();

    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    const std::string& Path() const { return mPath; }
    std::string File(const std::string& name) const { return mPath + "/" + name; }

  private:
    std::string mPath;
};

}  // namespace kvx_test
