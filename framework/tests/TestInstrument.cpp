#include "framework/tests/TestInstrument.h"

#include "platform/CFString.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

namespace velnor {

namespace {

constexpr UInt32 kNamedParameter = 7;
constexpr AUChannelInfo kChannelInfos[] = {{0, 2}, {0, -16}};
constexpr std::size_t kSliceRoom = 64;

CFRef<CFStringRef> Text(const char* inText) {
    return CFRef<CFStringRef>(
        CFStringCreateWithCString(kCFAllocatorDefault, inText, kCFStringEncodingUTF8));
}

CFURLRef NewFileUrl(const char* inPath) {
    return CFURLCreateWithFileSystemPath(kCFAllocatorDefault, Text(inPath).Get(),
                                         kCFURLPOSIXPathStyle, false);
}

/// Fills the place, unless it is null.
OSStatus GiveNames(CFArrayRef* outNames, std::initializer_list<const char*> inNames) {
    if (outNames != nullptr) {
        const auto names = CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks);
        for (const char* name : inNames) {
            CFArrayAppendValue(names, Text(name).Get());
        }
        *outNames = names;
    }
    return noErr;
}

} // namespace

TestInstrument::Shape TestInstrument::sShape;
std::atomic<int> TestInstrument::sLive{0};
std::atomic<int> TestInstrument::sCleanups{0};

void ThrowAs(Throw inThrow) {
    switch (inThrow) {
    case Throw::kNothing:
        return;
    case Throw::kStatus:
        throw OSStatus{kThrownStatus};
    case Throw::kError:
        throw OSErr{kThrownError};
    case Throw::kBadAlloc:
        throw std::bad_alloc();
    case Throw::kOther:
        throw std::runtime_error("other");
    }
}

bool TestInstrument::Call::operator==(const Call& inOther) const {
    return std::strcmp(operation, inOther.operation) == 0 && numbers == inOther.numbers;
}

std::ostream& operator<<(std::ostream& outStream, const TestInstrument::Call& inCall) {
    outStream << inCall.operation;
    for (const Float64 number : inCall.numbers) {
        outStream << ' ' << number;
    }
    return outStream;
}

TestInstrument::TestInstrument(ComponentInstance inInstance)
    : MusicDeviceBase(inInstance, sShape.inputs, sShape.outputs, sShape.groups, sShape.parts,
                      sShape.interfaceVersion) {
    mSlices.reserve(kSliceRoom);
    ThrowAs(sShape.inConstructor);
    ++sLive;
}

void TestInstrument::PostConstructor() {
    CreateElements();
    if (sShape.indexedParameters > 0) {
        GetElement(kAudioUnitScope_Global, 0)->UseIndexedParameters(sShape.indexedParameters);
    }
    ThrowAs(sShape.inPostConstructor);
}

void* TestInstrument::OwnProperty(AudioUnitPropertyID inID) {
    if (!mOffersAll) {
        return nullptr;
    }
    return inID == kAudioUnitProperty_RenderQuality ? &mQuality
           : inID == kAudioUnitProperty_CPULoad     ? static_cast<void*>(&mLoad)
                                                    : nullptr;
}

OSStatus TestInstrument::GetPropertyInfo(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                         AudioUnitElement inElement, UInt32& outDataSize,
                                         Boolean& outWritable) {
    if (OwnProperty(inID) != nullptr) {
        outDataSize = 4;
        outWritable = 1;
        return noErr;
    }
    return MusicDeviceBase::GetPropertyInfo(inID, inScope, inElement, outDataSize, outWritable);
}

OSStatus TestInstrument::GetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                     AudioUnitElement inElement, void* outData) {
    if (const void* own = OwnProperty(inID)) {
        ThrowAs(mThrow);
        std::memcpy(outData, own, 4);
        return noErr;
    }
    return MusicDeviceBase::GetProperty(inID, inScope, inElement, outData);
}

