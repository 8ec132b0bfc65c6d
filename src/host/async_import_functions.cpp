#include "host/entry.h"

namespace {

long Unsupported(void*) {
    return aiUnsupported;
}

constexpr std::array<AsyncImportFunction, 5> MakeTable() {
    std::array<AsyncImportFunction, 5> table = {};
    table[aiInitiateAsyncRead] = &Unsupported;
    table[aiCancelAsyncRead] = &Unsupported;
    table[aiFlush] = &Unsupported;
    table[aiGetFrame] = &Unsupported;
    table[aiClose] = &Unsupported;
    return table;
}

}  // namespace

constexpr std::array<AsyncImportFunction, 5> asyncImportFunctions = MakeTable();
