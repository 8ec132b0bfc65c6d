#include "cli/movie/session.h"

#include <utility>

#include "cli/movie/module_log.h"
#include "cli/movie/module_path.h"
#include "cli/movie/refusal.h"
#include "hostkit/record_block.h"

namespace kvx_cli {

using kvx_hostkit::Clip;
using kvx_hostkit::LoadedModule;

Session::Session(std::unique_ptr<LoadedModule> module)
    : mModule(std::move(module)), mImporter(mHost, mModule->Entries()) {}

std::unique_ptr<Session> Session::Start(const std::string& path, std::string& problem) {
    std::string error;
    std::unique_ptr<LoadedModule> module =
        LoadedModule::Load(path.empty() ? FindModule() : path, error);
    if (module == nullptr) {
        problem = "cannot load the importer: " + error;
        return nullptr;
    }
    std::unique_ptr<Session> session(new Session(std::move(module)));
    kvx_hostkit::RecordBlock<imImportInfoRec> info;
    const long status = session->mImporter.Init(info.Get());
    if (status != imNoErr) {
        problem = "the importer does not serve this host: status " + std::to_string(status);
        return nullptr;
    }
    return session;
}

OpenedMovie OpenMovie(const Session& session, const std::string& path) {
    OpenedMovie opened;
    opened.refusal = FileProblem(path);
    if (!opened.refusal.empty()) {
        return opened;
    }
    auto clip = std::make_unique<Clip>(session.Importer(), path);
    const ModuleLog log;
    const long status = clip->Open();
    opened.log = log.Text();
    if (status == imNoErr) {
        opened.clip = std::move(clip);
    } else {
        opened.refusal = RefusalInWords(status, opened.log);
    }
    return opened;
}

}  // namespace kvx_cli
