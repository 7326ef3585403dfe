#include "framework/RenderNotificationList.h"

#include <utility>

namespace velnor {

RenderNotificationList::~RenderNotificationList() {
    Free(mPending.load(std::memory_order_acquire));
    Free(mRecycled.load(std::memory_order_acquire));
    Free(mActive);
    Free(mSpentFirst);
}

void RenderNotificationList::Free(Node* inChain) {
    while (inChain != nullptr) {
        delete std::exchange(inChain, inChain->next);
    }
}

OSStatus RenderNotificationList::Add(AURenderCallback inCallback, void* inUserData) {
    if (inCallback == nullptr) {
        return paramErr;
    }
    Request(Kind::kAdd, inCallback, inUserData);
    return noErr;
}

OSStatus RenderNotificationList::Remove(AURenderCallback inCallback, void* inUserData) {
    Request(Kind::kRemove, inCallback, inUserData);
    return noErr;
}

void RenderNotificationList::Request(Kind inKind, AURenderCallback inCallback, void* inUserData) {
    Node* const node = TakeNode();
    *node = {inKind, inCallback, inUserData, nullptr};
    PushChain(mPending, node, node);
}

RenderNotificationList::Node* RenderNotificationList::TakeNode() {
    Node* const first = mRecycled.exchange(nullptr, std::memory_order_acquire);
    if (first == nullptr) {
        return new Node{};
    }
    PutBack(first->next);
    return first;
}

/// Nearly always nothing was spent meanwhile, and the chain's end need not be looked for.
void RenderNotificationList::PutBack(Node* inChain) {
    Node* none = nullptr;
    if (inChain == nullptr ||
        mRecycled.compare_exchange_strong(none, inChain, std::memory_order_release,
                                          std::memory_order_relaxed)) {
        return;
    }
    Node* last = inChain;
    while (last->next != nullptr) {
        last = last->next;
    }
    PushChain(mRecycled, inChain, last);
}

void RenderNotificationList::PushChain(Stack& ioStack, Node* inFirst, Node* inLast) {
    inLast->next = ioStack.load(std::memory_order_relaxed);
    while (!ioStack.compare_exchange_weak(inLast->next, inFirst, std::memory_order_release,
                                          std::memory_order_relaxed)) {
    }
}

void RenderNotificationList::ApplyPending() VELNOR_NONBLOCKING {
    Node* request = Reversed(mPending.exchange(nullptr, std::memory_order_acquire));
    while (request != nullptr) {
        Apply(std::exchange(request, request->next));
    }
    OfferSpent();
}

RenderNotificationList::Node* RenderNotificationList::Reversed(Node* inChain) VELNOR_NONBLOCKING {
    Node* reversed = nullptr;
    while (inChain != nullptr) {
        Node* const next = inChain->next;
        inChain->next = std::exchange(reversed, inChain);
        inChain = next;
    }
    return reversed;
}

void RenderNotificationList::Apply(Node* inRequest) VELNOR_NONBLOCKING {
    Node** const link = FindLink(*inRequest);
    Node* const present = *link;
    if (inRequest->kind == Kind::kAdd && present == nullptr) {
        inRequest->next = nullptr;
        *link = inRequest;
        return;
    }
    if (inRequest->kind == Kind::kRemove && present != nullptr) {
        *link = present->next;
        Spend(present);
    }
    Spend(inRequest);
}

/// The link that leads to the pair, or the null one at the list's end.
RenderNotificationList::Node**
RenderNotificationList::FindLink(const Node& inPair) VELNOR_NONBLOCKING {
    Node** link = &mActive;
    while (*link != nullptr &&
           ((*link)->callback != inPair.callback || (*link)->userData != inPair.userData)) {
        link = &(*link)->next;
    }
    return link;
}

void RenderNotificationList::Spend(Node* inNode) VELNOR_NONBLOCKING {
    inNode->next = mSpentFirst;
    mSpentFirst = inNode;
    if (mSpentLast == nullptr) {
        mSpentLast = inNode;
    }
}

/// One attempt: the render thread does not spin, it offers the nodes again with the next render.
void RenderNotificationList::OfferSpent() VELNOR_NONBLOCKING {
    if (mSpentFirst == nullptr) {
        return;
    }
    mSpentLast->next = mRecycled.load(std::memory_order_relaxed);
    if (mRecycled.compare_exchange_strong(mSpentLast->next, mSpentFirst, std::memory_order_release,
                                          std::memory_order_relaxed)) {
        mSpentFirst = nullptr;
        mSpentLast = nullptr;
    } else {
        mSpentLast->next = nullptr;
    }
}

void RenderNotificationList::NotifyActive(AudioUnitRenderActionFlags inFlags,
                                          const AudioTimeStamp& inTimeStamp, UInt32 inBus,
                                          UInt32 inFrames,
                                          AudioBufferList& ioData) VELNOR_NONBLOCKING {
    for (const Node* node = mActive; node != nullptr; node = node->next) {
        AudioUnitRenderActionFlags flags = inFlags;
        VELNOR_RT_ESCAPE(
            "the host's own notification",
            node->callback(node->userData, &flags, &inTimeStamp, inBus, inFrames, &ioData));
    }
}

} // namespace velnor
