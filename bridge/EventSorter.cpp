#include "bridge/EventSorter.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <utility>

namespace velnor {

namespace {

constexpr unsigned kMaxDigitBits = 8;
constexpr unsigned kOffsetShift = 32;
constexpr std::size_t kFewEvents = 16;
/* Strays are worth their handling while there is at most one for so many events. */
constexpr std::size_t kEventsPerStray = 16;

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

/* The event that a stray's key names; whether it comes before its time rather than too late. */
std::size_t strayIndex(std::uint64_t key) VELNOR_NONBLOCKING {
    return indexOf(key) >> 1;
}
bool strayIsEarly(std::uint64_t key) VELNOR_NONBLOCKING {
    return (key & 1) != 0;
}
std::uint64_t strayKey(const MIDIEvent* events, std::size_t index, bool early) VELNOR_NONBLOCKING {
    return keyOf(events[index], index << 1 | (early ? 1 : 0));
}

/* Walks the events and keeps those in order: swaps neighbours that are each other's only trouble,
 * and writes the keys of the events that are out of place by more. One that is lower than the one
 * before it is a late stray, unless it fits behind the one before that, which makes the one before
 * it the stray, an early one. The events before first are in order. Returns how many strays, or
 * most + 1 when there are more. */
std::size_t findStrays(MIDIEvent* events, std::size_t count, std::uint64_t* keys, std::size_t first,
                       std::size_t most) VELNOR_NONBLOCKING {
    constexpr std::int64_t kNothing = std::numeric_limits<std::int64_t>::min();
    std::size_t strays = 0;
    std::size_t last = first - 1;
    std::int64_t before = last == 0 ? kNothing : events[last - 1].offset;
    for (std::size_t i = first; i < count; ++i) {
        const std::int32_t highest = events[last].offset;
        if (events[i].offset >= highest) {
            before = highest;
            last = i;
            continue;
        }
        if (events[i].offset < before) {
            keys[strays++] = strayKey(events, i, false);
        } else if (last + 1 == i && (i + 1 == count || events[i + 1].offset >= highest)) {
            std::swap(events[last], events[i]);
            before = events[last].offset;
            last = i;
        } else {
            keys[strays++] = strayKey(events, last, true);
            last = i;
        }
        if (strays > most)
            break;
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

/* Where a stray belongs among the events that stay. Those of its own offset are all before it when
 * it is late, all after it when it is early. */
MIDIEvent* placeFor(const MIDIEvent& stray, bool early, MIDIEvent* first,
                    MIDIEvent* last) VELNOR_NONBLOCKING {
    return early ? std::lower_bound(first, last, stray, midiSort)
                 : std::upper_bound(first, last, stray, midiSort);
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
    const std::size_t strays = findStrays(events, count, mKeys.data(), sorted, most);
    if (strays > most)
        sortByKeys(events, count);
    else if (strays > 0)
        putStraysBack(events, count, strays);
}

void EventSorter::putStraysBack(MIDIEvent* events, std::size_t count,
                                std::size_t strays) VELNOR_NONBLOCKING {
    std::sort(mKeys.begin(), mKeys.begin() + static_cast<std::ptrdiff_t>(strays));
    for (std::size_t i = 0; i < strays; ++i) {
        mOtherKeys[i] = strayIndex(mKeys[i]);
        mSorted[i] = events[mOtherKeys[i]];
    }
    std::sort(mOtherKeys.begin(), mOtherKeys.begin() + static_cast<std::ptrdiff_t>(strays));
    MIDIEvent* end = events + closeGaps(events, count, mOtherKeys.data(), strays);
    for (std::size_t left = strays; left > 0; --left) {
        const MIDIEvent& stray = mSorted[left - 1];
        MIDIEvent* place = placeFor(stray, strayIsEarly(mKeys[left - 1]), events, end);
        std::move_backward(place, end, end + left);
        place[left - 1] = stray;
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
