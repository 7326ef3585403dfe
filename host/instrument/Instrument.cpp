#include "host/instrument/Instrument.h"

#include "bridge/OrmoEngine.h"
#include "host/job/JobError.h"
#include "host/job/PlatformText.h"
#include "platform/Folders.h"

#include <cstddef>
#include <filesystem>

namespace velnor::host {

namespace {

// An instrument keeps its log there, and makes no such folder: on a new account there is none yet.
void makeDataHome() {
    FSRef home;
    std::error_code ignored;
    if (PlatformNameDataHome(&home) == noErr) {
        std::filesystem::create_directories(home.path, ignored);
    }
}

AudioBufferList& listIn(std::vector<unsigned char>& memory) {
    return *reinterpret_cast<AudioBufferList*>(memory.data());
}

} // namespace

std::string statusText(OSStatus status) {
    static constexpr struct {
        OSStatus status;
        const char* text;
    } kTexts[] = {
        {-1, "an error that it does not name"},
        {paramErr, "wrong parameter"},
        {dskFulErr, "no space left"},
        {ioErr, "input or output error"},
        {fnfErr, "not found"},
        {permErr, "it may not be read"},
        {wrPermErr, "it may not be written"},
        {memFullErr, "out of memory"},
        {badComponentSelector, "not supported by the component"},
        {couldNotOpenComponent, "the component does not load"},
        {kAudioUnitErr_InvalidProperty, "no such property"},
        {kAudioUnitErr_InvalidParameter, "no such parameter"},
        {kAudioUnitErr_InvalidElement, "no such bus"},
        {kAudioUnitErr_TooManyFramesToProcess, "too many frames"},
        {kAudioUnitErr_FormatNotSupported, "format not supported"},
        {kAudioUnitErr_Uninitialized, "not initialised, or without an engine"},
        {kAudioUnitErr_InvalidScope, "wrong scope"},
        {kAudioUnitErr_PropertyNotWritable, "not writable"},
        {kAudioUnitErr_InvalidPropertyValue, "value refused"},
        {kAudioUnitErr_Initialized, "not while initialised"},
    };
    for (const auto& entry : kTexts) {
        if (entry.status == status) {
            return std::to_string(status) + " (" + entry.text + ")";
        }
    }
    return std::to_string(status);
}

Instrument::Instrument(Component component) {
    makeDataHome();
    const OSStatus status = PlatformOpenComponent(component, &mUnit);
    if (status == noErr) {
        return;
    }
    const CFRef<CFStringRef> reason(PlatformComponentCopyOpenError(component));
    const std::string text = textOf(reason.Get());
    throw JobError("the instrument does not open: " + (text.empty() ? statusText(status) : text));
}

Instrument::~Instrument() {
    CloseComponent(mUnit);
}

void Instrument::setProperty(AudioUnitPropertyID id, AudioUnitScope scope, UInt32 element,
                             const void* data, UInt32 size, const char* what) {
    const OSStatus status = AudioUnitSetProperty(mUnit, id, scope, element, data, size);
    if (status != noErr) {
        throw JobError(std::string("the instrument refuses ") + what + ": " + statusText(status));
    }
}

void Instrument::setRate(double rate) {
    for (UInt32 bus = 0; bus < busCount(); ++bus) {
        setProperty(kAudioUnitProperty_SampleRate, kAudioUnitScope_Output, bus, &rate, sizeof rate,
                    "the sample rate");
    }
}

void Instrument::setMaximumFrames(UInt32 frames) {
    setProperty(kAudioUnitProperty_MaximumFramesPerSlice, kAudioUnitScope_Global, 0, &frames,
                sizeof frames, "the block size");
    mMaximumFrames = frames;
}

void Instrument::setOffline(bool offline) {
    const UInt32 value = offline ? 1 : 0;
    setProperty(kAudioUnitProperty_OfflineRender, kAudioUnitScope_Global, 0, &value, sizeof value,
                "the offline setting");
}

void Instrument::setBuses(const std::vector<UInt32>& channels) {
    const auto count = static_cast<UInt32>(channels.size());
    if (count != busCount()) {
        setProperty(kAudioUnitProperty_ElementCount, kAudioUnitScope_Output, 0, &count,
                    sizeof count, "that number of buses");
    }
    for (UInt32 bus = 0; bus < count; ++bus) {
        AudioStreamBasicDescription format = {};
        UInt32 size = sizeof format;
        AudioUnitGetProperty(mUnit, kAudioUnitProperty_StreamFormat, kAudioUnitScope_Output, bus,
                             &format, &size);
        format.mChannelsPerFrame = channels[bus];
        setProperty(kAudioUnitProperty_StreamFormat, kAudioUnitScope_Output, bus, &format,
                    sizeof format, "that number of channels");
    }
}

void Instrument::setCallbacks(const HostCallbackInfo& callbacks) {
    setProperty(kAudioUnitProperty_HostCallbacks, kAudioUnitScope_Global, 0, &callbacks,
                sizeof callbacks, "the transport callbacks");
}

void Instrument::initialize() {
    const OSStatus status = AudioUnitInitialize(mUnit);
    if (status != noErr) {
        throw JobError("the instrument does not initialise: " + statusText(status));
    }
    prepareBuses();
}

void Instrument::setBestQuality() {
    const SInt32 best = 1;
    setProperty(kVendorPropertyQuality, kAudioUnitScope_Global, 0, &best, sizeof best,
                "--quality best; its engine knows only one quality");
}

bool Instrument::hasEngine() const {
    OrmoEngineHandle handle = 0;
    UInt32 size = sizeof handle;
    const OSStatus status = AudioUnitGetProperty(mUnit, kPropertyEngineHandle,
                                                 kAudioUnitScope_Global, 0, &handle, &size);
    return status != noErr || handle != 0; // other instruments have no such property
}

UInt32 Instrument::busCount() const {
    UInt32 count = 0;
    UInt32 size = sizeof count;
    const OSStatus status = AudioUnitGetProperty(mUnit, kAudioUnitProperty_ElementCount,
                                                 kAudioUnitScope_Output, 0, &count, &size);
    return status == noErr ? count : 0;
}

UInt32 Instrument::channelsOfBus(UInt32 bus) const {
    AudioStreamBasicDescription format = {};
    UInt32 size = sizeof format;
    const OSStatus status = AudioUnitGetProperty(mUnit, kAudioUnitProperty_StreamFormat,
                                                 kAudioUnitScope_Output, bus, &format, &size);
    return status == noErr ? format.mChannelsPerFrame : 0;
}

void Instrument::prepareBuses() {
    mBuses.assign(busCount(), {});
    for (UInt32 number = 0; number < mBuses.size(); ++number) {
        Bus& bus = mBuses[number];
        const std::size_t channels = channelsOfBus(number);
        bus.samples.assign(channels * mMaximumFrames, 0.0f);
        bus.channels.assign(channels, nullptr);
        bus.list.assign(offsetof(AudioBufferList, mBuffers) + channels * sizeof(AudioBuffer), 0);
        listIn(bus.list).mNumberBuffers = static_cast<UInt32>(channels);
    }
}

void Instrument::prepareList(Bus& bus, UInt32 frames) {
    AudioBufferList& list = listIn(bus.list);
    for (UInt32 channel = 0; channel < list.mNumberBuffers; ++channel) {
        list.mBuffers[channel] = {1, static_cast<UInt32>(frames * sizeof(float)),
                                  bus.samples.data() + std::size_t{channel} * mMaximumFrames};
    }
}

void Instrument::send(std::uint8_t status, std::uint8_t data1, std::uint8_t data2, UInt32 offset) {
    const OSStatus result = MusicDeviceMIDIEvent(mUnit, status, data1, data2, offset);
    if (result != noErr) {
        throw JobError("the instrument refuses a MIDI message: " + statusText(result));
    }
}

void Instrument::pull(std::int64_t sampleTime, UInt32 frames) {
    AudioTimeStamp stamp = {};
    stamp.mSampleTime = static_cast<Float64>(sampleTime);
    stamp.mFlags = kAudioTimeStampSampleTimeValid;
    for (UInt32 number = 0; number < mBuses.size(); ++number) {
        Bus& bus = mBuses[number];
        prepareList(bus, frames);
        AudioUnitRenderActionFlags flags = 0;
        AudioBufferList& list = listIn(bus.list);
        const OSStatus status = AudioUnitRender(mUnit, &flags, &stamp, number, frames, &list);
        if (status != noErr) {
            throw JobError("the instrument does not render: " + statusText(status));
        }
        for (UInt32 channel = 0; channel < list.mNumberBuffers; ++channel) {
            bus.channels[channel] = static_cast<const float*>(list.mBuffers[channel].mData);
        }
    }
}

} // namespace velnor::host
