#include "bridge/EventSorter.h"

#include <algorithm>
#include <bit>
#include <numeric>
#include <utility>

namespace velnor {

namespace {

constexpr unsigned kMaxDigitBits = 8;
constexpr unsigned kOffsetShift = 32;
constexpr std::size_t kFewEvents = 16;
/* Strays are worth their handling while there is at most one for so many events. */
constexpr std::size_t kEventsPerStray = 16;
/* Events in a row that may turn out to have come before their time. */
constexpr std::size_t kMostEarly = 4;

/* For few events: plain insertion. The events before first are in order. */
void insertEach(MIDIEvent* events, std::size_t count, std::size_t first) VELNOR_NONBLOCKING {
    for (std::size_t i = first; i < count; ++i) {
        if (!midiSort(events[i], events[i - 1]))
            continue;
        const MIDIEvent event = events[i];
        std::size_t place = i;
        do {
            events[place] = events[place - 1];
            --place;
        } while (place > 0 && midiSort(event, events[place - 1]));
        events[place] = event;
    }
}

/* Ascending keys are ascending offsets, and equal offsets in ascending index. */
std::uint64_t keyOf(const MIDIEvent& event, std::size_t index) VELNOR_NONBLOCKING {
    const std::uint32_t biased = static_cast<std::uint32_t>(event.offset) ^ 0x80000000U;
    return std::uint64_t{biased} << kOffsetShift | index;
}

std::size_t indexOf(std::uint64_t key) VELNOR_NONBLOCKING {
    return static_cast<std::uint32_t>(key);
}

/* Whether the events from here on speak for the event at i and against the last depth events that
 * were kept before it, all of them higher: each of depth events belongs where it stands. */
bool continues(const MIDIEvent* events, std::size_t count, std::size_t i, std::size_t depth,
               const MIDIEvent& highest) VELNOR_NONBLOCKING {
    for (std::size_t next = i + 1; next < i + depth; ++next) {
        if (next >= count || midiSort(events[next], events[next - 1]) ||
            !midiSort(events[next], highest))
            return false;
    }
    return true;
}

/* Walks the events and keeps the indices of those in order, swapping neighbours that are each
 * other's only trouble. An event that is lower than those kept before it either sends a few of them
 * away, when they came before their time, or is a stray itself. Writes the strays' keys. The events
 * before first are in order. Returns how many strays, or more than most when it gives up. */
std::size_t findStrays(MIDIEvent* events, std::size_t count, std::size_t first, std::size_t most,
                       std::uint64_t* keys, std::uint64_t* kept) VELNOR_NONBLOCKING {
    std::iota(kept, kept + first, std::uint64_t{0});
    std::size_t strays = 0;
    std::size_t length = first;
    for (std::size_t i = first; i < count && strays <= most; ++i) {
        const std::size_t last = indexOf(kept[length - 1]);
        if (!midiSort(events[i], events[last])) {
            kept[length++] = i;
            continue;
        }
        std::size_t depth = 1;
        while (depth < length && depth <= kMostEarly &&
               midiSort(events[i], events[indexOf(kept[length - 1 - depth])]))
            ++depth;
        if (depth > kMostEarly || !continues(events, count, i, depth, events[last])) {
            keys[strays++] = keyOf(events[i], i);
        } else if (depth == 1 && last + 1 == i &&
                   (i + 1 == count || !midiSort(events[i + 1], events[last]))) {
            std::swap(events[last], events[i]);
            kept[length++] = i;
        } else {
            for (; depth > 0; --depth) {
                const std::size_t early = indexOf(kept[--length]);
                keys[strays++] = keyOf(events[early], early);
            }
            kept[length++] = i;
        }
    }
    return strays;
}

/* Closes the gaps that the strays leave, and returns how many events stay. Strays are named by
 * index, ascending. */
std::size_t closeGaps(MIDIEvent* events, std::size_t count, const std::uint64_t* strays,
                      std::size_t number) VELNOR_NONBLOCKING {
    MIDIEvent* to = events + indexOf(strays[0]);
    for (std::size_t stray = 0; stray < number; ++stray) {
        const std::size_t end = stray + 1 < number ? indexOf(strays[stray + 1]) : count;
        to = std::copy(events + indexOf(strays[stray]) + 1, events + end, to);
    }
    return count - number;
}

/* Where a stray belongs among the events that stay, given where those begin that came after it. */
MIDIEvent* placeFor(const MIDIEvent& stray, MIDIEvent* later, MIDIEvent* first,
                    MIDIEvent* last) VELNOR_NONBLOCKING {
    MIDIEvent* notBefore = std::lower_bound(first, last, stray, midiSort);
    MIDIEvent* behind = std::upper_bound(notBefore, last, stray, midiSort);
    return std::clamp(later, notBefore, behind);
}

/* One pass of a radix sort, by the digit of so many bits at shift. */
void distribute(const std::uint64_t* keys, std::size_t count, unsigned shift, unsigned bits,
                std::uint64_t* sorted) VELNOR_NONBLOCKING {
    std::array<std::uint32_t, std::size_t{1} << kMaxDigitBits> place;
    const std::size_t digits = std::size_t{1} << bits;
    const auto digit = [=](std::uint64_t key) {
        return static_cast<std::size_t>(key >> shift) & (digits - 1);
    };
    std::fill_n(place.begin(), digits, 0U);
    for (std::size_t i = 0; i < count; ++i)
        ++place[digit(keys[i])];
    std::uint32_t total = 0;
    for (std::size_t i = 0; i < digits; ++i)
        total += std::exchange(place[i], total);
    for (std::size_t i = 0; i < count; ++i)
        sorted[place[digit(keys[i])]++] = keys[i];
}

} // namespace

void EventSorter::sortFrom(MIDIEvent* events, std::size_t count,
                           std::size_t sorted) VELNOR_NONBLOCKING {
    if (count <= kFewEvents) {
        insertEach(events, count, sorted);
        return;
    }
    const std::size_t most = count / kEventsPerStray;
    const std::size_t strays =
        findStrays(events, count, sorted, most, mKeys.data(), mOtherKeys.data());
    if (strays > most)
        sortByKeys(events, count);
    else if (strays > 0)
        putStraysBack(events, count, strays);
}

void EventSorter::putStraysBack(MIDIEvent* events, std::size_t count,
                                std::size_t strays) VELNOR_NONBLOCKING {
    std::uint64_t* indices = mOtherKeys.data();
    std::sort(mKeys.data(), mKeys.data() + strays);
    for (std::size_t i = 0; i < strays; ++i) {
        indices[i] = indexOf(mKeys[i]);
        mSorted[i] = events[indexOf(mKeys[i])];
    }
    std::sort(indices, indices + strays);
    MIDIEvent* end = events + closeGaps(events, count, indices, strays);
    for (std::size_t left = strays; left > 0; --left) {
        const std::uint64_t index = indexOf(mKeys[left - 1]);
        const auto before = std::lower_bound(indices, indices + strays, index) - indices;
        MIDIEvent* place = placeFor(mSorted[left - 1], events + index - before, events, end);
        std::move_backward(place, end, end + left);
        place[left - 1] = mSorted[left - 1];
        end = place;
    }
}

void EventSorter::sortByKeys(MIDIEvent* events, std::size_t count) VELNOR_NONBLOCKING {
    std::uint64_t* keys = mKeys.data();
    std::uint64_t* other = mOtherKeys.data();
    std::uint64_t differing = 0;
    for (std::size_t i = 0; i < count; ++i) {
        keys[i] = keyOf(events[i], i);
        differing |= keys[i] ^ keys[0];
    }
    const auto offsetBits = static_cast<std::uint32_t>(differing >> kOffsetShift);
    const auto lowest = static_cast<unsigned>(std::countr_zero(offsetBits));
    const auto width = static_cast<unsigned>(std::bit_width(offsetBits)) - lowest;
    const unsigned passes = (width + kMaxDigitBits - 1) / kMaxDigitBits;
    const unsigned digit = (width + passes - 1) / passes;
    for (unsigned pass = 0; pass < passes; ++pass) {
        distribute(keys, count, kOffsetShift + lowest + pass * digit, digit, other);
        std::swap(keys, other);
    }
    for (std::size_t i = 0; i < count; ++i)
        mSorted[i] = events[indexOf(keys[i])];
    std::copy_n(mSorted.begin(), count, events);
}

} // namespace velnor
