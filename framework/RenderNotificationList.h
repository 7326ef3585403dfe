// The callbacks that a host has called around each render.
#ifndef VELNOR_FRAMEWORK_RENDERNOTIFICATIONLIST_H
#define VELNOR_FRAMEWORK_RENDERNOTIFICATIONLIST_H

#include "platform/AudioUnitTypes.h"
#include "platform/Facts.h"

#include <atomic>

namespace velnor {

/// Any thread requests changes; the render thread applies them at the start of its next render, in
/// the order in which they were requested. No operation locks. Two singly linked stacks carry the
/// nodes between the threads, requests one way and spent nodes the other. Nobody ever pops a single
/// node from a shared stack: it is taken whole by one exchange, so that a node which returns to a
/// stack cannot be mistaken for its former self.
class RenderNotificationList {
public:
    RenderNotificationList() = default;
    ~RenderNotificationList();
    RenderNotificationList(const RenderNotificationList&) = delete;
    RenderNotificationList& operator=(const RenderNotificationList&) = delete;

    /// Requests that a pair be called, once however often it was added. paramErr: null callback.
    /// Thread any, concurrent. Allocates when no spent node is at hand (std::bad_alloc).
    OSStatus Add(AURenderCallback inCallback, void* inUserData);

    /// Requests that a pair be called no longer; a pair that is not there is passed over. The
    /// callback may still be called until the next render begins. As Add otherwise.
    OSStatus Remove(AURenderCallback inCallback, void* inUserData);

    /// Thread render, exclusive, nonblocking: takes time in proportion to the requests and the
    /// pairs, and frees nothing.
    void ApplyChanges() VELNOR_NONBLOCKING {
        // Nearly always there is nothing to do, which costs two loads and no exchange.
        if (mPending.load(std::memory_order_relaxed) != nullptr || mSpentFirst != nullptr) {
            ApplyPending();
        }
    }

    /// Calls every pair, first added first, with these arguments. Thread render, exclusive,
    /// nonblocking but for the callbacks themselves.
    void Notify(AudioUnitRenderActionFlags inFlags, const AudioTimeStamp& inTimeStamp, UInt32 inBus,
                UInt32 inFrames, AudioBufferList& ioData) VELNOR_NONBLOCKING {
        if (mActive != nullptr) {
            NotifyActive(inFlags, inTimeStamp, inBus, inFrames, ioData);
        }
    }

private:
    enum class Kind { kAdd, kRemove };
    struct Node {
        Kind kind;
        AURenderCallback callback;
        void* userData;
        Node* next;
    };
    using Stack = std::atomic<Node*>;

    void Request(Kind inKind, AURenderCallback inCallback, void* inUserData);
    Node* TakeNode();
    void PutBack(Node* inChain);
    static void PushChain(Stack& ioStack, Node* inFirst, Node* inLast);
    static Node* Reversed(Node* inChain) VELNOR_NONBLOCKING;
    static void Free(Node* inChain);
    void ApplyPending() VELNOR_NONBLOCKING;
    void NotifyActive(AudioUnitRenderActionFlags inFlags, const AudioTimeStamp& inTimeStamp,
                      UInt32 inBus, UInt32 inFrames, AudioBufferList& ioData) VELNOR_NONBLOCKING;
    void Apply(Node* inRequest) VELNOR_NONBLOCKING;
    Node** FindLink(const Node& inPair) VELNOR_NONBLOCKING;
    void Spend(Node* inNode) VELNOR_NONBLOCKING;
    void OfferSpent() VELNOR_NONBLOCKING;

    Stack mPending{nullptr};
    Stack mRecycled{nullptr};
    // The render thread's own:
    Node* mActive = nullptr;
    Node* mSpentFirst = nullptr; ///< not yet offered to mRecycled
    Node* mSpentLast = nullptr;
};

} // namespace velnor

#endif
