#include "bridge/EventSorter.h"
#include "platform/tests/Testing.h"

#include <cstring>
#include <memory>
#include <random>

namespace velnor::test {
namespace {

using Events = std::vector<MIDIEvent>;

/* Each event carries its place of arrival, so that a swap of equal offsets shows. */
Events eventsAt(const std::vector<std::int32_t>& offsets) {
    Events events(offsets.size());
    for (std::size_t i = 0; i < offsets.size(); ++i) {
        events[i].offset = offsets[i];
        events[i].unused[0] = static_cast<std::uint8_t>(i >> 8);
        events[i].unused[1] = static_cast<std::uint8_t>(i);
    }
    return events;
}

void expectStableOrder(const Events& events) {
    static const auto sorter = std::make_unique<EventSorter>();
    Events expected = events;
    std::ranges::stable_sort(expected, {}, &MIDIEvent::offset);
    Events sorted = events;
    sorter->sort(sorted.data(), sorted.size());
    ASSERT_EQ(std::memcmp(sorted.data(), expected.data(), sorted.size() * sizeof(MIDIEvent)), 0)
        << sorted.size();
}

TEST(EventSorter, OffsetsCompareAsSignedNumbers) {
    expectStableOrder(eventsAt({1, -1, INT32_MAX, INT32_MIN, 0}));
    std::vector<std::int32_t> many;
    for (int i = 0; i < 100; ++i)
        many.push_back(i % 2 != 0 ? INT32_MIN + i : INT32_MAX - i);
    expectStableOrder(eventsAt(many));
}

/* Random lengths, ranges of offsets and kinds of disorder; every way through the sorter is taken.
 */
TEST(EventSorter, EveryKindOfDisorderEndsInStableOrder) {
    std::mt19937 random(1);
    const auto upTo = [&random](std::size_t limit) { return random() % limit; };
    for (int round = 0; round < 4000; ++round) {
        const std::size_t count = 1 + upTo(round % 20 == 0 ? 1023 : 120);
        const std::uint64_t range = std::uint64_t{1} << (1 + upTo(32));
        std::vector<std::int32_t> offsets(count);
        for (std::int32_t& offset : offsets)
            offset = static_cast<std::int32_t>(random() % range);
        const std::size_t kind = upTo(5);
        if (kind > 0)
            std::sort(offsets.begin(), offsets.end());
        if (kind == 2)
            std::reverse(offsets.begin(), offsets.end());
        if (kind == 3)
            std::rotate(offsets.begin(), offsets.begin() + static_cast<long>(upTo(count)),
                        offsets.end());
        for (std::size_t swaps = kind == 4 ? 1 + count / 50 : 0; swaps > 0; --swaps)
            std::swap(offsets[upTo(count)], offsets[upTo(count)]);
        ASSERT_NO_FATAL_FAILURE(expectStableOrder(eventsAt(offsets)));
    }
}

} // namespace
} // namespace velnor::test
