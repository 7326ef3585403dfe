#include "testing/Testing.h"

#include <filesystem>
#include <iterator>
#include <map>
#include <regex>

namespace velnor::testing {
namespace {

// Every way out of the proof that the render road does not block, by file. One more has to be
// argued for here.
TEST(RealTime, TheEscapesAreTheseAndNoMore) {
    namespace fs = std::filesystem;
    const std::regex use(
        "\\b(VELNOR_RT_ESCAPE(_CHECKED)?|VELNOR_FLUID|__rtsan_disable)\\((?!REASON)");
    const std::regex definition("#define (.*\\\\\n)*.*\n"); // a macro's counts where it is used
    std::map<std::string, int> escapes;
    for (const char* layer : {"platform", "support", "framework", "bridge", "engines"}) {
        for (const auto& entry :
             fs::recursive_directory_iterator(fs::path(VELNOR_SOURCE_DIR) / layer)) {
            const std::string name = fs::relative(entry.path(), VELNOR_SOURCE_DIR).string();
            if (!entry.is_regular_file() || name.find("/tests/") != std::string::npos) {
                continue;
            }
            const std::string text =
                std::regex_replace(ReadFile(entry.path().string()), definition, "");
            const auto count =
                std::distance(std::sregex_iterator(text.begin(), text.end(), use), {});
            if (count > 0) {
                escapes[name] = static_cast<int>(count);
            }
        }
    }
    EXPECT_THAT(escapes,
                (std::map<std::string, int>{
                    {"bridge/EngineCall.h", 1},        // the engine's entry point
                    {"bridge/HostTransport.cpp", 1},   // the host's callbacks
                    {"bridge/RenderData.cpp", 2},      // reserved room; a line on lost MIDI
                    {"bridge/SamplerAURender.cpp", 1}, // a line on lost MIDI
                    {"bridge/SyncInfo.cpp", 1},        // the description that no render asks for
                    {"engines/soundfont/StateApply.cpp", 5}, // the library that makes the sound
                    {"engines/soundfont/StateCapture.cpp", 1},
                    {"engines/soundfont/Synth.cpp", 12},
                    {"framework/AUBaseRender.cpp", 1},   // the thread's own id
                    {"framework/AUBaseSchedule.cpp", 1}, // more events than ever before
                    {"framework/AUElement.cpp", 1},      // a parameter's first value
                    {"framework/AUInputSource.cpp", 2},  // the host's input
                    {"framework/ExceptionMapping.h", 1}, // the try block of pulls and fast entries
                    {"framework/PropertyListenerList.cpp", 1},       // the host's listeners
                    {"framework/RenderNotificationList.cpp", 1},     // and notifications
                    {"framework/ThrowStatus.h", 1},                  // a failure
                    {"platform/system/Clock.cpp", 1},                // no system call behind it
                    {"platform/components/ComponentInstances.h", 1}, // one entry for all selectors
                    {"platform/system/RealtimeUnwinding.cpp", 1},    // frees what was thrown
                }));
}

} // namespace
} // namespace velnor::testing
