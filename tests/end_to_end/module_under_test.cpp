#include "end_to_end/module_under_test.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "hostkit/host.h"
#include "hostkit/loaded_module.h"
#include "hostkit/record_block.h"

namespace kvx_test {

namespace {

struct Loaded {
    Loaded() : module(Load()), importer(host, module->Entries()) {
        kvx_hostkit::RecordBlock<imImportInfoRec> info;
        const long status = importer.Init(info.Get());
        if (status != imNoErr) {
            std::fprintf(stderr, "imInit answered %ld\n", status);
            std::abort();
        }
    }

    static std::unique_ptr<kvx_hostkit::LoadedModule> Load() {
        std::string error;
        auto module =
            kvx_hostkit::LoadedModule::Load(kvx_hostkit::LoadedModule::BuiltPath(), error);
        if (module == nullptr) {
            std::fprintf(stderr, "%s\n", error.c_str());
            std::abort();
        }
        return module;
    }

    kvx_hostkit::Host host;
    std::unique_ptr<kvx_hostkit::LoadedModule> module;
    kvx_hostkit::Importer importer;
};

}  // namespace

const kvx_hostkit::Importer& ModuleUnderTest() {
    static Loaded loaded;
    return loaded.importer;
}

}  // namespace kvx_test
