#include "bridge/tests/TestHost.h"

#include "platform/Process.h"

#include <gtest/gtest.h>

#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <sstream>
#include <stdexcept>

namespace velnor::test {

namespace {

constexpr const char* kPlatformFolder = sizeof(void*) == 4 ? "i386-linux" : "x86_64-linux";
constexpr float kUntouched = 99.0F;

/* Forgets where the buffers are: room for so many of them behind a list. */
struct BufferList {
    explicit BufferList(std::vector<std::vector<float>>& channels)
        : bytes(sizeof(AudioBufferList) + channels.size() * sizeof(AudioBuffer)) {
        list().mNumberBuffers = static_cast<UInt32>(channels.size());
        for (std::size_t i = 0; i < channels.size(); ++i)
            list().mBuffers[i] = {1, static_cast<UInt32>(channels[i].size() * sizeof(float)),
                                  channels[i].data()};
    }
    AudioBufferList& list() { return *reinterpret_cast<AudioBufferList*>(bytes.data()); }
    std::vector<unsigned char> bytes;
};

std::string textOf(const probe::Call& call) {
    std::ostringstream text;
    text << call.words[1];
    const bool forEngine = call.words[0] != 0;
    text << (forEngine ? " E" : " 0");
    for (std::size_t i = 2; i < call.words.size(); ++i) {
        const bool address = i < 5 && call.words[i] != 0;
        text << " " << (address ? "ptr" : std::to_string(call.words[i]));
    }
    return text.str();
}

probe::Probe& theProbe() {
    static probe::Probe* const found = [] {
        void* image = dlopen(executableOf(builtBundle("Probe.engine")).c_str(), RTLD_NOW);
        if (image == nullptr)
            throw std::runtime_error(dlerror());
        return reinterpret_cast<probe::Probe* (*)()>(dlsym(image, "velnorProbe"))();
    }();
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
    const std::string entry =
        value ? "<key>" + key + "</key><string>" + *value + "</string>" : std::string();
    WriteFile(home.ConfigHome() + "/velnor/" + domain + ".plist",
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + entry +
                  "</dict></plist>\n");
}

std::string TestHost::logPath(const std::string& file) const {
    return home.DataHome() + "/Tavo/Tarn 12/" + file;
}

std::vector<std::string> TestHost::log(const std::string& file) const {
    std::istringstream text(ReadFile(logPath(file)));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) {
        const std::size_t thread = line.find(':', 2);
        const std::size_t time = thread == std::string::npos ? thread : line.find(':', thread + 1);
        lines.push_back(time == std::string::npos ? line
                                                  : line.substr(0, 2) + line.substr(time + 1));
    }
    return lines;
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
    for (const probe::Call& call : theProbe().calls())
        texts.push_back(textOf(call));
    theProbe().clear();
    return texts;
}

std::vector<probe::Call> callsOf(OrmoOpcode opcode) {
    std::vector<probe::Call> calls = theProbe().calls();
    std::erase_if(calls, [opcode](const probe::Call& call) { return call.opcode() != opcode; });
    return calls;
}

Instrument::Instrument(const std::string& bundle) {
    Component component = nullptr;
    UInt32 count = 0;
    EXPECT_EQ(PlatformRegisterComponentBundle(bundle.c_str(), &component, 1, &count), noErr);
    EXPECT_EQ(PlatformOpenComponent(component, &mUnit), noErr);
    if (mUnit == nullptr)
        throw std::runtime_error("the component does not open: " + bundle);
}

void Instrument::close() {
    if (mUnit != nullptr)
        CloseComponent(mUnit);
    mUnit = nullptr;
}

OSStatus Instrument::setFormat(UInt32 bus, UInt32 channels, Float64 rate) {
    const AudioStreamBasicDescription format = {rate,
                                                kAudioFormatLinearPCM,
                                                kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked |
                                                    kAudioFormatFlagIsNonInterleaved,
                                                4,
                                                1,
                                                4,
                                                channels,
                                                32,
                                                0};
    return AudioUnitSetProperty(mUnit, kAudioUnitProperty_StreamFormat, kAudioUnitScope_Output, bus,
                                &format, sizeof format);
}

OSStatus Instrument::setBusCount(UInt32 count) {
    return set(kAudioUnitProperty_ElementCount, count, kAudioUnitScope_Output);
}

OSStatus Instrument::setOffline(UInt32 offline) {
    return set(kAudioUnitProperty_OfflineRender, offline);
}

void Instrument::setHostCallbacks(const HostCallbackInfo& callbacks) {
    EXPECT_EQ(set(kAudioUnitProperty_HostCallbacks, callbacks), noErr);
}

OSStatus Instrument::sendMidi(UInt32 status, UInt32 data1, UInt32 data2, SInt32 offset) {
    return MusicDeviceMIDIEvent(mUnit, status, data1, data2, static_cast<UInt32>(offset));
}

Instrument::Audio Instrument::pull(UInt32 bus, UInt32 channels, UInt32 frames, Float64 sampleTime) {
    Audio audio;
    audio.channels.assign(channels, std::vector<float>(frames, kUntouched));
    BufferList buffers(audio.channels);
    AudioUnitRenderActionFlags flags = 0;
    AudioTimeStamp time = {};
    time.mSampleTime = sampleTime;
    time.mFlags = kAudioTimeStampSampleTimeValid;
    audio.status = AudioUnitRender(mUnit, &flags, &time, bus, frames, &buffers.list());
    EXPECT_EQ(flags, 0U); // never claims silence
    return audio;
}

Instrument::Audio Instrument::pullNext(UInt32 frames) {
    const Float64 time = mSampleTime;
    mSampleTime += frames;
    return pull(0, 2, frames, time);
}

} // namespace velnor::test
