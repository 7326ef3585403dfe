// Parameters by id.
#ifndef VELNOR_FRAMEWORK_PARAMETERMAP_H
#define VELNOR_FRAMEWORK_PARAMETERMAP_H

#include "framework/ParameterMapEvent.h"

#include <array>
#include <atomic>
#include <vector>

namespace velnor {

/// A map that only grows, from parameter id to event: a radix tree over two bits of the id at each
/// of its 16 levels. Its links go from null to a node once and never change again, so that lookups
/// and insertions on different threads need no lock, lookups take 16 steps at most, and an event
/// stays where it is for the life of the map.
class ParameterMap {
public:
    ParameterMap() = default;
    ~ParameterMap();
    ParameterMap(const ParameterMap&) = delete;
    ParameterMap& operator=(const ParameterMap&) = delete;

    /// Null when the id was never inserted. Thread any, concurrent, nonblocking.
    ParameterMapEvent* Find(AudioUnitParameterID inID) const VELNOR_NONBLOCKING;

    /// The id's event, made with inValue when there is none. Thread any, concurrent. Allocates only
    /// then (std::bad_alloc).
    ParameterMapEvent& Insert(AudioUnitParameterID inID, AudioUnitParameterValue inValue);

    /// All ids in ascending order. Thread any, concurrent, may block.
    std::vector<AudioUnitParameterID> Ids() const;

private:
    struct Node;
    static constexpr unsigned kBitsPerLevel = 2;
    static constexpr unsigned kLevels = 32 / kBitsPerLevel;
    static constexpr unsigned kFanOut = 1u << kBitsPerLevel;

    static unsigned SlotAt(AudioUnitParameterID inID, unsigned inLevel) VELNOR_NONBLOCKING;
    static void Collect(const Node& inNode, unsigned inLevel, AudioUnitParameterID inPrefix,
                        std::vector<AudioUnitParameterID>& outIds);
    static void Destroy(Node& inNode, unsigned inLevel);

    /// A node's links lead to nodes, those of the last level to events.
    struct Node {
        std::array<std::atomic<void*>, kFanOut> mLinks{};
    };

    Node mRoot;
};

} // namespace velnor

#endif
