// The command as a host: the loaded module, and movies opened through its entry points.
#pragma once

#include <memory>
#include <string>

#include "cli/output/exit_code.h"
#include "cli/output/input_files.h"
#include "hostkit/clip.h"
#include "hostkit/host.h"
#include "hostkit/importer.h"
#include "hostkit/loaded_module.h"

namespace kvx_cli {

// The module, with a host that it has been introduced to. One at a time.
class Session {
  public:
    // Loads the module at `path`, or the one that belongs to this program if `path` is empty. Null
    // on failure; `problem` then says why. Shared, for work that may be abandoned.
    static std::shared_ptr<const Session> Start(const std::string& path, Problem& problem);

    const kvx_hostkit::Importer& Importer() const { return mImporter; }

  private:
    explicit Session(std::unique_ptr<kvx_hostkit::LoadedModule> module);

    kvx_hostkit::Host mHost;
    std::unique_ptr<kvx_hostkit::LoadedModule> mModule;
    kvx_hostkit::Importer mImporter;
};

// A descriptor that is closed in the end.
class OwnedDescriptor {
  public:
    OwnedDescriptor() = default;
    explicit OwnedDescriptor(int descriptor) : mDescriptor(descriptor) {}
    OwnedDescriptor(OwnedDescriptor&& other) noexcept;
    OwnedDescriptor& operator=(OwnedDescriptor&& other) noexcept;
    ~OwnedDescriptor();

    int Number() const { return mDescriptor; }

  private:
    int mDescriptor = -1;
};

// A movie that was opened, or the reason why it was not.
struct OpenedMovie {
    OwnedDescriptor descriptor;               // lets a name be opened that the host can't write
    std::unique_ptr<kvx_hostkit::Clip> clip;  // null if the movie is not importable
    Problem problem;                          // then why not
    std::string log;                          // what the module logged meanwhile
};

// May not come back, where a disk does not respond.
OpenedMovie OpenMovie(const Session& session, const std::string& path);

}  // namespace kvx_cli
