#include "support/atom_node.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <utility>

namespace kvx_test {

namespace {

uint64_t HeaderLength(const AtomNode& node) {
    return node.form == AtomNode::SizeForm::Extended ? 16 : 8;
}

// The place of one child among its siblings, from a path step such as "trak[1]".
struct Step {
    Bytes type;
    size_t index = 0;
};

Step ParseStep(const std::string& text) {
    // Types are four characters that may themselves be brackets, so the index is looked for after.
    Step step{text.substr(0, 4)};
    if (text.size() > 4) {
        step.index = std::strtoul(text.c_str() + 5, nullptr, 10);
    }
    return step;
}

std::pair<std::string, std::string> SplitLast(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return {"", path};
    }
    return {path.substr(0, slash), path.substr(slash + 1)};
}

[[noreturn]] void NoSuchAtom(const AtomNode& node, const std::string& path) {
    std::fprintf(stderr, "no atom \"%s\" in \"%s\"\n", path.c_str(), node.type.c_str());
    std::abort();
}

std::vector<AtomNode>::iterator FindChild(AtomNode& node, const std::string& text) {
    const Step step = ParseStep(text);
    size_t seen = 0;
    return std::find_if(node.children.begin(), node.children.end(), [&](const AtomNode& child) {
        return child.type == step.type && seen++ == step.index;
    });
}

struct Place {
    AtomNode& parent;
    std::vector<AtomNode>::iterator child;
};

Place PlaceOf(AtomNode& root, const std::string& path) {
    const auto [parentPath, last] = SplitLast(path);
    AtomNode& parent = parentPath.empty() ? root : root.At(parentPath);
    const auto child = FindChild(parent, last);
    if (child == parent.children.end()) {
        NoSuchAtom(root, path);
    }
    return {parent, child};
}

void CollectEdges(const AtomNode& node, uint64_t start, std::set<uint64_t>& edges) {
    edges.insert(start);
    uint64_t position = start + HeaderLength(node);
    edges.insert(position);
    position += node.payload.size();
    edges.insert(position);
    for (const AtomNode& child : node.children) {
        CollectEdges(child, position, edges);
        position += child.Length();
    }
    edges.insert(position);
}

}  // namespace

uint64_t AtomNode::Length() const {
    uint64_t length = HeaderLength(*this) + payload.size();
    for (const AtomNode& child : children) {
        length += child.Length();
    }
    return length;
}

Bytes AtomNode::Serialize() const {
    const int64_t size = static_cast<int64_t>(writtenSize.value_or(Length()));
    Bytes bytes = form == SizeForm::Extended ? big32(1) + type + big64(size) : big32(size) + type;
    bytes += payload;
    for (const AtomNode& child : children) {
        bytes += child.Serialize();
    }
    return bytes;
}

AtomNode* AtomNode::Find(const std::string& path) {
    const size_t slash = path.find('/');
    const auto child = FindChild(*this, path.substr(0, slash));
    if (child == children.end()) {
        return nullptr;
    }
    return slash == std::string::npos ? &*child : child->Find(path.substr(slash + 1));
}

AtomNode& AtomNode::At(const std::string& path) {
    AtomNode* found = Find(path);
    if (found == nullptr) {
        NoSuchAtom(*this, path);
    }
    return *found;
}

void AtomNode::Remove(const std::string& path) {
    const Place place = PlaceOf(*this, path);
    place.parent.children.erase(place.child);
}

void AtomNode::Replace(const std::string& path, AtomNode with) {
    *PlaceOf(*this, path).child = std::move(with);
}

void AtomNode::Duplicate(const std::string& path) {
    const Place place = PlaceOf(*this, path);
    AtomNode copy = *place.child;
    place.parent.children.insert(place.child + 1, std::move(copy));
}

void AtomNode::Poke(size_t offset, const Bytes& bytes) {
    const size_t at = offset - 8;
    if (payload.size() < at + bytes.size()) {
        payload.resize(at + bytes.size());
    }
    payload.replace(at, bytes.size(), bytes);
}

Bytes AtomNode::Peek(size_t offset, size_t count) const {
    return payload.substr(offset - 8, count);
}

void AtomNode::SetEntryCount(int64_t count) {
    Poke(12, big32(count));
}

uint64_t OffsetOf(AtomNode& root, const std::string& path) {
    uint64_t offset = 0;
    AtomNode* parent = &root;
    for (size_t start = 0; start <= path.size();) {
        const size_t slash = std::min(path.find('/', start), path.size());
        const auto child = FindChild(*parent, path.substr(start, slash - start));
        if (child == parent->children.end()) {
            NoSuchAtom(root, path);
        }
        offset += HeaderLength(*parent) + parent->payload.size();
        for (auto sibling = parent->children.begin(); sibling != child; ++sibling) {
            offset += sibling->Length();
        }
        parent = &*child;
        start = slash + 1;
    }
    return offset;
}

std::vector<uint64_t> AtomEdges(const AtomNode& root) {
    std::set<uint64_t> edges;
    CollectEdges(root, 0, edges);
    return {edges.begin(), edges.end()};
}

}  // namespace kvx_test
