#include "fuzz/PropertyValues.h"

#include "fuzz/FuzzCheck.h"
#include "platform/AudioUnit.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace velnor::fuzz {

namespace {

constexpr AudioUnitPropertyID kOther[] = {kMusicDeviceProperty_InstrumentCount,
                                          kMusicDeviceProperty_MIDIXMLNames,
                                          64000,
                                          64001,
                                          64002,
                                          65536,
                                          70000,
                                          0xFFFFFFFF};
constexpr AudioUnitPropertyID kLastStandard = 40;
// What an instrument may be asked to do in the time that a fuzzer has.
constexpr UInt32 kMostBuses = 40;
constexpr UInt32 kMostFrames = 8192;
constexpr UInt32 kRefusedFrames = 1U << 24;

template <typename T>
std::vector<UInt8> Bytes(const T& value) {
    std::vector<UInt8> bytes(sizeof value);
    std::memcpy(bytes.data(), static_cast<const void*>(&value), sizeof value);
    return bytes;
}

// Where in a value a reference stands that its reader owns.
const std::pair<AudioUnitPropertyID, std::size_t> kOwned[] = {
    {kAudioUnitProperty_ClassInfo, 0},
    {kAudioUnitProperty_ParameterValueStrings, 0},
    {kAudioUnitProperty_FactoryPresets, 0},
    {kAudioUnitProperty_ContextName, 0},
    {kAudioUnitProperty_CurrentPreset, offsetof(AUPreset, presetName)},
    {kAudioUnitProperty_PresentPreset, offsetof(AUPreset, presetName)},
    {kAudioUnitProperty_ElementName, 0},
    {kAudioUnitProperty_IconLocation, 0},
    {kMusicDeviceProperty_MIDIXMLNames, 0}};

PropertyValues* Of(void* userData) {
    return static_cast<PropertyValues*>(userData);
}

OSStatus Beat(void* userData, Float64* beat, Float64* tempo) {
    if (userData == nullptr) {
        return -1;
    }
    *beat = Real(Of(userData)->Input());
    *tempo = Real(Of(userData)->Input());
    return noErr;
}

OSStatus Location(void* userData, UInt32* next, Float32* numerator, UInt32* denominator,
                  Float64* downBeat) {
    if (userData == nullptr) {
        return -1;
    }
    *next = Number(Of(userData)->Input(), 512);
    *numerator = static_cast<Float32>(Number(Of(userData)->Input(), 7));
    *denominator = Number(Of(userData)->Input(), 8);
    *downBeat = Real(Of(userData)->Input());
    return noErr;
}

OSStatus Transport(void* userData, Boolean* playing, Boolean* changed, Float64* sample,
                   Boolean* cycling, Float64* start, Float64* end) {
    if (userData == nullptr) {
        return -1;
    }
    *playing = Of(userData)->Input().ConsumeIntegral<Boolean>();
    *changed = Of(userData)->Input().ConsumeIntegral<Boolean>();
    *cycling = Of(userData)->Input().ConsumeIntegral<Boolean>();
    *sample = Real(Of(userData)->Input());
    *start = Real(Of(userData)->Input());
    *end = Real(Of(userData)->Input());
    return noErr;
}

OSStatus Notified(void*, AudioUnitRenderActionFlags* flags, const AudioTimeStamp*, UInt32, UInt32,
                  AudioBufferList*) {
    *flags = 0;
    return -1;
}

// Takes itself out of the list.
OSStatus NotifiedOnce(void* userData, AudioUnitRenderActionFlags*, const AudioTimeStamp*, UInt32,
                      UInt32, AudioBufferList*) {
    if (userData != nullptr) {
        FUZZ_CHECK(AudioUnitRemoveRenderNotify(Of(userData)->Unit(), NotifiedOnce, userData) ==
                   noErr);
    }
    return noErr;
}

void Heard(void*, AudioUnit, AudioUnitPropertyID, AudioUnitScope, AudioUnitElement) {}

void HeardOnce(void*, AudioUnit unit, AudioUnitPropertyID id, AudioUnitScope, AudioUnitElement) {
    FUZZ_CHECK(AudioUnitRemovePropertyListener(unit, id, HeardOnce) == noErr);
}

// Reads what has changed.
void HeardAndRead(void*, AudioUnit unit, AudioUnitPropertyID id, AudioUnitScope scope,
                  AudioUnitElement element) {
    UInt32 size = 0;
    AudioUnitGetPropertyInfo(unit, id, scope, element, &size, nullptr);
}

// One of the values, or null.
template <typename Proc, std::size_t Count>
Proc PickOrNull(FuzzedDataProvider& input, Proc const (&procs)[Count]) {
    return OneIn(input, 8) ? nullptr : input.PickValueInArray(procs);
}

UInt32 BoundedFrames(FuzzedDataProvider& input) {
    const UInt32 frames = Number(input, kMostFrames);
    return frames >= kRefusedFrames ? frames : frames % (kMostFrames + 1);
}

AudioStreamBasicDescription Format(FuzzedDataProvider& input) {
    AudioStreamBasicDescription format = {Real(input),
                                          kAudioFormatLinearPCM,
                                          kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked |
                                              kAudioFormatFlagIsNonInterleaved,
                                          4,
                                          1,
                                          4,
                                          OneIn(input, 2) ? 2 : Number(input, kMostBuses),
                                          32,
                                          0};
    constexpr UInt32 AudioStreamBasicDescription::* kFields[] = {
        &AudioStreamBasicDescription::mFormatID,
        &AudioStreamBasicDescription::mFormatFlags,
        &AudioStreamBasicDescription::mBytesPerPacket,
        &AudioStreamBasicDescription::mBytesPerFrame,
        &AudioStreamBasicDescription::mFramesPerPacket,
        &AudioStreamBasicDescription::mBitsPerChannel};
    if (OneIn(input, 8)) {
        format.*input.PickValueInArray(kFields) = Number(input, 64);
    }
    return format;
}

} // namespace

