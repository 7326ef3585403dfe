#include "bridge/tests/faults/FailingAllocation.h"
#include "platform/CFDictionary.h"
#include "platform/CFRef.h"
#include "platform/EventLoop.h"
#include "testing/HostWindow.h"
#include "testing/TestHost.h"
#include "testing/Values.h"

#include <functional>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace velnor::testing {
namespace {

// Hundreds of homes are made: in memory, where there is a file system in it.
const bool gInMemory = access("/dev/shm", W_OK) == 0 && setenv("TMPDIR", "/dev/shm", 0) == 0;

constexpr UInt32 kFrames = 16;

// What a host holds of one instrument.
struct Session {
    Component components[2] = {};
    AudioUnit unit = nullptr;
    CFRef<CFPropertyListRef> state;
    Float64 sampleTime = 0;
    HostWindow window;
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
    const OSStatus status = session.window.Show(session.components[1], session.unit);
    if (status != noErr) {
        session.window.CloseView();
    }
    return status;
}

OSStatus render(Session& session) {
    float samples[2][kFrames] = {};
    struct {
        AudioBufferList list;
        AudioBuffer second;
    } buffers = {{2, {{1, sizeof samples[0], samples[0]}}}, {1, sizeof samples[1], samples[1]}};
    AudioUnitRenderActionFlags flags = 0;
    AudioTimeStamp time = {};
    time.mSampleTime = session.sampleTime++;
    time.mFlags = kAudioTimeStampSampleTimeValid;
    const OSStatus status = AudioUnitRender(session.unit, &flags, &time, 0, kFrames, &buffers.list);
    EXPECT_TRUE(status != noErr || samples[1][3] == probe::patternSample(1, 3));
    return status;
}

const struct {
    const char* name;
    OSStatus (*run)(Session& session);
    bool closes = false; // it does so whatever it answers
    int least = 0;       // allocations by operator new; the loader and the buffers use malloc
    bool usesMalloc = false;
} kStages[] = {
    {"register",
     [](Session& session) {
         UInt32 count = 0;
         return PlatformRegisterComponentBundle(VELNOR_BUNDLE_DIR "/Velnor.component",
                                                session.components, 2, &count);
     },
     false, 10},
    {"open",
     [](Session& session) {
         return OSStatus{OpenAComponent(session.components[0], &session.unit)};
     },
     false, 10, true},
    {"initialise", [](Session& session) { return AudioUnitInitialize(session.unit); }, false, 1,
     true},
    {"save", save, false, 10},
    {"restore", restore, false, 1},
    {"vendor",
     [](Session& session) {
         UInt32 value = 0;
         return AudioUnitSetProperty(session.unit, 70000, kAudioUnitScope_Global, 0, &value,
                                     sizeof value);
     }},
    {"render", render},
    {"reset",
     [](Session& session) { return AudioUnitReset(session.unit, kAudioUnitScope_Global, 0); }},
    {"show", show, false, 5},
    {"idle",
     [](Session&) {
         PlatformAdvanceEventLoop(2);
         return OSStatus{noErr};
     }},
    {"hide", [](Session& session) { return session.window.CloseView(); }, true},
    {"uninitialise", [](Session& session) { return AudioUnitUninitialize(session.unit); }},
    {"close", [](Session& session) { return CloseComponent(session.unit); }, true},
};

using Attempt = std::function<OSStatus(std::size_t stage, Session& session)>;

// Attempts the stages; one that fails is run again, and works then.
void runSession(const Attempt& attempt) {
    Session session;
    for (std::size_t stage = 0; stage < std::size(kStages); ++stage) {
        takeCalls();
        if (attempt(stage, session) == noErr || kStages[stage].closes) {
            continue;
        }
        EXPECT_TRUE(callsOf(kOpSetChunk).empty()) << kStages[stage].name;
        EXPECT_EQ(kStages[stage].run(session), noErr) << kStages[stage].name;
    }
    EXPECT_TRUE(CFDictionaryContainsKey(static_cast<CFDictionaryRef>(session.state.Get()),
                                        String("OrmoData").Get()));
}

// Which allocation failed in the stage; kNone: it makes no so many.
FailedAllocation runShortOfMemory(std::size_t failing, long number) {
    FailedAllocation failed = FailedAllocation::kNone;
    runSession([&](std::size_t stage, Session& session) {
        if (stage == failing) {
            failAllocation(number);
        }
        const OSStatus status = kStages[stage].run(session);
        if (stage == failing) {
            failed = failedAllocation();
        }
        EXPECT_TRUE(status == noErr || (stage == failing && failed != FailedAllocation::kNone &&
                                        (status == memFullErr || status == couldNotOpenComponent)))
            << status;
        return status;
    });
    return failed;
}

constexpr int kWentWrong = 99;

// In a process of its own: what it did and met is gone with it.
void runAndExit(std::size_t failing, long number, CFIndex objects) {
    auto failed = FailedAllocation::kNone;
    try {
        failed = runShortOfMemory(failing, number);
    } catch (const std::exception& exception) {
        ADD_FAILURE() << exception.what() << " was thrown";
    }
    EXPECT_EQ(PlatformLiveObjectCount(), objects);
#if defined(__SANITIZE_ADDRESS__)
    EXPECT_EQ(__lsan_do_recoverable_leak_check(), 0);
#endif
    _exit(::testing::Test::HasFailure() ? kWentWrong : static_cast<int>(failed));
}

// What is alive after a session; the engine's bundle then stays for good.
CFIndex objectsAfterASession() {
    TestHost host;
    runSession([](std::size_t stage, Session& session) { return kStages[stage].run(session); });
    return PlatformLiveObjectCount();
}

class AllocationFault : public ::testing::TestWithParam<std::size_t> {};

TEST_P(AllocationFault, OfEveryNumberIsAStatusAndLeavesNothingBehind) {
    const CFIndex objects = objectsAfterASession();
    int byNew = 0, byMalloc = 0;
    std::string wrong;
    for (long number = 1; wrong.size() < 100; ++number) {
        TestHost host;
        const pid_t child = fork();
        if (child == 0) {
            runAndExit(GetParam(), number, objects);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        const auto failed = FailedAllocation{WIFEXITED(status) ? WEXITSTATUS(status) : kWentWrong};
        if (failed == FailedAllocation::kNone) {
            break;
        }
        byNew += failed == FailedAllocation::kByNew;
        byMalloc += failed == FailedAllocation::kByMalloc;
        if (failed > FailedAllocation::kByMalloc) {
            wrong += " " + std::to_string(number);
        }
    }
    EXPECT_EQ(wrong, "");
    EXPECT_GE(byNew, kStages[GetParam()].least);
    EXPECT_TRUE(byMalloc > 0 || !kStages[GetParam()].usesMalloc || !kMallocFails);
}

TEST(EngineException, OfAnyCallIsAStatusAndTheNextCallWorks) {
    const struct {
        OrmoOpcode opcode;
        int failures; // stages that fail for it
    } cases[] = {
        {kOpGetVersion, 1},    {kOpOpenInstance, 1},  {kOpSetRateAndBlockSize, 1},
        {kOpResume, 2},        {kOpProcess, 1},       {kOpSuspend, 2},
        {kOpGetChunk, 1},      {kOpSetChunk, 1},      {kOpVendorProperty, 1},
        {kOpEditorCreate, 1},  {kOpEditorOpen, 1},    {kOpAttachEditor, 1},
        {kOpEditorGetView, 1}, {kOpEditorIdle, 0},    {kOpDetachEditor, 0},
        {kOpEditorDestroy, 0}, {kOpCloseInstance, 0},
    };
    const CFIndex objects = objectsAfterASession();
    for (const auto& test : cases) {
        SCOPED_TRACE(test.opcode);
        TestHost host;
        probe::Behaviour& behaviour = freshProbe().behaviour;
        int failures = 0;
        runSession([&](std::size_t stage, Session& session) {
            behaviour.throwAt = test.opcode;
            const OSStatus status = kStages[stage].run(session);
            behaviour.throwAt = -1;
            failures += status != noErr;
            EXPECT_TRUE(status == noErr || status == -1) << status;
            return status;
        });
        EXPECT_EQ(failures, test.failures);
        EXPECT_GT(behaviour.thrown, 0);
        EXPECT_EQ(PlatformLiveObjectCount(), objects);
    }
}

INSTANTIATE_TEST_SUITE_P(Stages, AllocationFault,
                         ::testing::Range(std::size_t{0}, std::size(kStages)),
                         [](const auto& stage) { return kStages[stage.param].name; });

} // namespace
} // namespace velnor::testing
