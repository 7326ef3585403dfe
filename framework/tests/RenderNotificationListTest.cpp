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

} // namespace
} // namespace velnor
