#include "testing/TestHost.h"

#include "platform/Process.h"
#include "testing/HostBuffers.h"
#include "testing/Values.h"

#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <stdexcept>
#include <tuple>

namespace velnor::testing {

namespace {

constexpr const char* kPlatformFolder = sizeof(void*) == 4 ? "i386-linux" : "x86_64-linux";

std::string textOf(const probe::Call& call) {
    std::string text = std::to_string(call.words[1]) + (call.words[0] != 0 ? " E" : " 0");
    for (std::size_t i = 2; i < call.words.size(); ++i) {
        text += i < 5 && call.words[i] != 0 ? " ptr" : " " + std::to_string(call.words[i]);
    }
    return text;
}

probe::Probe& theProbe() {
    static probe::Probe* const found = probeOf(builtBundle("Probe.engine"), RTLD_NOW);
    return *found;
}

} // namespace

std::string builtBundle(const std::string& name) {
    return std::string(VELNOR_BUNDLE_DIR) + "/" + name;
}

std::string executableOf(const std::string& bundle) {
    return bundle + "/Contents/" + kPlatformFolder + "/" +
           std::filesystem::path(bundle).stem().string();
}

probe::Probe* probeOf(const std::string& bundle, int mode) {
    void* image = dlopen(executableOf(bundle).c_str(), mode);
    if (image == nullptr) {
        throw std::runtime_error(dlerror());
    }
    return reinterpret_cast<probe::Probe* (*)()>(dlsym(image, "velnorProbe"))();
}

TestHost::TestHost() {
    PlatformSetProcessName("Host");
    freshProbe();
    setDataDir("/data");
    setEnginePath(builtBundle("Probe.engine"));
}

TestHost::~TestHost() {
    PlatformSetProcessName(nullptr);
}

void TestHost::setPreference(const std::string& domain, const std::string& key,
                             const std::optional<std::string>& value) {
    WriteFile(home.ConfigHome() + "/velnor/" + domain + ".plist",
              PlistFile(value ? "<key>" + key + "</key><string>" + *value + "</string>" : ""));
}

std::string TestHost::patchedComponent(const std::function<void(ProductRecord&)>& patch) {
    static int copies = 0;
    const std::string copy = home.Root() + "/" + std::to_string(++copies) + "/Velnor.component";
    std::filesystem::create_directories(copy);
    std::filesystem::copy(builtBundle("Velnor.component"), copy,
                          std::filesystem::copy_options::recursive);
    std::string file = ReadFile(executableOf(copy));
    const ProductRecord shipped;
    const std::string magic(reinterpret_cast<const char*>(&shipped), sizeof shipped);
    for (std::size_t at = file.find(magic); at != std::string::npos;
         at = file.find(magic, at + 1)) {
        ProductRecord record = shipped;
        patch(record);
        std::memcpy(&file[at], &record, sizeof record);
    }
    WriteFile(executableOf(copy), file);
    return copy;
}

probe::Probe& freshProbe() {
    probe::Probe& probe = theProbe();
    probe.clear();
    probe.recording = true;
    probe.behaviour = probe::Behaviour();
    return probe;
}

std::vector<std::string> takeCalls() {
    std::vector<std::string> texts;
    for (const probe::Call& call : theProbe().calls()) {
        texts.push_back(textOf(call));
    }
    theProbe().clear();
    return texts;
}

std::vector<probe::Call> callsOf(OrmoOpcode opcode) {
    std::vector<probe::Call> calls = theProbe().calls();
    std::erase_if(calls, [opcode](const probe::Call& call) { return call.opcode() != opcode; });
    return calls;
}

std::vector<MIDIEvent> eventsOf(const probe::Call& call) {
    const std::string& bytes = call.bytes[0];
    UInt32 count = 0;
    std::memcpy(&count, bytes.data(), sizeof count);
    std::vector<MIDIEvent> events(count);
    if (count > 0) {
        std::memcpy(events.data(), bytes.data() + sizeof count, count * sizeof(MIDIEvent));
    }
    return events;
}

HostCallbackInfo Transport::callbacks() {
    const auto beatAndTempo = [](void* context, Float64* outBeat, Float64* outTempo) {
        Transport& self = *static_cast<Transport*>(context);
        self.wrongPresets += std::tuple(*outBeat, *outTempo) != std::tuple(0, 120);
        std::tie(*outBeat, *outTempo) = std::tie(self.beat, self.tempo);
        return self.beatStatus;
    };
    const auto musicalTime = [](void* context, UInt32* outToNextBeat, Float32* outNumerator,
                                UInt32* outDenominator, Float64* outDownBeat) {
        Transport& self = *static_cast<Transport*>(context);
        auto out = std::tie(*outNumerator, *outDenominator, *outDownBeat);
        self.wrongPresets += *outToNextBeat != 0 || out != std::tuple(4, 4U, 0);
        out = std::tie(self.numerator, self.denominator, self.downBeat);
        return self.timeStatus;
    };
    const auto state = [](void* context, Boolean* outPlaying, Boolean* outChanged,
                          Float64* outSamplePos, Boolean* outCycling, Float64* outStart,
                          Float64* outEnd) {
        Transport& self = *static_cast<Transport*>(context);
        auto out =
            std::tie(*outPlaying, *outChanged, *outSamplePos, *outCycling, *outStart, *outEnd);
        self.wrongPresets += out != std::tuple(1, 0, 0, 0, 0, 0);
        out = std::tie(self.playing, self.changed, self.samplePos, self.cycling, self.cycleStart,
                       self.cycleEnd);
        return self.stateStatus;
    };
    return {this, beatAndTempo, musicalTime, state};
}

Instrument::Instrument(const std::string& bundle) {
    UInt32 count = 0;
    EXPECT_EQ(PlatformRegisterComponentBundle(bundle.c_str(), mComponents, 2, &count), noErr);
    EXPECT_EQ(PlatformOpenComponent(mComponents[0], &mUnit), noErr);
    if (mUnit == nullptr) {
        throw std::runtime_error("the component does not open: " + bundle);
    }
}

void Instrument::close() {
    if (mUnit != nullptr) {
        CloseComponent(mUnit);
    }
    mUnit = nullptr;
}

OSStatus Instrument::setFormat(UInt32 bus, UInt32 channels, Float64 rate) {
    constexpr UInt32 kFlags =
        kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked | kAudioFormatFlagIsNonInterleaved;
    const AudioStreamBasicDescription format = {
        rate, kAudioFormatLinearPCM, kFlags, 4, 1, 4, channels, 32, 0};
    return AudioUnitSetProperty(mUnit, kAudioUnitProperty_StreamFormat, kAudioUnitScope_Output, bus,
                                &format, sizeof format);
}

Instrument::Audio Instrument::pull(UInt32 bus, UInt32 channels, UInt32 frames, Float64 sampleTime) {
    HostBuffers buffers(channels, frames);
    AudioUnitRenderActionFlags flags = 0;
    const AudioTimeStamp time = AtSample(sampleTime);
    Audio audio{AudioUnitRender(mUnit, &flags, &time, bus, frames, buffers.Get()), {}};
    EXPECT_EQ(flags, 0U); // never claims silence
    for (UInt32 channel = 0; channel < channels; ++channel) {
        audio.channels.push_back(buffers.Memory(channel));
    }
    return audio;
}

} // namespace velnor::testing
