// The worked examples of docs/formats.md, against what the code writes and reads.
#include "platform/CFRef.h"
#include "platform/Process.h"
#include "support/SetupFile.h"
#include "testing/TestHost.h"
#include "testing/Values.h"

#include <gtest/gtest.h>
#include <iomanip>
#include <regex>
#include <set>
#include <sstream>

namespace velnor::testing {
namespace {

constexpr const char* kDataDir = "/home/ada/sounds";
constexpr const char* kDataHome = "/home/ada/.local/share";

const std::string& theDocument() {
    static const std::string document = ReadFile(VELNOR_SOURCE_DIR "/docs/formats.md");
    return document;
}

// The fenced block of that name, without its fences.
std::string example(const std::string& name) {
    const std::string& document = theDocument();
    const std::string fence = "\n```" + name + "\n";
    const std::size_t start = document.find(fence);
    const std::size_t end = document.find("\n```\n", start + fence.size());
    if (start == document.npos || end == document.npos) {
        throw std::runtime_error("no example " + name);
    }
    return document.substr(start + fence.size(), end + 1 - start - fence.size());
}

// Bytes as the document shows them.
std::string dumpOf(const std::string& bytes) {
    std::ostringstream text;
    text << std::hex << std::setfill('0');
    std::string above;
    for (std::size_t at = 0; at < bytes.size(); at += 16) {
        const std::string row = bytes.substr(at, 16);
        if (row == above) {
            text << (text.view().ends_with("*\n") ? "" : "*\n");
            continue;
        }
        text << std::setw(4) << at << " ";
        for (const char byte : row) {
            text << " " << std::setw(2) << (static_cast<unsigned>(byte) & 0xFF);
        }
        text << "\n";
        above = row;
    }
    return text.str();
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != text.npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

// With the document's user and installation in place of the test's.
std::string atAdas(const TestHost& host, const std::string& text) {
    const std::string component = std::string(kDataHome) + "/velnor/Components/Velnor.component";
    return replaced(replaced(text, builtBundle("Velnor.component"), component),
                    host.home.DataHome(), kDataHome);
}

using FormatsInUse = Opened;

TEST(FormatsDocument, EveryExampleIsReadHere) {
    const std::string& document = theDocument();
    const std::regex fence("\n```([a-z].*)");
    std::set<std::string> names;
    for (auto it = std::sregex_iterator(document.begin(), document.end(), fence);
         it != std::sregex_iterator(); ++it) {
        names.insert((*it)[1]);
    }
    const std::string tests = ReadFile(VELNOR_SOURCE_DIR "/bridge/tests/FormatsDocumentTest.cpp");
    for (const std::string& name : names) {
        EXPECT_NE(tests.find("example(\"" + name + "\")"), tests.npos) << name;
    }
    EXPECT_FALSE(names.empty());
}

// The record that the document's table describes: rows of offset, size, field and shipped value.
std::string recordOfTheTable() {
    const std::string section = theDocument().substr(0, theDocument().find("```product-record"));
    const std::regex row("\n\\| (\\d+) \\| (\\d+) \\| [^|]+ \\| *([^|]*?) *\\|");
    std::string record;
    for (auto it = std::sregex_iterator(section.begin(), section.end(), row);
         it != std::sregex_iterator(); ++it) {
        EXPECT_EQ(std::stoul((*it)[1]), record.size());
        const std::string shown = (*it)[3];
        std::string value = shown.starts_with('`') ? shown.substr(1, shown.size() - 2) : "";
        std::istringstream words(shown.starts_with('`') ? "" : shown);
        for (std::string word; std::getline(words, word, ',');) {
            const auto number = static_cast<UInt32>(std::stoul(word, nullptr, 0));
            value.append(reinterpret_cast<const char*>(&number), sizeof number);
        }
        value.resize(std::stoul((*it)[2]));
        record += value;
    }
    return record;
}

TEST(FormatsDocument, TheProductRecordIsTheBuiltFilesTwice) {
    const ProductRecord shipped;
    const std::string record(reinterpret_cast<const char*>(&shipped), sizeof shipped);
    EXPECT_EQ(dumpOf(recordOfTheTable()), dumpOf(record));
    EXPECT_EQ(example("product-record"), dumpOf(record));
    const std::string file = ReadFile(executableOf(builtBundle("Velnor.component")));
    for (const std::string& block : {record, record.substr(0, 12)}) {
        int found = 0;
        for (std::size_t at = file.find(block); at != file.npos; at = file.find(block, at + 1)) {
            ++found;
        }
        EXPECT_EQ(found, 2);
    }
}

TEST_F(FormatsInUse, TheEngineReceivesItsRecords) {
    Transport oneSecondIntoASong = {.beat = 2,
                                    .tempo = 120,
                                    .downBeat = 0,
                                    .numerator = 4,
                                    .denominator = 4,
                                    .changed = 0,
                                    .cycling = 0,
                                    .samplePos = 44100,
                                    .cycleStart = 0,
                                    .cycleEnd = 0};
    instrument.setHostCallbacks(oneSecondIntoASong.callbacks());
    ASSERT_EQ(instrument.initialize(), noErr);
    ASSERT_EQ(instrument.sendMidi(0x95, 60, 100, 137), noErr);
    instrument.pullNext(512);
    const probe::Call call = callsOf(kOpProcess).at(0);
    EXPECT_EQ(example("event-block"), dumpOf(call.bytes[0]));
    EXPECT_EQ(example("sync-info"), dumpOf(call.bytes[2]));
}

TEST_F(FormatsInUse, TheSavedParametersAreTheBlob) {
    AudioUnitSetParameter(instrument.unit(), 0, kAudioUnitScope_Global, 0, 1.0F, 0);
    AudioUnitSetParameter(instrument.unit(), 5, kAudioUnitScope_Global, 0, 0.5F, 0);
    CFRef<CFPropertyListRef> state;
    ASSERT_EQ(instrument.get(kAudioUnitProperty_ClassInfo, *state.Out()), noErr);
    const auto* blob = static_cast<CFDataRef>(Get(state.Get(), "data"));
    ASSERT_NE(blob, nullptr);
    EXPECT_EQ(example("parameter-blob"), dumpOf(Bytes(blob)));
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
    // Threads, times, addresses and dates are their own in each run.
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
} // namespace velnor::testing