OSStatus TestInstrument::SetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                     AudioUnitElement inElement, const void* inData,
                                     UInt32 inDataSize) {
    if (void* own = OwnProperty(inID); own != nullptr && inDataSize == 4) {
        std::memcpy(own, inData, 4);
        return noErr;
    }
    return MusicDeviceBase::SetProperty(inID, inScope, inElement, inData, inDataSize);
}

OSStatus TestInstrument::Render(AudioUnitRenderActionFlags&, const AudioTimeStamp&,
                                UInt32 inFrames) VELNOR_NONBLOCKING {
    const int render = ++mRenders;
    VELNOR_RT_ESCAPE("a failure that the test asks for", ThrowAs(mThrow));
    if (mStatus != noErr) {
        return mStatus;
    }
    const UInt32 buses = GetScope(kAudioUnitScope_Output).GetNumberOfElements();
    for (UInt32 bus = 0; bus < buses; ++bus) {
        AudioBufferList& list = GetOutput(bus).GetBufferList();
        AudioBuffer* const buffers = list.mBuffers;
        for (UInt32 channel = 0; channel < list.mNumberBuffers; ++channel) {
            std::fill_n(static_cast<Float32*>(buffers[channel].mData),
                        buffers[channel].mDataByteSize / sizeof(Float32),
                        SampleOf(render, bus, channel));
        }
    }
    return mRendersSlices ? ProcessForScheduledParams(GetPendingParameterEvents(), inFrames, this)
                          : OSStatus{noErr};
}

OSStatus TestInstrument::ProcessScheduledSlice(void* inUserData, UInt32 inStartFrame,
                                               UInt32 inSliceFrames,
                                               UInt32 inTotalFrames) VELNOR_NONBLOCKING {
    const RampSlice ramp = GetElement(kAudioUnitScope_Global, 0)->GetRampSliceStartEnd(0);
    VELNOR_RT_ESCAPE(
        "room is reserved", if (inUserData == this && mSlices.size() < kSliceRoom) {
            mSlices.push_back({inStartFrame, inSliceFrames, inTotalFrames, ramp.start, ramp.end});
        });
    return mSliceStatus;
}

OSStatus TestInstrument::GetParameterInfo(AudioUnitScope inScope, AudioUnitParameterID inID,
                                          AudioUnitParameterInfo& outInfo) {
    if (inID != kNamedParameter) {
        return MusicDeviceBase::GetParameterInfo(inScope, inID, outInfo);
    }
    std::strcpy(outInfo.name, "Cutoff");
    outInfo.maxValue = 8;
    return noErr;
}

OSStatus TestInstrument::GetParameterValueStrings(AudioUnitScope inScope, AudioUnitParameterID inID,
                                                  CFArrayRef* outStrings) {
    return inID == kNamedParameter
               ? GiveNames(outStrings, {"off", "on"})
               : MusicDeviceBase::GetParameterValueStrings(inScope, inID, outStrings);
}

OSStatus TestInstrument::GetPresets(CFArrayRef* outPresets) {
    return mOffersAll ? GiveNames(outPresets, {"Piano", "Organ", "Strings"})
                      : MusicDeviceBase::GetPresets(outPresets);
}

OSStatus TestInstrument::NewFactoryPresetSet(const AUPreset& inPreset) {
    if (!mOffersAll || inPreset.presetNumber > 2) {
        return MusicDeviceBase::NewFactoryPresetSet(inPreset);
    }
    SetAFactoryPresetAsCurrent({inPreset.presetNumber, Text("Factory").Get()});
    return noErr;
}

CFURLRef TestInstrument::GetIconLocation() {
    return NewFileUrl("/icon");
}

UInt32 TestInstrument::SupportedNumChannels(const AUChannelInfo** outInfos) {
    if (!mOffersAll) {
        return MusicDeviceBase::SupportedNumChannels(outInfos);
    }
    if (outInfos != nullptr) {
        *outInfos = kChannelInfos;
    }
    return static_cast<UInt32>(std::size(kChannelInfos));
}

