#include "framework/RenderNotificationList.h"
#include "framework/tests/TestInstrument.h"

namespace velnor {
namespace {

OSStatus Count(void* userData, AudioUnitRenderActionFlags*, const AudioTimeStamp*, UInt32, UInt32,
               AudioBufferList*) {
    ++*static_cast<int*>(userData);
    return noErr;
}

OSStatus CountTen(void* userData, AudioUnitRenderActionFlags* flags, const AudioTimeStamp*, UInt32,
                  UInt32, AudioBufferList*) {
    *static_cast<int*>(userData) += 10;
    *flags = 0; // is not the other callbacks' business
    return noErr;
}

void Notify(RenderNotificationList& list) {
    const AudioTimeStamp time{};
    AudioBufferList data{};
    list.Notify(0, time, 0, 0, data);
}

TEST(RenderNotificationList, AppliesRequestsInTheirOrderAndHoldsAPairOnce) {
    // + adds Count, * adds CountTen, - and / remove them
    for (const auto& [requests, perRender] : Rows<std::string, int>{{"", 0},
                                                                    {"+", 1},
                                                                    {"++", 1},
                                                                    {"+*", 11},
                                                                    {"++-", 0},
                                                                    {"-+", 1},
                                                                    {"+-+", 1},
                                                                    {"+*-*", 10},
                                                                    {"*+/", 1},
                                                                    {"--//", 0}}) {
        RenderNotificationList list;
        int calls = 0;
        for (const char request : requests) {
            const AURenderCallback proc = request == '+' || request == '-' ? Count : CountTen;
            const bool adds = request == '+' || request == '*';
            EXPECT_EQ(adds ? list.Add(proc, &calls) : list.Remove(proc, &calls), noErr);
        }
        Notify(list);
        EXPECT_EQ(calls, 0) << requests << ": not before the render applies it";
        for (int render = 0; render < 2; ++render) {
            list.ApplyChanges();
            Notify(list);
        }
        EXPECT_EQ(calls, 2 * perRender) << requests;
    }
}

TEST(RenderNotificationList, ThreadsChangeItWhileItRendersAndNothingIsLostOrFreedTwice) {
    constexpr int kThreads = 3;
    constexpr int kRounds = 4000;
    RenderNotificationList list;
    std::vector<int> calls(kThreads * 2, 0);
    std::atomic<int> running{kThreads};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            int* const stays = &calls[static_cast<size_t>(2 * t)];
            int* const goes = stays + 1;
            for (int round = 0; round < kRounds; ++round) {
                list.Add(Count, goes);
                list.Add(Count, stays);
                list.Remove(Count, goes);
            }
            --running;
        });
    }
    while (running > 0) {
        list.ApplyChanges();
        Notify(list);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    list.ApplyChanges();
    calls.assign(calls.size(), 0);
    Notify(list);
    EXPECT_EQ(calls, (std::vector<int>{1, 0, 1, 0, 1, 0}));
}

} // namespace
} // namespace velnor
