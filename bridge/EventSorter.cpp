#include "bridge/EventSorter.h"

#include <algorithm>

namespace velnor {

namespace {

// How far insertion moves an event; so many events are a run to merge.
constexpr std::size_t kNear = 8;

// Inserts each event among those before it. Gives up, false, at one that belongs farther away than
// kNear; of kNear events none does.
bool insertEach(MIDIEvent* first, MIDIEvent* last) VELNOR_NONBLOCKING {
    constexpr auto kFar = static_cast<std::ptrdiff_t>(kNear + 1);
    for (MIDIEvent* next = first + 1; next < last; ++next) {
        if (!midiSort(*next, next[-1])) {
            continue;
        }
        if (next - first >= kFar && midiSort(*next, next[-kFar])) {
            return false;
        }
        const MIDIEvent event = *next;
        MIDIEvent* place = next;
        do {
            *place = place[-1];
            --place;
        } while (place > first && midiSort(event, place[-1]));
        *place = event;
    }
    return true;
}

// A loop of its own: what std::copy calls takes twice as long where scratch and events lie alike
// within their pages.
MIDIEvent* copyEach(const MIDIEvent* first, const MIDIEvent* last,
                    MIDIEvent* to) VELNOR_NONBLOCKING {
    for (; first != last; ++first, ++to) {
        *to = *first;
    }
    return to;
}

// Two runs in order become one, by way of a copy of the first. What of it already stands before the
// second stays where it is.
void mergeRuns(MIDIEvent* first, MIDIEvent* middle, MIDIEvent* last,
               MIDIEvent* scratch) VELNOR_NONBLOCKING {
    if (!midiSort(*middle, middle[-1])) {
        return;
    }
    MIDIEvent* to = std::upper_bound(first, middle, *middle, midiSort);
    const MIDIEvent* left = scratch;
    const MIDIEvent* const leftEnd = copyEach(to, middle, scratch);
    const MIDIEvent* right = middle;
    while (left != leftEnd && right != last) {
        *to++ = midiSort(*right, *left) ? *right++ : *left++;
    }
    copyEach(left, leftEnd, to);
}

} // namespace

void EventSorter::sort(MIDIEvent* events, std::size_t count) VELNOR_NONBLOCKING {
    if (count < 2 || insertEach(events, events + count)) {
        return;
    }
    const auto at = [=](std::size_t index) { return events + std::min(index, count); };
    for (std::size_t i = 0; i < count; i += kNear) {
        insertEach(at(i), at(i + kNear));
    }
    for (std::size_t run = kNear; run < count; run *= 2) {
        for (std::size_t i = 0; i + run < count; i += 2 * run) {
            mergeRuns(at(i), at(i + run), at(i + 2 * run), mScratch.data());
        }
    }
}

} // namespace velnor
