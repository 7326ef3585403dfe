/* The worked examples of docs/formats.md, against what the code writes and reads. */
#include "bridge/tests/TestHost.h"

#include "platform/CFData.h"
#include "platform/CFDictionary.h"
#include "platform/CFRef.h"
#include "platform/CFString.h"
#include "platform/Process.h"
#include "support/SetupFile.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>

namespace velnor::test {
namespace {

constexpr const char* kDataDir = "/home/ada/sounds";
constexpr const char* kDataHome = "/home/ada/.local/share";

/* The fenced block of that name, without its fences. */
std::string example(const std::string& name) {
    static const std::string document = ReadFile(VELNOR_SOURCE_DIR "/docs/formats.md");
    const std::string fence = "\n```" + name + "\n";
    const std::size_t start = document.find(fence);
    const std::size_t end = document.find("\n```\n", start + fence.size());
    if (start == document.npos || end == document.npos)
        throw std::runtime_error("no example " + name);
    return document.substr(start + fence.size(), end + 1 - start - fence.size());
}

/* The bytes that a hexadecimal example stands for. */
std::string bytes(const std::string& name) {
    std::istringstream lines(example(name));
    std::string result, row;
    bool repeats = false;
    for (std::string line; std::getline(lines, line);) {
        if (line == "*") {
            repeats = !row.empty();
            continue;
        }
        std::istringstream words(line);
        std::size_t offset = 0;
        words >> std::hex >> offset;
        while (repeats && result.size() < offset)
            result += row;
        repeats = false;
        EXPECT_EQ(result.size(), offset) << name << ": " << line;
        row.clear();
        for (unsigned byte = 0; words >> byte;)
            row += static_cast<char>(byte);
        result += row;
    }
    return result;
}

std::string hex(const std::string& bytes) {
    std::ostringstream text;
    for (const char byte : bytes)
        text << std::hex << (static_cast<unsigned>(byte) & 0xFF) << ' ';
    return text.str();
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != text.npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

/* With the document's user and installation in place of the test's. */
std::string atAdas(const TestHost& host, const std::string& text) {
    const std::string component = std::string(kDataHome) + "/velnor/Components/Velnor.component";
    return replaced(replaced(text, builtBundle("Velnor.component"), component),
                    host.home.DataHome(), kDataHome);
}

HostCallbackInfo oneSecondIntoASong() {
    HostCallbackInfo info = {};
    info.beatAndTempoProc = [](void*, Float64* beat, Float64* tempo) -> OSStatus {
        *beat = 2;
        *tempo = 120;
        return noErr;
    };
    info.musicalTimeLocationProc = [](void*, UInt32*, Float32* numerator, UInt32* denominator,
                                      Float64* downBeat) -> OSStatus {
        *numerator = 4;
        *denominator = 4;
        *downBeat = 0;
        return noErr;
    };
    info.transportStateProc = [](void*, Boolean* playing, Boolean* changed, Float64* samplePos,
                                 Boolean* cycling, Float64* start, Float64* end) -> OSStatus {
        *playing = 1;
        *changed = *cycling = 0;
        *samplePos = 44100;
        *start = *end = 0;
        return noErr;
    };
    return info;
}

TEST(FormatsDocument, TheProductRecordIsTheBuiltFilesTwice) {
    const std::string record = bytes("product-record");
    const ProductRecord shipped;
    EXPECT_EQ(hex(record), hex({reinterpret_cast<const char*>(&shipped), sizeof shipped}));
    const std::string file = ReadFile(executableOf(builtBundle("Velnor.component")));
    for (const std::string& block : {record, record.substr(0, 12)}) {
        int found = 0;
        for (std::size_t at = file.find(block); at != file.npos; at = file.find(block, at + 1))
            ++found;
        EXPECT_EQ(found, 2);
    }
}

TEST(FormatsDocument, TheEngineReceivesItsRecords) {
    TestHost host;
    Instrument instrument;
    instrument.setHostCallbacks(oneSecondIntoASong());
    ASSERT_EQ(instrument.initialize(), noErr);
    ASSERT_EQ(instrument.sendMidi(0x95, 60, 100, 137), noErr);
    instrument.pullNext(512);
    const probe::Call call = callsOf(kOpProcess).at(0);
    EXPECT_EQ(hex(bytes("event-block")), hex(call.bytes[0]));
    EXPECT_EQ(hex(bytes("sync-info")), hex(call.bytes[2]));
}

TEST(FormatsDocument, TheSavedParametersAreTheBlob) {
    TestHost host;
    Instrument instrument;
    AudioUnitSetParameter(instrument.unit(), 0, kAudioUnitScope_Global, 0, 1.0F, 0);
    AudioUnitSetParameter(instrument.unit(), 5, kAudioUnitScope_Global, 0, 0.5F, 0);
    CFPropertyListRef state = nullptr;
    ASSERT_EQ(instrument.get(kAudioUnitProperty_ClassInfo, state), noErr);
    const CFRef<CFPropertyListRef> owner(state);
    const CFRef<CFStringRef> key(CFStringCreateWithCString(nullptr, "data", kCFStringEncodingUTF8));
    const auto blob = static_cast<CFDataRef>(
        CFDictionaryGetValue(static_cast<CFDictionaryRef>(state), key.Get()));
    ASSERT_NE(blob, nullptr);
    EXPECT_EQ(hex(bytes("parameter-blob")),
              hex({reinterpret_cast<const char*>(CFDataGetBytePtr(blob)),
                   static_cast<std::size_t>(CFDataGetLength(blob))}));
}

TEST(FormatsDocument, ThePreferencesAreTheFileThatAnOpenLeaves) {
    TestHost host;
    host.setDataDir(kDataDir);
    {
        Instrument instrument;
    }
    const std::string file = ReadFile(host.home.ConfigHome() + "/velnor/com.Tavo.Tarn 12.plist");
    const auto unindented = [](const std::string& text) {
        return std::regex_replace(text, std::regex("\n[ \t]+"), "\n");
    };
    EXPECT_EQ(unindented(example("preferences")), unindented(atAdas(host, file)));
}

TEST(FormatsDocument, TheLogIsTheFileThatAProcessLeaves) {
    TestHost host;
    PlatformSetProcessName("velnor-host");
    freshProbe().behaviour.version = "1.0.3";
    {
        Instrument instrument;
    }
    /* Threads, times, addresses and dates are their own in each run. */
    const auto timeless = [](std::string text) {
        text = std::regex_replace(text, std::regex("(^|\n)([IE]):\\d+:\\d+:"), "$1$2:0:0:");
        text = std::regex_replace(text, std::regex("0x[0-9a-f]+"), "0x0");
        return std::regex_replace(
            text,
            std::regex("[A-Z][a-z]{2} [A-Z][a-z]{2} [ \\d]\\d \\d\\d([:_])\\d\\d\\1\\d\\d \\d{4}"),
            "0$010$010");
    };
    const std::string file = ReadFile(host.logPath("Tarn 12AU_velnor-host.log"));
    EXPECT_EQ(timeless(example("log")), timeless(atAdas(host, file) + "\n"));
}

TEST(FormatsDocument, TheSetupFileIsForItsProductAlone) {
    const TempFolder folder;
    const std::string path = WriteFile(folder / "OrmoSetup.xml", example("setup-file"));
    std::string message;
    EXPECT_TRUE(verifyOrmoSetup("Tavo", "Tarn 12", path, message)) << message;
    EXPECT_FALSE(verifyOrmoSetup("Another", "Tarn 12", path, message));
    EXPECT_FALSE(verifyOrmoSetup("Tavo", "Another", path, message));
}

} // namespace
} // namespace velnor::test
