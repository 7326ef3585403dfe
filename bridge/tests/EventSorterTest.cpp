#include "bridge/EventSorter.h"

#include "testing/Testing.h"

#include <cstring>
#include <memory>
#include <random>

namespace velnor::testing {
namespace {

// Random lengths, ranges of offsets (negative ones among them) and kinds of disorder; every way
// through the sorter is taken.
TEST(EventSorter, EveryKindOfDisorderEndsInStableOrder) {
    const auto sorter = std::make_unique<EventSorter>();
    std::mt19937 random(1);
    const auto upTo = [&random](std::size_t limit) { return random() % limit; };
    for (int round = 0; round < 4000; ++round) {
        const std::size_t count = 1 + upTo(round % 20 == 0 ? 1023 : 120);
        const std::uint64_t range = std::uint64_t{1} << (1 + upTo(32));
        std::vector<MIDIEvent> events(count);
        for (MIDIEvent& event : events) {
            event.offset = static_cast<std::int32_t>(random() % range);
        }
        const std::size_t kind = upTo(5);
        if (kind > 0) {
            std::ranges::sort(events, {}, &MIDIEvent::offset);
        }
        if (kind == 2) {
            std::ranges::reverse(events);
        }
        if (kind == 3) {
            std::ranges::rotate(events, events.begin() + static_cast<long>(upTo(count)));
        }
        for (std::size_t swaps = kind == 4 ? 1 + count / 50 : 0; swaps > 0; --swaps) {
            std::swap(events[upTo(count)], events[upTo(count)]);
        }
        for (std::size_t i = 0; i < count; ++i) { // so that a swap of equal offsets shows
            events[i].unused[0] = static_cast<std::uint8_t>(i >> 8);
            events[i].unused[1] = static_cast<std::uint8_t>(i);
        }
        std::vector<MIDIEvent> expected = events;
        std::ranges::sort(expected, {}, [](const MIDIEvent& event) {
            return std::tuple(event.offset, event.unused[0], event.unused[1]);
        });
        sorter->sort(events.data(), count);
        ASSERT_EQ(std::memcmp(events.data(), expected.data(), count * sizeof(MIDIEvent)), 0)
            << count << " in round " << round;
    }
}

} // namespace
} // namespace velnor::testing
