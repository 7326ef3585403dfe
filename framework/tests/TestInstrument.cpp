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
constexpr AudioChannelLayoutTag kTags[] = {kAudioChannelLayoutTag_Stereo,
                                           kAudioChannelLayoutTag_Mono};
constexpr std::size_t kSliceRoom = 64;

CFRef<CFURLRef> FileUrl(const char* inPath) {
    const CFRef<CFStringRef> path(
        CFStringCreateWithCString(kCFAllocatorDefault, inPath, kCFStringEncodingUTF8));
    return CFRef<CFURLRef>(CFURLCreateWithFileSystemPath(kCFAllocatorDefault, path.Get(),
                                                         kCFURLPOSIXPathStyle, false));
}

CFArrayRef NewNames(std::initializer_list<const char*> inNames) {
    const CFMutableArrayRef names =
        CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks);
    for (const char* text : inNames) {
        const CFRef<CFStringRef> name(
            CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingUTF8));
        CFArrayAppendValue(names, name.Get());
    }
    return names;
}

} // namespace

TestInstrument::Shape TestInstrument::sShape;
std::atomic<int> TestInstrument::sLive{0};

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

TestInstrument::~TestInstrument() {
    --sLive;
}

void TestInstrument::PostConstructor() {
    CreateElements();
    if (sShape.indexedParameters > 0) {
        GetElement(kAudioUnitScope_Global, 0)->UseIndexedParameters(sShape.indexedParameters);
    }
    ThrowAs(sShape.inPostConstructor);
}

OSStatus TestInstrument::Initialize() {
    Record("Initialize", {});
    return mStatus;
}

void TestInstrument::Cleanup() {
    Record("Cleanup", {});
}

OSStatus TestInstrument::Reset(AudioUnitScope inScope, AudioUnitElement inElement) {
    ThrowAs(mThrow);
    Record("Reset", {Float64(inScope), Float64(inElement)});
    return noErr;
}

OSStatus TestInstrument::ReallocateBuffers() {
    Record("ReallocateBuffers", {});
    const OSStatus status = MusicDeviceBase::ReallocateBuffers();
    return status == noErr ? OSStatus{-1} : status; // nobody may look at it
}

OSStatus TestInstrument::GetPropertyInfo(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                         AudioUnitElement inElement, UInt32& outDataSize,
                                         Boolean& outWritable) {
    if (mOffersAll &&
        (inID == kAudioUnitProperty_RenderQuality || inID == kAudioUnitProperty_CPULoad)) {
        outDataSize = sizeof(UInt32);
        outWritable = 1;
        return noErr;
    }
    return MusicDeviceBase::GetPropertyInfo(inID, inScope, inElement, outDataSize, outWritable);
}

OSStatus TestInstrument::GetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                     AudioUnitElement inElement, void* outData) {
    if (mOffersAll && inID == kAudioUnitProperty_RenderQuality) {
        ThrowAs(mThrow);
        std::memcpy(outData, &mQuality, sizeof mQuality);
        return noErr;
    }
    if (mOffersAll && inID == kAudioUnitProperty_CPULoad) {
        std::memcpy(outData, &mLoad, sizeof mLoad);
        return noErr;
    }
    return MusicDeviceBase::GetProperty(inID, inScope, inElement, outData);
}

