/* Puts a block's events in the order in which they take effect, without allocating. */
#ifndef VELNOR_BRIDGE_EVENTSORTER_H
#define VELNOR_BRIDGE_EVENTSORTER_H

#include "bridge/OrmoEngine.h"
#include "platform/Facts.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace velnor {

/* The ordering of events: by offset alone. */
inline bool midiSort(const MIDIEvent& a, const MIDIEvent& b) VELNOR_NONBLOCKING {
    return a.offset < b.offset;
}

class EventSorter {
public:
    static constexpr std::size_t kMaxEvents = kOrmoMaxBlockEvents;

    /* Stable sort under midiSort, in place. count is at most kMaxEvents. Thread render, exclusive,
     * nonblocking; the time grows with count for events in order, and with count times its digits
     * at worst. */
    void sort(MIDIEvent* events, std::size_t count) VELNOR_NONBLOCKING {
        std::size_t sorted = 1;
        while (sorted < count && !midiSort(events[sorted], events[sorted - 1]))
            ++sorted;
        if (sorted < count)
            sortFrom(events, count, sorted);
    }

private:
    using Keys = std::array<std::uint64_t, kMaxEvents>;

    /* The rest of the sort, the first so many events being in order. */
    void sortFrom(MIDIEvent* events, std::size_t count, std::size_t sorted) VELNOR_NONBLOCKING;
    void putStraysBack(MIDIEvent* events, std::size_t count, std::size_t strays) VELNOR_NONBLOCKING;
    void sortByKeys(MIDIEvent* events, std::size_t count) VELNOR_NONBLOCKING;

    Keys mKeys;
    Keys mOtherKeys;
    std::array<MIDIEvent, kMaxEvents> mSorted;
};

} // namespace velnor

#endif
