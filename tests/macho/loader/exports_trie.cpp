#include "macho/loader/exports_trie.h"

#include <set>

namespace macho {

namespace {

constexpr uint64_t kKindRegular = 0;

class Walk {
  public:
    explicit Walk(Bytes trie) : mTrie(trie) {}

    void Visit(uint64_t node, const std::string& prefix) {
        if (!mVisited.insert(node).second) {
            throw LoadError("has an exports trie that leads back into itself");
        }
        Cursor cursor(mTrie, node);
        const uint64_t terminalSize = cursor.Uleb();
        const uint64_t children = cursor.Place() + terminalSize;
        if (terminalSize != 0) {
            if (cursor.Uleb() != kKindRegular) {
                throw LoadError("exports " + prefix + " in an unknown way");
            }
            found[prefix] = cursor.Uleb();
        }
        Cursor edges(mTrie, children);
        for (uint8_t count = edges.Byte(); count > 0; --count) {
            const std::string label = edges.Text();
            Visit(edges.Uleb(), prefix + label);
        }
    }

    std::map<std::string, uint64_t> found;

  private:
    Bytes mTrie;
    std::set<uint64_t> mVisited;
};

}  // namespace

std::map<std::string, uint64_t> ReadExports(Bytes trie) {
    Walk walk(trie);
    if (trie.Size() != 0) {
        walk.Visit(0, "");
    }
    return walk.found;
}

}  // namespace macho
