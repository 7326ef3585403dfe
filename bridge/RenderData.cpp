#include "bridge/RenderData.h"

#include "support/LogLine.h"

#include <algorithm>
#include <limits>
#include <new>
#include <string>
#include <utility>

namespace velnor {

RenderData::RenderData() {
    mPendingEvents.reserve(MidiRing::kSlots);
}

void RenderData::collectQueuedEvents() VELNOR_NONBLOCKING {
    mMidiRing.take([this](const ::MIDIEvent& event) VELNOR_NONBLOCKING {
        VELNOR_RT_ESCAPE("room for a whole ring was reserved at construction",
                         mPendingEvents.push_back(event));
    });
    const std::size_t received = mPendingEvents.size();
    const std::size_t count = std::min<std::size_t>(received, kOrmoMaxBlockEvents);
    mSorter.sort(mPendingEvents.data(), received);
    mEventBlock.count = static_cast<UInt32>(count);
    std::copy_n(mPendingEvents.data(), count, mEventBlock.events);
    mPendingEvents.clear();
    if (received > count) {
        VELNOR_RT_ESCAPE("events are lost, which the log has to say",
                         LogLine(LogSeverity::kInformation,
                                 "Large number of MIDI Events : " + std::to_string(received)));
    }
}

void RenderData::allocateExtraBuffer(unsigned long frames) {
    constexpr unsigned long kMostFrames = std::numeric_limits<unsigned long>::max() / sizeof(float);
    if (frames > kMostFrames) {
        throw std::bad_alloc();
    }
    std::unique_ptr<float, FreeBuffer> buffer(
        static_cast<float*>(THEALLOC(frames * sizeof(float), nullptr)));
    if (buffer == nullptr) {
        throw std::bad_alloc();
    }
    mExtraBuffer = std::move(buffer);
}

} // namespace velnor
