#include "framework/ParameterMap.h"

#include "framework/ParameterEventSort.h"
#include "testing/Testing.h"

#include <array>
#include <atomic>
#include <random>

namespace velnor::testing {
namespace {

TEST(ParameterMap, ThreadsThatInsertTheSameIdsGetTheSameEvents) {
    for (int round = 0; round < 20; ++round) {
        ParameterMap map;
        std::array<std::vector<ParameterMapEvent*>, 3> events;
        std::atomic<int> waiting{3};
        InThreads(3, [&](int thread) {
            --waiting;
            while (waiting > 0) {
            }
            for (UInt32 id = 0; id < 2000; ++id) {
                events[static_cast<std::size_t>(thread)].push_back(&map.Insert(id << 20, 0));
            }
        });
        EXPECT_EQ(events[0], events[1]);
        EXPECT_EQ(events[0], events[2]);
        EXPECT_EQ(map.Find(1u << 20), events[0][1]);
    }
}

TEST(ParameterMapEvent, RampsEndWithinTheSlice) {
    for (const auto& [start, duration, sliceStart, frames, from, to, slope] :
         Rows<SInt32, UInt32, UInt32, UInt32, Float32, Float32, Float32>{{0, 16, 0, 16, 0, 16, 1},
                                                                         {0, 16, 8, 4, 8, 12, 1},
                                                                         {0, 16, 8, 32, 8, 16, 1},
                                                                         {8, 16, 0, 12, 0, 4, 1},
                                                                         {-8, 16, 0, 4, 8, 12, 1},
                                                                         {0, 0, 0, 4, 16, 16, 0}}) {
        ParameterMapEvent event(7);
        AudioUnitParameterEvent ramp{0, 0, 0, kParameterEvent_Ramped, {}};
        ramp.eventValues.ramp = {start, duration, 0, 16};
        event.SetScheduledEvent(ramp, sliceStart, frames);
        const RampSlice slice = event.GetRampSliceStartEnd();
        EXPECT_EQ(std::tuple(slice.start, slice.end, slice.valuePerFrame),
                  std::tuple(from, to, slope))
            << start << " " << sliceStart << " " << frames;
    }
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
} // namespace velnor::testing
