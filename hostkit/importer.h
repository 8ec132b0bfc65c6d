#pragma once

#include <string>

#include "hostkit/host.h"
#include "hostkit/loaded_module.h"
#include "premiere/import_records.h"

namespace kvx_hostkit {

// The calls that concern no open file. Every result is the importer's own, unchanged.
class Importer {
  public:
    // Both must outlive the importer.
    Importer(Host& host, const EntryPoints& entries) : mHost(&host), mEntries(entries) {}

    // Any selector, with the two parameters that it takes.
    long Call(int selector, long param1, long param2) const;
    long Call(int selector, const void* param1, const void* param2) const;
    long CallAsync(int selector, void* record) const;

    long Init(imImportInfoRec* info) const;
    long GetIndFormat(int index, imIndFormatRec* format) const;

    // Moves a file to another path of the same volume, replacing what is there. Paths are UTF-8.
    long SaveFile(const std::string& source, const std::string& destination) const;
    long DeleteFile(const std::string& path) const;

    Host& GetHost() const { return *mHost; }

  private:
    Host* mHost;
    EntryPoints mEntries;
};

}  // namespace kvx_hostkit
