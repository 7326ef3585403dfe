// Puts a block's events in the order in which they take effect, without allocating.
#ifndef VELNOR_BRIDGE_EVENTSORTER_H
#define VELNOR_BRIDGE_EVENTSORTER_H

#include "bridge/OrmoEngine.h"
#include "platform/Facts.h"

#include <array>
#include <cstddef>

namespace velnor {

// The ordering of events: by offset alone.
inline bool midiSort(const MIDIEvent& a, const MIDIEvent& b) VELNOR_NONBLOCKING {
    return a.offset < b.offset;
}

class EventSorter {
public:
    static constexpr std::size_t kMaxEvents = kOrmoMaxBlockEvents;

    // Stable sort under midiSort, in place. count is at most kMaxEvents. Thread render, exclusive,
    // nonblocking; the time grows with count while no event is far from its place, and with count
    // times its digits at worst.
    void sort(MIDIEvent* events, std::size_t count) VELNOR_NONBLOCKING;

private:
    std::array<MIDIEvent, kMaxEvents> mScratch;
};

} // namespace velnor

#endif
