#include "framework/ParameterMap.h"
#include "framework/ParameterEventSort.h"
#include "platform/tests/Testing.h"

#include <random>

namespace velnor {
namespace {

TEST(ParameterMap, FindsWhatWasInsertedAndListsItInAscendingOrder) {
    ParameterMap map;
    const std::vector<AudioUnitParameterID> ids = {5, 0, 0xFFFFFFFF, 0x80000000, 4, 0x7FFFFFFF, 1};
    for (const AudioUnitParameterID id : ids) {
        EXPECT_EQ(map.Find(id), nullptr);
        ParameterMapEvent& event = map.Insert(id, static_cast<Float32>(id));
        EXPECT_EQ(&map.Insert(id, -1), &event);
        EXPECT_EQ(map.Find(id), &event);
        EXPECT_EQ(event.GetValue(), static_cast<Float32>(id));
    }
    EXPECT_THAT(map.Ids(), testing::ElementsAre(0, 1, 4, 5, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF));
    EXPECT_EQ(map.Find(2), nullptr);
}

TEST(ParameterEventSort, OrdersByStartAndKeepsTheOrderOfEqualOnes) {
    std::minstd_rand random(1);
    for (const UInt32 count : {0u, 1u, 2u, 3u, 24u, 1000u}) {
        std::vector<AudioUnitParameterEvent> events;
        for (UInt32 i = 0; i < count; ++i) {
            AudioUnitParameterEvent event{0, 0, 0, kParameterEvent_Ramped, {}};
            event.eventValues.ramp = {static_cast<SInt32>(random() % 50) - 25, i, 0, 0};
            events.push_back(event);
        }
        SortByStart(events.data(), events.data() + events.size());
        EXPECT_TRUE(std::ranges::is_sorted(events, {}, [](const AudioUnitParameterEvent& event) {
            return std::pair(StartOf(event), event.eventValues.ramp.durationInFrames);
        })) << count;
    }
}

} // namespace
} // namespace velnor
