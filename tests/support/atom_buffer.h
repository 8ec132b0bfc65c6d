#pragma once

#include <algorithm>
#include <memory>
#include <string>

#include "quicktime/atom.h"
#include "support/atom_node.h"

namespace kvx_test {

// An atom tree as bytes in a buffer of exactly its size, so that the address sanitizer sees every
// read after its end.
class AtomBuffer {
  public:
    explicit AtomBuffer(const Bytes& bytes) : mBytes(new char[bytes.size()]) {
        std::copy(bytes.begin(), bytes.end(), mBytes.get());
    }
    explicit AtomBuffer(const AtomNode& root) : AtomBuffer(root.Serialize()) {}

    KVX::QT::Atom* Get() const { return At(0); }
    KVX::QT::Atom* At(uint64_t offset) const {
        return reinterpret_cast<KVX::QT::Atom*>(mBytes.get() + offset);
    }

  private:
    std::unique_ptr<char[]> mBytes;
};

}  // namespace kvx_test
