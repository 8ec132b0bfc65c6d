#include "cli/movie/session.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "cli/movie/module_log.h"
#include "cli/movie/module_path.h"
#include "cli/movie/refusal.h"
#include "hostkit/record_block.h"
#include "hostkit/utf16.h"

namespace kvx_cli {

using kvx_hostkit::Clip;
using kvx_hostkit::LoadedModule;

namespace {

// The host has paths in Unicode. A file whose name is not is reached by its descriptor.
constexpr prUTF16Char kReplacement = 0xFFFD;

std::string HostPath(const std::string& path, OwnedDescriptor& descriptor) {
    const std::vector<prUTF16Char> name = kvx_hostkit::ToHostPath(path);
    if (std::find(name.begin(), name.end(), kReplacement) == name.end()) {
        return path;
    }
    descriptor = OwnedDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    return descriptor.Number() == -1 ? path : "/dev/fd/" + std::to_string(descriptor.Number());
}

}  // namespace

OwnedDescriptor::OwnedDescriptor(OwnedDescriptor&& other) noexcept
    : mDescriptor(std::exchange(other.mDescriptor, -1)) {}

OwnedDescriptor& OwnedDescriptor::operator=(OwnedDescriptor&& other) noexcept {
    std::swap(mDescriptor, other.mDescriptor);
    return *this;
}

OwnedDescriptor::~OwnedDescriptor() {
    if (mDescriptor != -1) {
        close(mDescriptor);
    }
}

Session::Session(std::unique_ptr<LoadedModule> module)
    : mModule(std::move(module)), mImporter(mHost, mModule->Entries()) {}

std::shared_ptr<const Session> Session::Start(const std::string& path, Problem& problem) {
    std::string error;
    std::unique_ptr<LoadedModule> module =
        LoadedModule::Load(path.empty() ? FindModule() : path, error);
    if (module == nullptr) {
        problem = {kExitFailed, "cannot load the importer: " + error};
        return nullptr;
    }
    std::shared_ptr<Session> session(new Session(std::move(module)));
    kvx_hostkit::RecordBlock<imImportInfoRec> info;
    const long status = session->mImporter.Init(info.Get());
    if (status != imNoErr) {
        problem = {kExitFailed,
                   "the importer does not serve this host: status " + std::to_string(status)};
        return nullptr;
    }
    return session;
}

OpenedMovie OpenMovie(const Session& session, const std::string& path) {
    OpenedMovie opened;
    opened.problem = FileProblem(path);
    if (opened.problem) {
        return opened;
    }
    auto clip = std::make_unique<Clip>(session.Importer(), HostPath(path, opened.descriptor));
    const ModuleLog log;
    const long status = clip->Open();
    opened.log = log.Text();
    if (status == imNoErr) {
        opened.clip = std::move(clip);
    } else {
        opened.problem = Refusal(status, opened.log);
    }
    return opened;
}

}  // namespace kvx_cli
