#include "framework/RenderNotificationList.h"
#include "framework/tests/TestInstrument.h"

#include <numeric>

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
    constexpr std::size_t kRounds = 20000;
    RenderNotificationList list;
    std::vector<std::vector<int>> calls(kThreads, std::vector<int>(kRounds));
    std::atomic<int> running{kThreads};
    InThreads(kThreads + 1, [&](int thread) {
        if (thread == kThreads) {
            while (running > 0) {
                list.ApplyChanges();
                Notify(list);
            }
            return;
        }
        int* const own = calls[static_cast<std::size_t>(thread)].data();
        list.Add(Count, own);
        for (int* next = own + 1; next < own + kRounds; ++next) {
            list.Add(Count, next);
            list.Remove(Count, next - 1);
        }
        --running;
    });
    for (std::vector<int>& own : calls) {
        std::ranges::fill(own, 0);
    }
    list.ApplyChanges();
    Notify(list);
    for (const std::vector<int>& own : calls) {
        EXPECT_EQ(own.back(), 1);
        EXPECT_EQ(std::accumulate(own.begin(), own.end(), 0), 1) << "no removal is lost";
    }
}

} // namespace
} // namespace velnor
