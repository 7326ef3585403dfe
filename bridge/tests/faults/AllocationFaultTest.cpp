#include "bridge/tests/TestHost.h"
#include "bridge/tests/faults/FailingAllocation.h"
#include "platform/CFDictionary.h"
#include "platform/CFRef.h"
#include "platform/CFString.h"
#include "platform/CarbonView.h"
#include "platform/tests/Values.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace velnor::test {
namespace {

/* Hundreds of homes are made: in memory, where there is a file system in it. */
const bool gInMemory = access("/dev/shm", W_OK) == 0 && setenv("TMPDIR", "/dev/shm", 0) == 0;

/* What a host holds of one instrument. */
struct Session {
    Component components[2] = {};
    AudioUnit unit = nullptr;
    CFRef<CFPropertyListRef> state;
    WindowRef window = nullptr;
    AudioUnitCarbonView view = nullptr;
};

OSStatus save(Session& session) {
    UInt32 size = sizeof(CFPropertyListRef);
    return AudioUnitGetProperty(session.unit, kAudioUnitProperty_ClassInfo, kAudioUnitScope_Global,
                                0, session.state.Out(), &size);
}

OSStatus restore(Session& session) {
    const CFPropertyListRef state = session.state.Get();
    return AudioUnitSetProperty(session.unit, kAudioUnitProperty_ClassInfo, kAudioUnitScope_Global,
                                0, &state, sizeof state);
}

OSStatus show(Session& session) {
    OSStatus status = PlatformOpenComponent(session.components[1], &session.view);
    if (status != noErr)
        return status;
    ControlRef root = nullptr;
    ControlRef pane = nullptr;
    const Float32Point place = {0, 0};
    GetRootControl(session.window, &root);
    status = AudioUnitCarbonViewCreate(session.view, session.unit, session.window, root, &place,
                                       &place, &pane);
    if (status != noErr)
        CloseComponent(session.view);
    return status;
}

const struct {
    const char* name;
    OSStatus (*run)(Session& session);
} kStages[] = {
    {"register",
     [](Session& session) {
         UInt32 count = 0;
         return PlatformRegisterComponentBundle(VELNOR_BUNDLE_DIR "/Velnor.component",
                                                session.components, 2, &count);
     }},
    {"open",
     [](Session& session) {
         return OSStatus{OpenAComponent(session.components[0], &session.unit)};
     }},
    {"initialise", [](Session& session) { return AudioUnitInitialize(session.unit); }},
    {"save", save},
    {"restore", restore},
    {"show", show},
    {"hide", [](Session& session) { return CloseComponent(session.view); }},
    {"uninitialise", [](Session& session) { return AudioUnitUninitialize(session.unit); }},
    {"close", [](Session& session) { return CloseComponent(session.unit); }},
};

bool isClosing(std::size_t stage) {
    return kStages[stage].name == std::string("hide") ||
           kStages[stage].name == std::string("close");
}

/* Runs the stages, the number-th allocation of one of them failing; unless that one succeeds all
 * the same, it is run again. Gives whether there were so many allocations. */
bool runSession(std::size_t failing, long number) {
    const Rect bounds = {0, 0, 100, 100};
    Session session;
    CreateNewWindow(kWindowCompositingAttribute, &bounds, &session.window);
    bool failed = false;
    for (std::size_t i = 0; i < std::size(kStages); ++i) {
        takeCalls();
        if (i == failing) {
            failAllocation(number);
            const OSStatus status = kStages[i].run(session);
            failed = allocationFailed();
            EXPECT_THAT(status, testing::AnyOf(OSStatus{noErr}, OSStatus{memFullErr},
                                               OSStatus{couldNotOpenComponent}));
            EXPECT_TRUE(failed || status == noErr);
            if (status == noErr || isClosing(i))
                continue;
            EXPECT_TRUE(callsOf(kOpSetChunk).empty());
        }
        EXPECT_EQ(kStages[i].run(session), noErr) << kStages[i].name;
    }
    DisposeWindow(session.window);
    EXPECT_TRUE(CFDictionaryContainsKey(static_cast<CFDictionaryRef>(session.state.Get()),
                                        String("OrmoData").Get()));
    return failed;
}

/* In a process of its own: what it did and met is gone with it. */
void runAndExit(std::size_t failing, long number, CFIndex objects) {
    bool failed = true;
    try {
        failed = runSession(failing, number);
    } catch (const std::exception& exception) {
        ADD_FAILURE() << exception.what() << " was thrown";
    }
    EXPECT_EQ(PlatformLiveObjectCount(), objects);
#if defined(__SANITIZE_ADDRESS__)
    EXPECT_EQ(__lsan_do_recoverable_leak_check(), 0);
#endif
    _exit(testing::Test::HasFailure() ? 2 : failed ? 1 : 0);
}

class AllocationFault : public testing::TestWithParam<std::size_t> {};

TEST_P(AllocationFault, OfEveryNumberIsAStatusAndLeavesNothingBehind) {
    {
        TestHost host;
        runSession(GetParam(), 0); /* the engine's bundle then stays for good */
    }
    const CFIndex objects = PlatformLiveObjectCount();
    std::string wrong;
    int status = 0;
    for (long number = 1; number == 1 || status != 0; ++number) {
        TestHost host;
        const pid_t child = fork();
        if (child == 0)
            runAndExit(GetParam(), number, objects);
        ASSERT_EQ(waitpid(child, &status, 0), child);
        if (status != 0 && (!WIFEXITED(status) || WEXITSTATUS(status) != 1))
            wrong += " " + std::to_string(number);
    }
    EXPECT_EQ(wrong, "");
}

INSTANTIATE_TEST_SUITE_P(Stages, AllocationFault,
                         testing::Range(std::size_t{0}, std::size(kStages)),
                         [](const auto& stage) { return kStages[stage.param].name; });

} // namespace
} // namespace velnor::test
