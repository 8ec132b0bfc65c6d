#include "hostkit/importer.h"

#include "hostkit/record_block.h"
#include "hostkit/utf16.h"

namespace kvx_hostkit {

long Importer::Call(int selector, long param1, long param2) const {
    return mEntries.import(selector, mHost->StdParms(), param1, param2);
}

long Importer::Call(int selector, const void* param1, const void* param2) const {
    return Call(selector, reinterpret_cast<long>(param1), reinterpret_cast<long>(param2));
}

long Importer::CallAsync(int selector, void* record) const {
    return mEntries.async(selector, record);
}

long Importer::Init(imImportInfoRec* info) const {
    return Call(imInit, info, nullptr);
}

long Importer::GetIndFormat(int index, imIndFormatRec* format) const {
    return Call(imGetIndFormat, index, reinterpret_cast<long>(format));
}

long Importer::SaveFile(const std::string& source, const std::string& destination) const {
    const auto sourcePath = ToHostPath(source);
    const auto destinationPath = ToHostPath(destination);
    RecordBlock<imSaveFileRec8> record;
    record->sourcePath = sourcePath.data();
    record->destinationPath = destinationPath.data();
    return Call(imSaveFile8, record.Get(), nullptr);
}

long Importer::DeleteFile(const std::string& path) const {
    const auto deletePath = ToHostPath(path);
    RecordBlock<imDeleteFileRec8> record;
    record->deleteFilePath = deletePath.data();
    return Call(imDeleteFile8, record.Get(), nullptr);
}

}  // namespace kvx_hostkit
