// The code between an image and the functions that it imports. An image gives such a function's
// address away, as the destructor of what a thread has for itself for one, and the system calls it
// when the image may be gone: the function stays, and so does the code here.
#pragma once

#include <cstddef>

namespace macho {

class ImportStubs {
  public:
    // Room for `count` functions. Throws LoadError.
    explicit ImportStubs(size_t count);

    ImportStubs(const ImportStubs&) = delete;
    ImportStubs& operator=(const ImportStubs&) = delete;

    // Code that marks that it has been called and goes on at `target`; see WriteImportStub.
    const void* Add(char* mark, const void* target, unsigned named);

    // Call when all have been added.
    void Protect() const;

  private:
    unsigned char* mMemory = nullptr;
    size_t mSize = 0;
    size_t mUsed = 0;
};

}  // namespace macho
