#include <CLI/CLI.hpp>
#include <iostream>

#include "cli/commands.h"

int main(int argc, char** argv) {
    using namespace kvx_cli;

    CLI::App app(
        "Opens QuickTime movies through the KVX Importer module, as an editing host does.");
    app.name("kvx");
    CommonOptions common;
    app.add_option("--module", common.modulePath, "The importer module to load")->type_name("PATH");
    Command chosen;
    AddInfoCommand(app, common, chosen);
    AddTimecodeCommand(app, common, chosen);
    AddAudioCommand(app, common, chosen);
    AddFramesCommand(app, common, chosen);
    AddSheetCommand(app, common, chosen);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kExitDone : kExitUsage;
    }
    if (!chosen) {
        std::cerr << app.help();
        return kExitUsage;
    }
    return chosen();
}
