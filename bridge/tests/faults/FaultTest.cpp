// Allocations of this process are made to fail.
#include "platform/EventLoop.h"
#include "testing/HostBuffers.h"
#include "testing/HostWindow.h"
#include "testing/TestHost.h"
#include "testing/Testing.h"

#include <cstdlib>
#include <functional>
#include <new>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace {

enum Failed { kNone, kByNew, kByMalloc };

// The countdown-th allocation from here on fails, the first being 1: of operator new, whoever calls
// it, and of malloc for the component, the platform library and the dynamic loader. Other
// libraries' own are left out: libplist uses what malloc gives it without a look. One thread.
long gCountdown = 0; // 0: nothing fails
Failed gFailed = kNone;

bool isDue(Failed by) {
    if (gCountdown == 0 || --gCountdown > 0) {
        return false;
    }
    gFailed = by;
    return true;
}

} // namespace

void* operator new(std::size_t size) {
    void* const block = isDue(kByNew) ? nullptr : std::malloc(size > 0 ? size : 1);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}
void* operator new[](std::size_t size) {
    return operator new(size);
}

extern "C" {

#if defined(VELNOR_SANITIZED) // the runtimes have a malloc of their own: operator new alone fails
constexpr bool kMallocFails = false;
VELNOR_PLATFORM_API const char* __asan_default_options() {
    return "alloc_dealloc_mismatch=0";
}
#else
constexpr bool kMallocFails = true;
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

static bool isDueFor(const void* caller) {
    Dl_info info = {};
    if (gCountdown == 0 || dladdr(caller, &info) == 0) {
        return false;
    }
    const std::string_view path = info.dli_fname;
    const std::string_view file = path.substr(path.rfind('/') + 1);
    const bool isOurs =
        file == "Velnor" || file.starts_with("libvelnorplatform") || file.starts_with("ld-linux");
    return isOurs && isDue(kByMalloc);
}

VELNOR_PLATFORM_API void* malloc(std::size_t size) {
    return isDueFor(__builtin_return_address(0)) ? nullptr : __libc_malloc(size);
}
VELNOR_PLATFORM_API void* calloc(std::size_t count, std::size_t size) {
    return isDueFor(__builtin_return_address(0)) ? nullptr : __libc_calloc(count, size);
}
VELNOR_PLATFORM_API void* realloc(void* block, std::size_t size) {
    return isDueFor(__builtin_return_address(0)) ? nullptr : __libc_realloc(block, size);
}
#endif
}

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
    const AudioTimeStamp time = AtSample(session.sampleTime++);
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
    {"save",
     [](Session& session) {
         UInt32 size = sizeof(CFPropertyListRef);
         return AudioUnitGetProperty(session.unit, kAudioUnitProperty_ClassInfo, 0, 0,
                                     session.state.Out(), &size);
     },
     false, 10},
    {"restore",
     [](Session& session) {
         const CFPropertyListRef state = session.state.Get();
         return AudioUnitSetProperty(session.unit, kAudioUnitProperty_ClassInfo, 0, 0, &state,
                                     sizeof state);
     },
     false, 1},
    {"vendor",
     [](Session& session) {
         UInt32 value = 0;
         return AudioUnitSetProperty(session.unit, 70000, 0, 0, &value, sizeof value);
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
    EXPECT_NE(Get(session.state.Get(), "OrmoData"), nullptr);
}

constexpr int kWentWrong = 99;

// Lets an allocation of one stage fail, in a process of its own: what it did and met is gone with
// it. The exit status: which kind of allocation failed; kNone: the stage makes no so many.
void runAndExit(std::size_t failing, long number, CFIndex objects) {
    auto failed = kNone;
    try {
        runSession([&](std::size_t stage, Session& session) {
            gCountdown = stage == failing ? number : 0;
            const OSStatus status = kStages[stage].run(session);
            gCountdown = 0;
            failed = gFailed;
            EXPECT_TRUE(status == noErr ||
                        (stage == failing && failed != kNone &&
                         (status == memFullErr || status == couldNotOpenComponent)))
                << status;
            return status;
        });
    } catch (const std::exception& exception) {
        ADD_FAILURE() << exception.what() << " was thrown";
    }
    EXPECT_EQ(PlatformLiveObjectCount(), objects);
#if defined(__SANITIZE_ADDRESS__)
    EXPECT_EQ(__lsan_do_recoverable_leak_check(), 0);
#endif
    _exit(Test::HasFailure() ? kWentWrong : failed);
}

// What is alive after a session; the engine's bundle then stays for good.
CFIndex objectsAfterASession() {
    TestHost host;
    runSession([](std::size_t stage, Session& session) { return kStages[stage].run(session); });
    return PlatformLiveObjectCount();
}

class AllocationFault : public TestWithParam<std::size_t> {};

TEST_P(AllocationFault, OfEveryNumberIsAStatusAndLeavesNothingBehind) {
    const CFIndex objects = objectsAfterASession();
    int met[] = {0, 0, 0};
    std::string wrong;
    for (long number = 1; met[kNone] == 0 && wrong.size() < 100; ++number) {
        TestHost host;
        const pid_t child = fork();
        if (child == 0) {
            runAndExit(GetParam(), number, objects);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        if (WIFEXITED(status) && WEXITSTATUS(status) <= kByMalloc) {
            ++met[WEXITSTATUS(status)];
        } else {
            wrong += " " + std::to_string(number);
        }
    }
    EXPECT_EQ(wrong, "");
    EXPECT_GE(met[kByNew], kStages[GetParam()].least);
    EXPECT_TRUE(met[kByMalloc] > 0 || !kStages[GetParam()].usesMalloc || !kMallocFails);
}

TEST(EngineException, OfAnyCallIsAStatusAndTheNextCallWorks) {
    // With the number of stages that fail for it.
    constexpr std::pair<OrmoOpcode, int> kCases[] = {
        {kOpGetVersion, 1},    {kOpOpenInstance, 1},  {kOpSetRateAndBlockSize, 1},
        {kOpResume, 2},        {kOpProcess, 1},       {kOpSuspend, 2},
        {kOpGetChunk, 1},      {kOpSetChunk, 1},      {kOpVendorProperty, 1},
        {kOpEditorCreate, 1},  {kOpEditorOpen, 1},    {kOpAttachEditor, 1},
        {kOpEditorGetView, 1}, {kOpEditorIdle, 0},    {kOpDetachEditor, 0},
        {kOpEditorDestroy, 0}, {kOpCloseInstance, 0},
    };
    const CFIndex objects = objectsAfterASession();
    for (const auto& [opcode, expected] : kCases) {
        SCOPED_TRACE(opcode);
        TestHost host;
        probe::Behaviour& behaviour = freshProbe().behaviour;
        int failures = 0;
        runSession([&](std::size_t stage, Session& session) {
            behaviour.throwAt = opcode;
            const OSStatus status = kStages[stage].run(session);
            behaviour.throwAt = -1;
            failures += status != noErr;
            EXPECT_TRUE(status == noErr || status == -1) << status;
            return status;
        });
        EXPECT_EQ(failures, expected);
        EXPECT_GT(behaviour.thrown, 0);
        EXPECT_EQ(PlatformLiveObjectCount(), objects);
    }
}

INSTANTIATE_TEST_SUITE_P(Stages, AllocationFault, Range(std::size_t{0}, std::size(kStages)),
                         [](const auto& stage) { return kStages[stage.param].name; });

} // namespace
} // namespace velnor::testing
