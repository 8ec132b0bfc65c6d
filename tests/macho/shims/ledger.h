// Which shims were called, over the runs of many processes.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "macho/loader/image.h"

namespace macho {

// A text with one line for each shim: "- name", and "+ name" once it has been called, or bound
// where it is data. With KVX_MACHO_LEDGER in the environment it is that file, which processes share
// in memory: what one has marked is there however it ends.
class Ledger : public ShimSource {
  public:
    // Throws LoadError.
    explicit Ledger(const std::vector<Shim>& shims);

    size_t Count() const override { return mShims.size(); }
    const Shim* Find(const std::string& name) const override;
    char* Mark(const Shim& shim) override;

  private:
    std::map<std::string, Shim> mShims;
    std::map<std::string, size_t> mPlaces;
    char* mText = nullptr;
};

}  // namespace macho