PropertyAddress PropertyValues::Address() {
    const AudioUnitPropertyID id =
        OneIn(mInput, 4) ? mInput.PickValueInArray(kOther) : Number(mInput, kLastStandard);
    const AudioUnitScope scope = OneIn(mInput, 2) ? kAudioUnitScope_Global : Number(mInput, 5);
    const AudioUnitElement element = OneIn(mInput, 2) ? 0 : Number(mInput, 16);
    return {id, scope, element};
}

std::vector<UInt8> PropertyValues::Value(AudioUnitPropertyID id) {
    switch (id) {
    case kAudioUnitProperty_ClassInfo:
        return State();
    case kAudioUnitProperty_ContextName:
    case kAudioUnitProperty_ElementName:
        return Bytes(mMemory.Object());
    case kAudioUnitProperty_CurrentPreset:
    case kAudioUnitProperty_PresentPreset: {
        const auto number = static_cast<SInt32>(Number(mInput, 2));
        return Bytes(
            AUPreset{OneIn(mInput, 2) ? -1 : number, static_cast<CFStringRef>(mMemory.Object())});
    }
    case kAudioUnitProperty_MakeConnection:
        return Bytes(AudioUnitConnection{OneIn(mInput, 2) ? mUnit : nullptr, Number(mInput, 3),
                                         Number(mInput, 3)});
    case kAudioUnitProperty_SetRenderCallback:
        return Bytes(AURenderCallbackStruct{RenderCallback(), UserData()});
    case kAudioUnitProperty_HostCallbacks: {
        constexpr HostCallback_GetBeatAndTempo kBeat[] = {Beat};
        constexpr HostCallback_GetMusicalTimeLocation kLocation[] = {Location};
        constexpr HostCallback_GetTransportState kTransport[] = {Transport};
        return Bytes(HostCallbackInfo{UserData(), PickOrNull(mInput, kBeat),
                                      PickOrNull(mInput, kLocation),
                                      PickOrNull(mInput, kTransport)});
    }
    case kAudioUnitProperty_SetExternalBuffer: {
        const UInt32 size = mInput.ConsumeIntegralInRange(0U, 1U << 18);
        UInt8* const block = OneIn(mInput, 8) ? nullptr : mMemory.Block(size, OneIn(mInput, 8));
        return Bytes(AudioUnitExternalBuffer{block, size});
    }
    case kAudioUnitProperty_StreamFormat:
        return Bytes(Format(mInput));
    case kAudioUnitProperty_SampleRate:
        return Bytes(Real(mInput));
    case kAudioUnitProperty_ElementCount: {
        const UInt32 count = Number(mInput, 4);
        return Bytes(count > 0xFFFF ? count : count % (kMostBuses + 1));
    }
    case kAudioUnitProperty_MaximumFramesPerSlice:
        return Bytes(BoundedFrames(mInput));
    default:
        return mInput.ConsumeBytes<UInt8>(mInput.ConsumeIntegralInRange<std::size_t>(0, 64));
    }
}

// An object that is no state, or the instrument's own state.
std::vector<UInt8> PropertyValues::State() {
    if (OneIn(mInput, 2)) {
        return Bytes(mMemory.Object());
    }
    CFTypeRef state = nullptr;
    UInt32 size = sizeof state;
    AudioUnitGetProperty(mUnit, kAudioUnitProperty_ClassInfo, kAudioUnitScope_Global, 0, &state,
                         &size);
    return Bytes(mMemory.Adopt(state));
}

void PropertyValues::ReleaseObject(AudioUnitPropertyID id, const void* data, UInt32 room) {
    const auto owned = std::find_if(std::begin(kOwned), std::end(kOwned),
                                    [id](const auto& entry) { return entry.first == id; });
    CFTypeRef object = nullptr;
    if (owned == std::end(kOwned) || room < owned->second + sizeof object) {
        return;
    }
    std::memcpy(&object, static_cast<const UInt8*>(data) + owned->second, sizeof object);
    FUZZ_CHECK(object != nullptr);
    FUZZ_CHECK(id == kAudioUnitProperty_ClassInfo || CFGetTypeID(object) == CFStringGetTypeID());
    mMemory.Adopt(object);
}

AURenderCallback PropertyValues::RenderCallback() {
    constexpr AURenderCallback kProcs[] = {Notified, NotifiedOnce};
    return PickOrNull(mInput, kProcs);
}

AudioUnitPropertyListenerProc PropertyValues::Listener() {
    constexpr AudioUnitPropertyListenerProc kProcs[] = {Heard, HeardOnce, HeardAndRead};
    return PickOrNull(mInput, kProcs);
}

} // namespace velnor::fuzz
