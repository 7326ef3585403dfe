#include "bridge/EventSorter.h"

#include "testing/Testing.h"

#include <cstring>
#include <memory>
#include <random>
#include <span>
#include <tuple>

namespace velnor::testing {
namespace {

// Blocks that are in order, reversed or at random, each up to some place in them.
TEST(EventSorter, EveryKindOfDisorderEndsInStableOrder) {
    const auto sorter = std::make_unique<EventSorter>();
    std::mt19937 random(1);
    for (int round = 0; round < 4000; ++round) {
        std::vector<MIDIEvent> events(1 + random() % (round % 20 == 0 ? 1023 : 120));
        const std::uint64_t range = std::uint64_t{1} << (1 + random() % 32);
        for (MIDIEvent& event : events) {
            event.offset = static_cast<std::int32_t>(random() % range);
        }
        const std::span ordered(events.data(), random() % (events.size() + 1));
        std::ranges::sort(ordered, {}, &MIDIEvent::offset);
        if (round % 3 == 0) {
            std::ranges::reverse(ordered);
        }
        for (std::size_t i = 0; i < events.size(); ++i) { // so that a swap of equal offsets shows
            events[i].unused[0] = static_cast<std::uint8_t>(i >> 8);
            events[i].unused[1] = static_cast<std::uint8_t>(i);
        }
        std::vector<MIDIEvent> expected = events;
        std::ranges::sort(expected, {}, [](const MIDIEvent& event) {
            return std::tuple(event.offset, event.unused[0], event.unused[1]);
        });
        sorter->sort(events.data(), events.size());
        ASSERT_EQ(std::memcmp(events.data(), expected.data(), std::span(events).size_bytes()), 0)
            << events.size() << " in round " << round;
    }
}

} // namespace
} // namespace velnor::testing