OSStatus TestInstrument::SetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                     AudioUnitElement inElement, const void* inData,
                                     UInt32 inDataSize) {
    if (mOffersAll && inID == kAudioUnitProperty_RenderQuality && inDataSize == sizeof mQuality) {
        std::memcpy(&mQuality, inData, sizeof mQuality);
        return noErr;
    }
    if (mOffersAll && inID == kAudioUnitProperty_CPULoad && inDataSize == sizeof mLoad) {
        std::memcpy(&mLoad, inData, sizeof mLoad);
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
        for (UInt32 channel = 0; channel < list.mNumberBuffers; ++channel) {
            AudioBuffer* const buffers = list.mBuffers;
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

OSStatus TestInstrument::GetParameterInfo(AudioUnitScope, AudioUnitParameterID inID,
                                          AudioUnitParameterInfo& outInfo) {
    if (inID != kNamedParameter) {
        return kAudioUnitErr_InvalidParameter;
    }
    std::strcpy(outInfo.name, "Cutoff");
    outInfo.maxValue = 8;
    return noErr;
}

OSStatus TestInstrument::GetParameterValueStrings(AudioUnitScope, AudioUnitParameterID inID,
                                                  CFArrayRef* outStrings) {
    if (inID != kNamedParameter) {
        return kAudioUnitErr_InvalidProperty;
    }
    if (outStrings != nullptr) {
        *outStrings = NewNames({"off", "on"});
    }
    return noErr;
}

OSStatus TestInstrument::GetPresets(CFArrayRef* outPresets) {
    if (!mOffersAll) {
        return MusicDeviceBase::GetPresets(outPresets);
    }
    if (outPresets != nullptr) {
        *outPresets = NewNames({"Piano", "Organ", "Strings"});
    }
    return noErr;
}

OSStatus TestInstrument::NewFactoryPresetSet(const AUPreset& inPreset) {
    if (!mOffersAll || inPreset.presetNumber > 2) {
        return MusicDeviceBase::NewFactoryPresetSet(inPreset);
    }
    const CFRef<CFStringRef> name(
        CFStringCreateWithCString(kCFAllocatorDefault, "Factory", kCFStringEncodingASCII));
    SetAFactoryPresetAsCurrent({inPreset.presetNumber, name.Get()});
    return noErr;
}

void TestInstrument::GetUIComponentDescs(ComponentDescription* outDescriptions) {
    outDescriptions[0] = {kAudioUnitCarbonViewComponentType, 1, 2, 0, 0};
    outDescriptions[1] = {kAudioUnitCarbonViewComponentType, 3, 4, 0, 0};
}

CFURLRef TestInstrument::GetIconLocation() {
    return FileUrl("/icon").Detach();
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
        std::copy(std::begin(kTags), std::end(kTags), outTags);
    }
    return static_cast<UInt32>(std::size(kTags));
}

OSStatus TestInstrument::SetAudioChannelLayout(AudioUnitScope inScope, AudioUnitElement inElement,
                                               const AudioChannelLayout* inLayout) {
    if (!mOffersAll) {
        return MusicDeviceBase::SetAudioChannelLayout(inScope, inElement, inLayout);
    }
    Record("SetAudioChannelLayout",
           {Float64(inScope), Float64(inElement), Float64(inLayout->mNumberChannelDescriptions)});
    return noErr;
}

OSStatus TestInstrument::RemoveAudioChannelLayout(AudioUnitScope inScope,
                                                  AudioUnitElement inElement) {
    if (!mOffersAll) {
        return MusicDeviceBase::RemoveAudioChannelLayout(inScope, inElement);
    }
    Record("RemoveAudioChannelLayout", {Float64(inScope), Float64(inElement)});
    return noErr;
}

OSStatus TestInstrument::GetXMLNames(CFURLRef* outFile) {
    if (!mOffersAll) {
        return MusicDeviceBase::GetXMLNames(outFile);
    }
    if (outFile != nullptr) {
        *outFile = FileUrl("/names").Detach();
    }
    return noErr;
}

OSStatus TestInstrument::HandleControlChange(UInt8 inChannel, UInt8 inController, UInt8 inValue,
                                             UInt32 inStartFrame) VELNOR_NONBLOCKING {
    Record("HandleControlChange",
           {Float64(inChannel), Float64(inController), Float64(inValue), Float64(inStartFrame)});
    return MusicDeviceBase::HandleControlChange(inChannel, inController, inValue, inStartFrame);
}

OSStatus TestInstrument::HandlePitchWheel(UInt8 inChannel, UInt8 inLow, UInt8 inHigh,
                                          UInt32 inStartFrame) VELNOR_NONBLOCKING {
    Record("HandlePitchWheel",
           {Float64(inChannel), Float64(inLow), Float64(inHigh), Float64(inStartFrame)});
    return MusicDeviceBase::HandlePitchWheel(inChannel, inLow, inHigh, inStartFrame);
}

OSStatus TestInstrument::HandleChannelPressure(UInt8 inChannel, UInt8 inValue,
                                               UInt32 inStartFrame) VELNOR_NONBLOCKING {
    Record("HandleChannelPressure", {Float64(inChannel), Float64(inValue), Float64(inStartFrame)});
    return MusicDeviceBase::HandleChannelPressure(inChannel, inValue, inStartFrame);
}

OSStatus TestInstrument::HandleProgramChange(UInt8 inChannel, UInt8 inProgram) VELNOR_NONBLOCKING {
    Record("HandleProgramChange", {Float64(inChannel), Float64(inProgram)});
    return MusicDeviceBase::HandleProgramChange(inChannel, inProgram);
}

OSStatus TestInstrument::HandlePolyPressure(UInt8 inChannel, UInt8 inKey, UInt8 inValue,
                                            UInt32 inStartFrame) VELNOR_NONBLOCKING {
    Record("HandlePolyPressure",
           {Float64(inChannel), Float64(inKey), Float64(inValue), Float64(inStartFrame)});
    return MusicDeviceBase::HandlePolyPressure(inChannel, inKey, inValue, inStartFrame);
}

OSStatus TestInstrument::HandleResetAllControllers(UInt8 inChannel) VELNOR_NONBLOCKING {
    Record("HandleResetAllControllers", {Float64(inChannel)});
    return MusicDeviceBase::HandleResetAllControllers(inChannel);
}

OSStatus TestInstrument::HandleAllNotesOff(UInt8 inChannel) VELNOR_NONBLOCKING {
    Record("HandleAllNotesOff", {Float64(inChannel)});
    return MusicDeviceBase::HandleAllNotesOff(inChannel);
}

OSStatus TestInstrument::HandleAllSoundOff(UInt8 inChannel) VELNOR_NONBLOCKING {
    Record("HandleAllSoundOff", {Float64(inChannel)});
    return MusicDeviceBase::HandleAllSoundOff(inChannel);
}

OSStatus TestInstrument::HandleSysEx(const UInt8* inData, UInt32 inLength) VELNOR_NONBLOCKING {
    Record("HandleSysEx", {Float64(inLength), Float64(inLength > 0 ? inData[0] : 0)});
    return MusicDeviceBase::HandleSysEx(inData, inLength);
}

OSStatus TestInstrument::PrepareInstrument(MusicDeviceInstrumentID inInstrument) {
    Record("PrepareInstrument", {Float64(inInstrument)});
    return MusicDeviceBase::PrepareInstrument(inInstrument);
}

OSStatus TestInstrument::ReleaseInstrument(MusicDeviceInstrumentID inInstrument) {
    Record("ReleaseInstrument", {Float64(inInstrument)});
    return MusicDeviceBase::ReleaseInstrument(inInstrument);
}

OSStatus TestInstrument::StartNote(MusicDeviceInstrumentID inInstrument, MusicDeviceGroupID inGroup,
                                   NoteInstanceID* outNoteInstance, UInt32 inOffsetSampleFrame,
                                   const MusicDeviceNoteParams& inParams) VELNOR_NONBLOCKING {
    VELNOR_RT_ESCAPE("a failure that the test asks for", ThrowAs(mThrow));
    Record("StartNote", {Float64(inInstrument), Float64(inGroup), Float64(inOffsetSampleFrame),
                         Float64(inParams.mPitch), Float64(inParams.mVelocity)});
    if (outNoteInstance != nullptr) {
        *outNoteInstance = 1000 + static_cast<NoteInstanceID>(inParams.mPitch);
    }
    return mStatus;
}

OSStatus TestInstrument::StopNote(MusicDeviceGroupID inGroup, NoteInstanceID inNoteInstance,
                                  UInt32 inOffsetSampleFrame) VELNOR_NONBLOCKING {
    Record("StopNote", {Float64(inGroup), Float64(inNoteInstance), Float64(inOffsetSampleFrame)});
    return noErr;
}

OSStatus TestInstrument::GetInstrumentCount(UInt32& outCount) const {
    if (!mOffersAll) {
        return MusicDeviceBase::GetInstrumentCount(outCount);
    }
    outCount = 5;
    return noErr;
}

std::vector<TestInstrument::Call> TestInstrument::TakeCalls() {
    std::vector<Call> calls(mCalls.begin(),
                            mCalls.begin() + static_cast<std::ptrdiff_t>(mCallCount));
    mCallCount = 0;
    return calls;
}

void TestInstrument::Record(const char* inOperation,
                            std::array<Float64, 5> inNumbers) VELNOR_NONBLOCKING {
    if (mCallCount < mCalls.size()) {
        mCalls[mCallCount++] = {inOperation, inNumbers};
    }
}

OpenInstrument::OpenInstrument(const TestInstrument::Shape& inShape) {
    TestInstrument::sShape = inShape;
    mOpenStatus = PlatformOpenComponent(Registration(), &mUnit);
    if (mUnit != nullptr) {
        mInstrument = static_cast<TestInstrument*>(static_cast<ComponentBase*>(Storage()));
    }
}

OpenInstrument::~OpenInstrument() {
    Close();
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
