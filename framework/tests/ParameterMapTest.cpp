#include "framework/ParameterMap.h"
#include "framework/ParameterEventSort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <thread>
#include <vector>

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
    auto sorted = ids;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(map.Ids(), sorted);
    EXPECT_EQ(map.Find(2), nullptr);
}

TEST(ParameterMap, ThreadsInsertTheSameIdsWhileOthersRead) {
    ParameterMap map;
    constexpr AudioUnitParameterID kIds = 2000;
    constexpr AudioUnitParameterID kSpread = 2654435761u;
    const auto insertAll = [&] {
        for (AudioUnitParameterID i = 0; i < kIds; ++i) {
            map.Insert(i * kSpread, 0.5f).SetValue(0.5f);
        }
    };
    std::thread first(insertAll);
    std::thread second(insertAll);
    for (AudioUnitParameterID i = 0; i < kIds; ++i) {
        const ParameterMapEvent* const event = map.Find(i * kSpread);
        EXPECT_TRUE(event == nullptr || event->GetValue() == 0.5f);
    }
    first.join();
    second.join();
    EXPECT_EQ(map.Ids().size(), kIds);
}

AudioUnitParameterEvent Ramp(SInt32 start, UInt32 duration, Float32 from, Float32 to) {
    AudioUnitParameterEvent event{};
    event.eventType = kParameterEvent_Ramped;
    event.eventValues.ramp = {start, duration, from, to};
    return event;
}

TEST(ParameterMapEvent, RampGivesItsValuesWithinTheSlice) {
    struct Case {
        AudioUnitParameterEvent event;
        UInt32 sliceStart, sliceFrames;
        Float32 start, end, perFrame;
    };
    for (const Case& c : {Case{Ramp(0, 100, 0, 1), 0, 50, 0, 0.5f, 0.01f},
                          {Ramp(0, 100, 0, 1), 50, 50, 0.5f, 1, 0.01f},
                          {Ramp(-50, 100, 0, 1), 0, 25, 0.5f, 0.75f, 0.01f},
                          {Ramp(10, 0, 3, 4), 10, 5, 4, 4, 0},
                          {Ramp(INT32_MIN, UINT32_MAX, 0, 1), 0, 1, 0.5f, 0.5f, 0}}) {
        ParameterMapEvent event;
        event.SetScheduledEvent(c.event, c.sliceStart, c.sliceFrames);
        const RampSlice slice = event.GetRampSliceStartEnd();
        EXPECT_FLOAT_EQ(slice.start, c.start);
        EXPECT_FLOAT_EQ(slice.end, c.end);
        EXPECT_NEAR(slice.valuePerFrame, c.perFrame, 1e-6);
        event.SetValue(0.25f);
        EXPECT_EQ(event.GetRampSliceStartEnd().end, 0.25f);
        EXPECT_EQ(event.GetEventType(), UInt32{kParameterEvent_Immediate});
        EXPECT_EQ(event.GetSliceFrames(), c.sliceFrames) << "set leaves the other fields";
    }
}

TEST(ParameterEventSort, OrdersByStartAndKeepsTheOrderOfEqualOnes) {
    std::minstd_rand random(1);
    for (const UInt32 count : {0u, 1u, 2u, 3u, 24u, 1000u}) {
        std::vector<AudioUnitParameterEvent> events;
        for (UInt32 i = 0; i < count; ++i) {
            events.push_back(Ramp(static_cast<SInt32>(random() % 50) - 25, i, 0, 0));
        }
        SortByStart(events.data(), events.data() + events.size());
        EXPECT_TRUE(std::is_sorted(events.begin(), events.end(), [](auto& a, auto& b) {
            const auto key = [](auto& e) {
                return std::pair(StartOf(e), e.eventValues.ramp.durationInFrames);
            };
            return key(a) < key(b);
        })) << count;
    }
}

} // namespace
} // namespace velnor
