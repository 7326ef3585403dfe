#include "bridge/MidiRing.h"
#include "platform/tests/Testing.h"

#include <memory>

namespace velnor::test {
namespace {

std::vector<std::int32_t> takeOffsets(MidiRing& ring) {
    std::vector<std::int32_t> offsets;
    offsets.reserve(MidiRing::kSlots); // taking does not block
    ring.take([&](const MIDIEvent& event) { offsets.push_back(event.offset); });
    return offsets;
}

/* From every starting place around the ring, and again after a reset in the middle of it. */
TEST(MidiRing, Holds1023MessagesAndRefusesThe1024th) {
    const auto ring = std::make_unique<MidiRing>();
    for (int start = 0; start < MidiRing::kSlots; start += 93) {
        for (std::int32_t i = 0; i < MidiRing::kCapacity; ++i)
            ASSERT_TRUE(ring->push(0x90, 1, 2, i)) << start;
        ASSERT_FALSE(ring->push(0x90, 1, 2, 9999)) << start;
        const auto offsets = takeOffsets(*ring);
        ASSERT_EQ(offsets.size(), std::size_t{MidiRing::kCapacity});
        ASSERT_EQ(offsets.front(), 0);
        ASSERT_EQ(offsets.back(), MidiRing::kCapacity - 1);
        for (int i = 0; i < 93; ++i)
            ring->push(0x90, 1, 2, i);
        if (start % 2 == 0)
            takeOffsets(*ring);
        else
            ring->reset();
        ASSERT_TRUE(takeOffsets(*ring).empty());
    }
}

TEST(MidiRing, OneMillionMessagesArriveOnceAndInOrder) {
    constexpr std::int32_t kMessages = 1000000;
    const auto ring = std::make_unique<MidiRing>();
    std::thread producer([&ring] {
        for (std::int32_t i = 0; i < kMessages;) {
            if (ring->push(static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(i >> 8),
                           static_cast<std::uint8_t>(i >> 16), i))
                ++i;
            else
                std::this_thread::yield();
        }
    });
    std::int32_t expected = 0;
    std::int32_t wrong = 0;
    while (expected < kMessages) {
        const std::int32_t before = expected;
        ring->take([&](const MIDIEvent& event) {
            const std::int32_t bytes = event.data[0] | event.data[1] << 8 | event.data[2] << 16;
            wrong += event.offset != expected || bytes != expected || event.data[3] != 0;
            ++expected;
        });
        if (expected == before)
            std::this_thread::yield();
    }
    producer.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(takeOffsets(*ring).empty());
}

} // namespace
} // namespace velnor::test
