// The command as a host: the loaded module, and movies opened through its entry points.
#pragma once

#include <memory>
#include <string>

#include "hostkit/clip.h"
#include "hostkit/host.h"
#include "hostkit/importer.h"
#include "hostkit/loaded_module.h"

namespace kvx_cli {

// The module, with a host that it has been introduced to. One at a time.
class Session {
  public:
    // Loads the module at `path`, or the one that belongs to this program if `path` is empty. Null
    // on failure; `problem` then says why.
    static std::unique_ptr<Session> Start(const std::string& path, std::string& problem);

    const kvx_hostkit::Importer& Importer() const { return mImporter; }

  private:
    explicit Session(std::unique_ptr<kvx_hostkit::LoadedModule> module);

    kvx_hostkit::Host mHost;
    std::unique_ptr<kvx_hostkit::LoadedModule> mModule;
    kvx_hostkit::Importer mImporter;
};

// A movie that was opened, or the reason why it was not.
struct OpenedMovie {
    std::unique_ptr<kvx_hostkit::Clip> clip;  // null if the movie is not importable
    std::string refusal;                      // then in words why not
    std::string log;                          // what the module logged meanwhile
};

OpenedMovie OpenMovie(const Session& session, const std::string& path);

}  // namespace kvx_cli
