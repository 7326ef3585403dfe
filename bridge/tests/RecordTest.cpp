#include "testing/TestHost.h"
#include "testing/Testing.h"

#include <cstdio>
#include <cstring>
#include <memory>

namespace velnor::testing {
namespace {

using Configurations = std::vector<std::pair<int, int>>;

Configurations configurationsOf(Instrument& instrument) {
    std::array<AUChannelInfo, 8> infos{};
    UInt32 size = sizeof infos;
    EXPECT_EQ(AudioUnitGetProperty(instrument.unit(), kAudioUnitProperty_SupportedNumChannels,
                                   kAudioUnitScope_Global, 0, infos.data(), &size),
              noErr);
    Configurations configurations;
    for (std::size_t i = 0; i < size / sizeof(AUChannelInfo); ++i) {
        configurations.emplace_back(infos[i].inChannels, infos[i].outChannels);
    }
    return configurations;
}

TEST(Record, TheBuiltFileExportsItsTwoEntriesAlone) {
    const std::string command =
        "nm -D --defined-only '" + executableOf(builtBundle("Velnor.component")) + "'";
    const std::unique_ptr<FILE, int (*)(FILE*)> nm(popen(command.c_str(), "r"), pclose);
    Texts names;
    char line[512];
    while (std::fscanf(nm.get(), "%*s %*s %511s", line) == 1) {
        names.push_back(line);
    }
    EXPECT_THAT(names, UnorderedElementsAre("SamplerAUEntry", "SamplerAUViewEntry"));
}

TEST(Record, MultiOutputIsOnForTheByteOneAlone) {
    TestHost host;
    for (const auto& [multiOutput, multiInputs, maxOutputs, configurations] :
         Rows<UInt32, std::int32_t, std::int32_t, Configurations>{
             {1, 0, 32, {{0, 2}, {0, 32}, {0, -32}}},
             {0x101, 0, 8, {{0, 2}, {0, 8}, {0, -8}}},
             {1, 0x10001, 0x10010, {{0, 2}, {1, 16}, {1, -16}}}, // the low 16 bits
             {0, 0, 32, {{0, 2}}},
             {2, 0, 32, {{0, 2}}},
             {0x100, 0, 32, {{0, 2}}}}) {
        SCOPED_TRACE(multiOutput);
        ProductRecord record;
        record.multiOutput = multiOutput;
        record.multiInputChannels = multiInputs;
        record.maxOutputChannels = maxOutputs;
        Instrument instrument(host.patchedComponent([&](ProductRecord& to) { to = record; }));
        EXPECT_EQ(configurationsOf(instrument), configurations);
        const bool multi = configurations.size() > 1;
        EXPECT_EQ(instrument.setBusCount(2),
                  multi ? 0 : OSStatus{kAudioUnitErr_PropertyNotWritable});
        std::array<AudioChannelLayoutTag, 3> tags{};
        constexpr auto kTags = kAudioUnitProperty_SupportedChannelLayoutTags;
        EXPECT_EQ(instrument.get(kTags, tags, kAudioUnitScope_Output),
                  multi ? 0 : OSStatus{kAudioUnitErr_InvalidProperty});
        const int outputs = std::abs(configurations.back().second) - (multi ? 2 : 0); // of bus 0
        for (const int more : {1, 0}) {
            EXPECT_EQ(instrument.setFormat(0, static_cast<UInt32>(outputs + more)), noErr);
            EXPECT_EQ(instrument.initialize(), more > 0 ? -10868 : noErr);
        }
        if (multi) {
            EXPECT_THAT(
                tags, ElementsAre(0x650002, 0x640001, 0x930000 | static_cast<UInt32>(maxOutputs)));
        }
        EXPECT_EQ(instrument.get(kTags, tags), kAudioUnitErr_InvalidProperty)
            << "only the output scope has layouts";
    }
}

TEST(Record, SingleConfigurationTakesItsChannelsAlone) {
    TestHost host;
    const std::string component =
        host.patchedComponent([](ProductRecord& record) { record.outputChannels = 6; });
    for (const UInt32 channels : {2U, 6U, 7U}) {
        freshProbe();
        Instrument instrument(component);
        EXPECT_EQ(configurationsOf(instrument), (Configurations{{0, 6}}));
        EXPECT_EQ(instrument.setFormat(0, channels), noErr);
        EXPECT_EQ(instrument.initialize(), channels == 6 ? noErr : -10868);
        EXPECT_EQ(callsOf(kOpOpenInstance).size(), channels == 6 ? 1U : 0U);
        EXPECT_THAT(host.log(),
                    IsSupersetOf({std::string("I:Initialize - numBuses : 1"),
                                  "I:Initialize - numOutputs : " + std::to_string(channels)}));
    }
    freshProbe();
    Instrument wide(
        host.patchedComponent([](ProductRecord& record) { record.outputChannels = 34; }));
    EXPECT_EQ(wide.setFormat(0, 34), noErr);
    EXPECT_EQ(wide.initialize(), noErr);
    EXPECT_EQ(callsOf(kOpOpenInstance).at(0).bytes[0][4], 32) << "the engine's table has no more";
}

TEST(Record, MultiOutputLayoutsDescribeTheBusesChannels) {
    TestHost host;
    Instrument instrument(
        host.patchedComponent([](ProductRecord& record) { record.multiOutput = 1; }));
    for (const auto& [channels, tag, descriptions, bytes] : Rows<UInt32, UInt32, UInt32, UInt32>{
             {1, 0x640001, 0, 32}, {2, 0x650002, 0, 52}, {6, 0, 6, 132}}) {
        ASSERT_EQ(instrument.setFormat(0, channels), noErr);
        std::vector<UInt32> words(64, 0xABABABAB);
        UInt32 size = sizeof words[0] * 64;
        ASSERT_EQ(AudioUnitGetProperty(instrument.unit(), kAudioUnitProperty_AudioChannelLayout,
                                       kAudioUnitScope_Output, 0, words.data(), &size),
                  noErr);
        EXPECT_EQ(size, bytes);
        EXPECT_THAT(std::vector(words.begin(), words.begin() + 3),
                    ElementsAre(tag, 0, descriptions));
        for (UInt32 i = 0; i < descriptions; ++i) {
            EXPECT_EQ(words[3 + 5 * i], UInt32{kAudioChannelLabel_Mono});
            EXPECT_EQ(words[4 + 5 * i], 0U);
        }
    }
}

TEST(Record, TheNamesMoveFolderLogPreferencesRegistryAndAlertTogether) {
    TestHost host;
    const std::string component = host.patchedComponent([](ProductRecord& record) {
        std::strncpy(record.vendor, "Acme & Sons", sizeof record.vendor);
        std::memset(record.product, 'p', sizeof record.product - 1); // as long as may be
    });
    const std::string product(63, 'p');
    const std::string domain = "com.Acme & Sons." + product;
    const std::string log =
        host.home.DataHome() + "/Acme & Sons/" + product + "/" + product + "AU_Host.log";
    {
        Instrument instrument(component);
        ASSERT_EQ(host.alerts.Alerts().size(), 1U) << "the shipped record's base_dir is not asked";
        EXPECT_EQ(host.alerts.Alerts()[0].header, "Acme & Sons " + product);
    }
    EXPECT_TRUE(ReadFile(log).ends_with("@"));
    const std::string registry = host.home.ConfigHome() + "/velnor/" + domain + ".plist";
    EXPECT_THAT(ReadFile(registry), HasSubstr("Plugins"));
    host.setPreference(domain, "base_dir", "/elsewhere");
    Instrument instrument(component);
    EXPECT_EQ(host.alerts.Alerts().size(), 1U);
    instrument.initialize();
    EXPECT_EQ(callsOf(kOpOpenInstance).at(0).bytes[1], "/elsewhere");
}

} // namespace
} // namespace velnor::testing
