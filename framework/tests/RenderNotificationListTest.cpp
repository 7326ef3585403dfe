#include "framework/RenderNotificationList.h"

#include "framework/tests/OpenInstrument.h"

#include <malloc.h>
#include <numeric>
#include <random>

namespace velnor::testing {
namespace {

OSStatus Count(void* userData, AudioUnitRenderActionFlags*, const AudioTimeStamp*, UInt32, UInt32,
               AudioBufferList*) {
    ++*static_cast<int*>(userData);
    return noErr;
}

std::string gCalled;

// Two callbacks that write down their user data and spoil their flags, which are nobody else's.
template <char kName>
OSStatus Write(void* userData, AudioUnitRenderActionFlags* flags, const AudioTimeStamp*, UInt32,
               UInt32, AudioBufferList*) {
    gCalled += kName + std::to_string(reinterpret_cast<std::uintptr_t>(userData));
    gCalled += std::exchange(*flags, 0) == 5 ? " " : "? ";
    return noErr;
}

void Notify(RenderNotificationList& list) {
    const AudioTimeStamp time{};
    AudioBufferList data{};
    list.Notify(5, time, 0, 0, data);
}

// Random requests, some before each render, against a list of what must be called.
TEST(RenderNotificationList, AppliesRequestsInTheirOrderAndHoldsAPairOnce) {
    RenderNotificationList list;
    std::minstd_rand random(1);
    std::vector<std::string> asked, active;
    std::size_t bytes = 0;
    for (int render = 0; render < 3000; ++render) {
        asked = active;
        for (auto requests = random() % 5; requests > 0; --requests) {
            const bool a = random() % 2 == 0;
            const auto user = random() % 3;
            const AURenderCallback proc = a ? Write<'a'> : Write<'b'>;
            void* const userData = reinterpret_cast<void*>(std::uintptr_t{user});
            const std::string pair = (a ? "a" : "b") + std::to_string(user) + " ";
            const auto found = std::ranges::find(asked, pair);
            if (random() % 2 == 0) {
                EXPECT_EQ(list.Add(proc, userData), noErr);
                if (found == asked.end()) {
                    asked.push_back(pair);
                }
            } else {
                EXPECT_EQ(list.Remove(proc, userData), noErr);
                if (found != asked.end()) {
                    asked.erase(found);
                }
            }
        }
        for (const auto& pairs : {active, asked}) { // not before the render applies it
            Notify(list);
            std::string expected;
            for (const std::string& pair : pairs) {
                expected += pair;
            }
            ASSERT_EQ(std::exchange(gCalled, {}), expected) << render;
            list.ApplyChanges();
        }
        active = asked;
        bytes = render == 300 ? mallinfo2().uordblks : bytes;
    }
    EXPECT_LE(mallinfo2().uordblks, bytes + 2000) << "spent nodes serve again";
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
} // namespace velnor::testing