UInt32 TestInstrument::GetAudioChannelLayout(AudioUnitScope inScope, AudioUnitElement inElement,
                                             AudioChannelLayout* outLayout, Boolean& outWritable) {
    if (!mOffersAll || inScope != kAudioUnitScope_Output) {
        return MusicDeviceBase::GetAudioChannelLayout(inScope, inElement, outLayout, outWritable);
    }
    outWritable = 1;
    if (outLayout != nullptr) {
        *outLayout = {kAudioChannelLayoutTag_Stereo, 0, 0, {}};
    }
    return sizeof(AudioChannelLayout);
}

UInt32 TestInstrument::GetChannelLayoutTags(AudioUnitScope inScope, AudioUnitElement inElement,
                                            AudioChannelLayoutTag* outTags) {
    if (!mOffersAll || inScope != kAudioUnitScope_Output) {
        return MusicDeviceBase::GetChannelLayoutTags(inScope, inElement, outTags);
    }
    if (outTags != nullptr) {
        outTags[0] = kAudioChannelLayoutTag_Stereo;
        outTags[1] = kAudioChannelLayoutTag_Mono;
    }
    return 2;
}

OSStatus TestInstrument::SetAudioChannelLayout(AudioUnitScope inScope, AudioUnitElement inElement,
                                               const AudioChannelLayout* inLayout) {
    return mOffersAll
               ? Record("SetLayout", inScope, inElement, inLayout->mNumberChannelDescriptions)
               : MusicDeviceBase::SetAudioChannelLayout(inScope, inElement, inLayout);
}

OSStatus TestInstrument::RemoveAudioChannelLayout(AudioUnitScope inScope,
                                                  AudioUnitElement inElement) {
    return mOffersAll ? Record("RemoveLayout", inScope, inElement)
                      : MusicDeviceBase::RemoveAudioChannelLayout(inScope, inElement);
}

OSStatus TestInstrument::GetXMLNames(CFURLRef* outFile) {
    if (!mOffersAll) {
        return MusicDeviceBase::GetXMLNames(outFile);
    }
    if (outFile != nullptr) {
        *outFile = NewFileUrl("/names");
    }
    return noErr;
}

OSStatus TestInstrument::StartNote(MusicDeviceInstrumentID inInstrument, MusicDeviceGroupID inGroup,
                                   NoteInstanceID* outNoteInstance, UInt32 inFrame,
                                   const MusicDeviceNoteParams& inParams) VELNOR_NONBLOCKING {
    VELNOR_RT_ESCAPE("a failure that the test asks for", ThrowAs(mThrow));
    Record("StartNote", inInstrument, inGroup, inFrame, inParams.mPitch, inParams.mVelocity);
    if (outNoteInstance != nullptr) {
        *outNoteInstance = 1000 + static_cast<NoteInstanceID>(inParams.mPitch);
    }
    return mStatus;
}

std::vector<TestInstrument::Call> TestInstrument::TakeCalls() {
    const auto end = mCalls.begin() + static_cast<std::ptrdiff_t>(std::exchange(mCallCount, 0));
    return {mCalls.begin(), end};
}

OpenInstrument::OpenInstrument(const TestInstrument::Shape& inShape) {
    TestInstrument::sShape = inShape;
    mOpenStatus = PlatformOpenComponent(Registration(), &mUnit);
    if (mUnit != nullptr) {
        mInstrument = static_cast<TestInstrument*>(static_cast<ComponentBase*>(Storage()));
    }
}

Component OpenInstrument::Registration() {
    static const ComponentDescription description = {kAudioUnitType_MusicDevice, kTestSubType,
                                                     kTestManufacturer, 0, 0};
    static const Component registration = PlatformRegisterComponentEntry(
        &description, ComponentEntryPoint<TestInstrument>::Dispatch, "Test instrument", 1);
    return registration;
}

void OpenInstrument::Close() {
    if (mUnit != nullptr) {
        CloseComponent(mUnit);
    }
    mUnit = nullptr;
    mInstrument = nullptr;
}

} // namespace velnor
