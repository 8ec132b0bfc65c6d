// The variables of an image that each thread has for itself.
#pragma once

#include <pthread.h>

#include <vector>

#include "macho/loader/file.h"
#include "macho/loader/memory.h"

namespace macho {

class ThreadLocals {
  public:
    // Leads the image's descriptors here. Throws LoadError.
    ThreadLocals(const File& file, const Memory& memory);
    ~ThreadLocals();

    ThreadLocals(const ThreadLocals&) = delete;
    ThreadLocals& operator=(const ThreadLocals&) = delete;

    // The calling thread's variables, made when it first asks.
    char* Block();

  private:
    std::vector<char> mInitial;
    size_t mSize = 0;
    pthread_key_t mKey = 0;
};

}  // namespace macho
