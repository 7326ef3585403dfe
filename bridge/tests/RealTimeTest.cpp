#include "bridge/tests/TestHost.h"
#include "platform/tests/Testing.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <regex>

#include <unistd.h>

namespace velnor::test {
namespace {

/* Every way out of the proof that the render road does not block, by file. One more has to be
 * argued for here. */
TEST(RealTime, TheEscapesAreTheseAndNoMore) {
    namespace fs = std::filesystem;
    std::map<std::string, int> escapes;
    for (const char* layer : {"platform", "support", "framework", "bridge", "engines"})
        for (const auto& entry :
             fs::recursive_directory_iterator(fs::path(VELNOR_SOURCE_DIR) / layer)) {
            const std::string name = fs::relative(entry.path(), VELNOR_SOURCE_DIR).string();
            if (!entry.is_regular_file() || name.find("/tests/") != std::string::npos)
                continue;
            const std::string text = ReadFile(entry.path().string());
            const std::regex use("\\bVELNOR_RT_ESCAPE(_CHECKED)?\\((?!REASON)");
            const auto count =
                std::distance(std::sregex_iterator(text.begin(), text.end(), use), {});
            if (count > 0 && name != "platform/Facts.h")
                escapes[name] = static_cast<int>(count);
        }
    EXPECT_THAT(escapes,
                (std::map<std::string, int>{
                    {"bridge/EngineCall.h", 1},          // the engine's entry point
                    {"bridge/HostTransport.cpp", 1},     // the host's callbacks
                    {"bridge/SamplerAURender.cpp", 3},   // reserved room; two lines on lost MIDI
                    {"bridge/SyncInfo.cpp", 1},          // the description that no render asks for
                    {"engines/soundfont/Synth.h", 1},    // the library that makes the sound
                    {"framework/AUBaseRender.cpp", 3},   // two try blocks; the thread's own id
                    {"framework/AUBaseSchedule.cpp", 1}, // more events than ever before
                    {"framework/AUElement.cpp", 1},      // a parameter's first value
                    {"framework/AUInputSource.cpp", 2},  // the host's input
                    {"framework/FastEntries.cpp", 1},    // a try block
                    {"framework/PropertyListenerList.cpp", 1},   // the host's listeners
                    {"framework/RenderNotificationList.cpp", 1}, // and notifications
                    {"framework/ThrowStatus.h", 1},              // a failure
                    {"platform/Clock.cpp", 1},                   // no system call behind it
                    {"platform/ComponentInstances.h", 1},        // the component's own code
                }));
}

#if defined(VELNOR_REALTIME_SANITIZER)
void allocates() VELNOR_NONBLOCKING {
    std::free(std::malloc(static_cast<std::size_t>(getpid())));
}
TEST(RealTimeDeathTest, TheSanitizerStopsWhatBlocks) {
    EXPECT_DEATH(allocates(), "unsafe-library-call|RealtimeSanitizer");
}
#endif

/* The host's MIDI thread against its render thread, through the component's entry. */
TEST_F(Playing, MessagesSentWhileRenderingArriveOnceAndInOrder) {
    constexpr SInt32 kMessages = 100000;
    freshProbe().behaviour.writePattern = false;
    std::atomic<SInt32> received{0};
    std::thread producer([&] {
        for (SInt32 i = 0; i < kMessages; ++i) {
            while (i - received.load(std::memory_order_acquire) >= 1023)
                std::this_thread::yield();
            instrument.sendMidi(0x90, static_cast<UInt32>(i & 0x7F), static_cast<UInt32>(i >> 7),
                                0);
        }
    });
    SInt32 expected = 0;
    SInt32 wrong = 0;
    while (expected < kMessages) {
        instrument.pullNext();
        for (const MIDIEvent& event : eventsOf(callsOf(kOpProcess).at(0))) {
            wrong += event.data[1] != (expected & 0x7F) || event.data[2] != (expected >> 7 & 0xFF);
            ++expected;
        }
        takeCalls();
        received.store(expected, std::memory_order_release);
        std::this_thread::yield();
    }
    producer.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace
} // namespace velnor::test
