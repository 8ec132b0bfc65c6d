// From the record of each asynchronous selector to the call of its handler. Pointers are trusted.
#include "host/entry.h"
#include "pipeline/async_import_module.h"

namespace {

using KVX::AsyncImportModule;

AsyncImportModule* ModuleAtHead(void* record) {
    return static_cast<AsyncImportModule*>(static_cast<imRecordHead*>(record)->privatedata);
}

imSourceVideoRec* SourceVideoOf(void* record) {
    return &static_cast<aiAsyncRequest*>(record)->sourceRec;
}

long InitiateAsyncRead(void* record) {
    return ModuleAtHead(record)->InitiateAsyncRead(SourceVideoOf(record));
}

long CancelAsyncRead(void* record) {
    return ModuleAtHead(record)->CancelAsyncRead(SourceVideoOf(record));
}

// The same for every module: the record is not used.
long Flush(void*) {
    return AsyncImportModule::Flush();
}

// Unlike a request, this record is the source video record itself.
long GetFrame(void* record) {
    return ModuleAtHead(record)->GetFrame(static_cast<imSourceVideoRec*>(record));
}

// Here the record is the module.
long Close(void* record) {
    if (record == nullptr) {
        return aiNoError;
    }
    return static_cast<AsyncImportModule*>(record)->Close();
}

constexpr std::array<AsyncImportFunction, 5> MakeTable() {
    std::array<AsyncImportFunction, 5> table = {};
    table[aiInitiateAsyncRead] = &InitiateAsyncRead;
    table[aiCancelAsyncRead] = &CancelAsyncRead;
    table[aiFlush] = &Flush;
    table[aiGetFrame] = &GetFrame;
    table[aiClose] = &Close;
    return table;
}

}  // namespace

constexpr std::array<AsyncImportFunction, 5> asyncImportFunctions = MakeTable();
