#pragma once

#include <cstdio>
#include <string>

namespace kvx_cli {

// Takes what the module logs while it lives: the module's only log is standard error.
class ModuleLog {
  public:
    ModuleLog();
    ~ModuleLog();

    ModuleLog(const ModuleLog&) = delete;
    ModuleLog& operator=(const ModuleLog&) = delete;

    // What was logged so far.
    std::string Text() const;

    // The lines that have been finished since the last call.
    std::string NewLines();

  private:
    std::string TextFrom(size_t position) const;

    std::FILE* mFile;
    size_t mTold = 0;  // bytes that NewLines has returned
    int mStandardError = -1;
};

}  // namespace kvx_cli
