#include "framework/ParameterMap.h"

#include <memory>

namespace velnor {

namespace {

/// What the link leads to, made by inMake when it is null. The loser of a race uses the winner's.
template <class T, class Make>
T& Require(std::atomic<void*>& ioLink, const Make& inMake) {
    void* found = ioLink.load(std::memory_order_acquire);
    if (found == nullptr) {
        std::unique_ptr<T> made = inMake();
        if (ioLink.compare_exchange_strong(found, made.get(), std::memory_order_acq_rel)) {
            return *made.release();
        }
    }
    return *static_cast<T*>(found);
}

} // namespace

unsigned ParameterMap::SlotAt(AudioUnitParameterID inID, unsigned inLevel) VELNOR_NONBLOCKING {
    return (inID >> (32 - kBitsPerLevel * (inLevel + 1))) & (kFanOut - 1);
}

ParameterMapEvent* ParameterMap::Find(AudioUnitParameterID inID) const VELNOR_NONBLOCKING {
    const void* found = &mRoot;
    for (unsigned level = 0; level < kLevels && found != nullptr; ++level) {
        const auto& links = static_cast<const Node*>(found)->mLinks;
        found = links[SlotAt(inID, level)].load(std::memory_order_acquire);
    }
    return static_cast<ParameterMapEvent*>(const_cast<void*>(found));
}

ParameterMapEvent& ParameterMap::Insert(AudioUnitParameterID inID,
                                        AudioUnitParameterValue inValue) {
    Node* node = &mRoot;
    for (unsigned level = 0; level + 1 < kLevels; ++level) {
        node = &Require<Node>(node->mLinks[SlotAt(inID, level)],
                              [] { return std::make_unique<Node>(); });
    }
    return Require<ParameterMapEvent>(node->mLinks[SlotAt(inID, kLevels - 1)], [inValue] {
        return std::make_unique<ParameterMapEvent>(inValue);
    });
}

void ParameterMap::Collect(const Node& inNode, unsigned inLevel, AudioUnitParameterID inPrefix,
                           std::vector<AudioUnitParameterID>& outIds) {
    for (unsigned slot = 0; slot < kFanOut; ++slot) {
        const void* found = inNode.mLinks[slot].load(std::memory_order_acquire);
        if (found == nullptr) {
            continue;
        }
        const AudioUnitParameterID id = (inPrefix << kBitsPerLevel) | slot;
        if (inLevel + 1 == kLevels) {
            outIds.push_back(id);
        } else {
            Collect(*static_cast<const Node*>(found), inLevel + 1, id, outIds);
        }
    }
}

std::vector<AudioUnitParameterID> ParameterMap::Ids() const {
    std::vector<AudioUnitParameterID> ids;
    Collect(mRoot, 0, 0, ids);
    return ids;
}

void ParameterMap::Destroy(Node& inNode, unsigned inLevel) {
    for (std::atomic<void*>& link : inNode.mLinks) {
        void* const found = link.load(std::memory_order_relaxed);
        if (found == nullptr) {
            continue;
        }
        if (inLevel + 1 == kLevels) {
            delete static_cast<ParameterMapEvent*>(found);
        } else {
            Destroy(*static_cast<Node*>(found), inLevel + 1);
            delete static_cast<Node*>(found);
        }
    }
}

ParameterMap::~ParameterMap() {
    Destroy(mRoot, 0);
}

} // namespace velnor
