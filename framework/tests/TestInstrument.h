// A small instrument that offers everything that the framework can, and tells what it was asked.
#ifndef VELNOR_FRAMEWORK_TESTS_TESTINSTRUMENT_H
#define VELNOR_FRAMEWORK_TESTS_TESTINSTRUMENT_H

#include "framework/ComponentEntryPoint.h"
#include "framework/MusicDeviceBase.h"
#include "framework/tests/HostBuffers.h"
#include "platform/tests/Testing.h"

#include <array>
#include <atomic>
#include <cstring>
#include <new>

namespace velnor {

using namespace test;

inline constexpr UInt32 kGlobal = kAudioUnitScope_Global, kInput = kAudioUnitScope_Input,
                        kOutput = kAudioUnitScope_Output, kGroup = kAudioUnitScope_Group;

/// A failure that the test asks for, or none.
using Raise = void (*)();
inline void RaiseNothing() {}

/// One of each kind, with the status that a caller gets for it.
inline constexpr std::pair<Raise, OSStatus> kFailures[] = {
    {[] { throw OSStatus{-70001}; }, -70001},
    {[] { throw OSErr{-1234}; }, -1234},
    {[] { throw std::bad_alloc(); }, memFullErr},
    {[] { throw std::runtime_error("other"); }, -1}};

/// What an instrument is constructed as.
struct TestShape {
    UInt32 inputs = 0;
    UInt32 outputs = 1;
    UInt32 groups = 0;
    UInt32 parts = 0;
    UInt32 interfaceVersion = 2;
    UInt32 indexedParameters = 0; ///< of the global element; 0: held by id
    Raise inConstructor = RaiseNothing;
    Raise inPostConstructor = RaiseNothing;
};

class TestInstrument : public MusicDeviceBase {
public:
    using Shape = TestShape;
    /// Of the next instrument.
    static inline Shape sShape;
    static inline std::atomic<int> sLive{0};
    static inline std::atomic<int> sCleanups{0};

    /// An operation and its numbers, as they came.
    using Call = std::pair<std::string_view, std::array<Float64, 5>>;
    struct Slice {
        UInt32 start, frames, total;
        Float32 from, to; ///< global parameter 0
        bool operator==(const Slice&) const = default;
    };

    explicit TestInstrument(ComponentInstance inInstance)
        : MusicDeviceBase(inInstance, sShape.inputs, sShape.outputs, sShape.groups, sShape.parts,
                          sShape.interfaceVersion) {
        mSlices.reserve(64);
        sShape.inConstructor();
        ++sLive;
    }
    ~TestInstrument() override { --sLive; }
    void PostConstructor() override {
        CreateElements();
        if (sShape.indexedParameters > 0) {
            GetElement(kAudioUnitScope_Global, 0)->UseIndexedParameters(sShape.indexedParameters);
        }
        sShape.inPostConstructor();
    }
    ComponentResult Version() override { return 0x00020305; }

    OSStatus Initialize() override { return Record("Initialize"), mStatus; }
    void Cleanup() override { ++sCleanups; }
    OSStatus Reset(AudioUnitScope inScope, AudioUnitElement inElement) override {
        mRaise();
        return Record("Reset", inScope, inElement);
    }
    /// Fails; nobody may look at it.
    OSStatus ReallocateBuffers() override {
        MusicDeviceBase::ReallocateBuffers();
        return Record("ReallocateBuffers"), -1;
    }

    // Properties 6 and 26, which the base does not have.
    OSStatus GetPropertyInfo(AudioUnitPropertyID inID, AudioUnitScope inScope,
                             AudioUnitElement inElement, UInt32& outSize,
                             Boolean& outWritable) override {
        return OwnProperty(inID) != nullptr ? (outSize = 4, outWritable = 1, noErr)
                                            : MusicDeviceBase::GetPropertyInfo(
                                                  inID, inScope, inElement, outSize, outWritable);
    }
    OSStatus GetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                         AudioUnitElement inElement, void* outData) override {
        if (const void* own = OwnProperty(inID)) {
            mRaise();
            std::memcpy(outData, own, 4);
            return noErr;
        }
        return MusicDeviceBase::GetProperty(inID, inScope, inElement, outData);
    }
    OSStatus SetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                         AudioUnitElement inElement, const void* inData, UInt32 inSize) override {
        if (void* own = OwnProperty(inID); own != nullptr && inSize == 4) {
            std::memcpy(own, inData, 4);
            return noErr;
        }
        return MusicDeviceBase::SetProperty(inID, inScope, inElement, inData, inSize);
    }

    // The optional properties of the base; parameter 7 has a description and value names.
    bool BusCountWritable(AudioUnitScope inScope) override {
        return mOffersAll || MusicDeviceBase::BusCountWritable(inScope);
    }
    OSStatus GetParameterInfo(AudioUnitScope inScope, AudioUnitParameterID inID,
                              AudioUnitParameterInfo& outInfo) override {
        std::strcpy(outInfo.name, "Cutoff");
        return inID == 7 ? noErr : MusicDeviceBase::GetParameterInfo(inScope, inID, outInfo);
    }
    OSStatus GetParameterValueStrings(AudioUnitScope inScope, AudioUnitParameterID inID,
                                      CFArrayRef* outStrings) override {
        return inID == 7 ? GiveNames(outStrings)
                         : MusicDeviceBase::GetParameterValueStrings(inScope, inID, outStrings);
    }
    OSStatus GetPresets(CFArrayRef* outPresets) override {
        return mOffersAll ? GiveNames(outPresets) : MusicDeviceBase::GetPresets(outPresets);
    }
    OSStatus NewFactoryPresetSet(const AUPreset& inPreset) override {
        if (!mOffersAll || inPreset.presetNumber > 2) {
            return MusicDeviceBase::NewFactoryPresetSet(inPreset);
        }
        SetAFactoryPresetAsCurrent({inPreset.presetNumber, String("Factory").Get()});
        return noErr;
    }
    UInt32 GetNumCustomUIComponents() override {
        return mOffersAll ? 2 : MusicDeviceBase::GetNumCustomUIComponents();
    }
    void GetUIComponentDescs(ComponentDescription* outDescriptions) override {
        outDescriptions[0] = {kAudioUnitCarbonViewComponentType, 1, 2, 0, 0};
        outDescriptions[1] = {kAudioUnitCarbonViewComponentType, 3, 4, 0, 0};
    }
    bool HasIcon() override { return mOffersAll || MusicDeviceBase::HasIcon(); }
    CFURLRef GetIconLocation() override { return NewUrl(); }
    Float64 GetLatency() override { return 0.25; }
    Float64 GetTailTime() override { return 1.5; }
    bool SupportsTail() override { return mOffersAll || MusicDeviceBase::SupportsTail(); }
    bool StreamFormatWritable(AudioUnitScope, AudioUnitElement) override { return mFormatWritable; }
    UInt32 SupportedNumChannels(const AUChannelInfo** outInfos) override {
        static constexpr AUChannelInfo kInfos[] = {{0, 2}, {0, -16}};
        if (outInfos != nullptr) {
            *outInfos = kInfos;
        }
        return mOffersAll ? 2 : MusicDeviceBase::SupportedNumChannels(outInfos);
    }
    UInt32 GetAudioChannelLayout(AudioUnitScope inScope, AudioUnitElement inElement,
                                 AudioChannelLayout* outLayout, Boolean& outWritable) override {
        if (!mOffersAll || inScope != kAudioUnitScope_Output) {
            return MusicDeviceBase::GetAudioChannelLayout(inScope, inElement, outLayout,
                                                          outWritable);
        }
        outWritable = 1;
        if (outLayout != nullptr) {
            *outLayout = {kAudioChannelLayoutTag_Stereo, 0, 0, {}};
        }
        return sizeof(AudioChannelLayout);
    }
    UInt32 GetChannelLayoutTags(AudioUnitScope inScope, AudioUnitElement inElement,
                                AudioChannelLayoutTag* outTags) override {
        if (!mOffersAll || inScope != kAudioUnitScope_Output) {
            return MusicDeviceBase::GetChannelLayoutTags(inScope, inElement, outTags);
        }
        if (outTags != nullptr) {
            outTags[0] = kAudioChannelLayoutTag_Stereo;
            outTags[1] = kAudioChannelLayoutTag_Mono;
        }
        return 2;
    }
    OSStatus SetAudioChannelLayout(AudioUnitScope inScope, AudioUnitElement inElement,
                                   const AudioChannelLayout* inLayout) override {
        return mOffersAll
                   ? Record("SetLayout", inScope, inElement, inLayout->mNumberChannelDescriptions)
                   : MusicDeviceBase::SetAudioChannelLayout(inScope, inElement, inLayout);
    }
    OSStatus RemoveAudioChannelLayout(AudioUnitScope inScope, AudioUnitElement inElement) override {
        return mOffersAll ? Record("RemoveLayout", inScope, inElement)
                          : MusicDeviceBase::RemoveAudioChannelLayout(inScope, inElement);
    }
    OSStatus GetXMLNames(CFURLRef* outFile) override {
        if (mOffersAll && outFile != nullptr) {
            *outFile = NewUrl();
        }
        return mOffersAll ? noErr : MusicDeviceBase::GetXMLNames(outFile);
    }
    OSStatus GetInstrumentCount(UInt32& outCount) const override {
        return mOffersAll ? (outCount = 5, noErr) : MusicDeviceBase::GetInstrumentCount(outCount);
    }

    OSStatus Render(AudioUnitRenderActionFlags&, const AudioTimeStamp&,
                    UInt32 inFrames) VELNOR_NONBLOCKING override {
        const int render = ++mRenders;
        VELNOR_RT_ESCAPE("a failure that the test asks for", mRaise());
        if (mStatus != noErr) {
            return mStatus;
        }
        for (UInt32 bus = 0; bus < GetScope(kAudioUnitScope_Output).GetNumberOfElements(); ++bus) {
            AudioBufferList& list = GetOutput(bus).GetBufferList();
            AudioBuffer* const buffers = list.mBuffers;
            for (UInt32 channel = 0; channel < list.mNumberBuffers; ++channel) {
                std::fill_n(static_cast<Float32*>(buffers[channel].mData),
                            buffers[channel].mDataByteSize / sizeof(Float32),
                            SampleOf(render, bus, channel));
            }
        }
        return mRendersSlices
                   ? ProcessForScheduledParams(GetPendingParameterEvents(), inFrames, this)
                   : OSStatus{noErr};
    }
    OSStatus ProcessScheduledSlice(void* inUserData, UInt32 inStartFrame, UInt32 inSliceFrames,
                                   UInt32 inTotalFrames) VELNOR_NONBLOCKING override {
        const RampSlice ramp = GetElement(kAudioUnitScope_Global, 0)->GetRampSliceStartEnd(0);
        VELNOR_RT_ESCAPE(
            "room is reserved", if (inUserData == this) {
                mSlices.push_back(
                    {inStartFrame, inSliceFrames, inTotalFrames, ramp.start, ramp.end});
            });
        return mSliceStatus;
    }

    /// Calls that are only written down.
#define RECORDED(name, parameters, ...)                                                            \
    OSStatus name parameters VELNOR_NONBLOCKING override { return Record(#name, __VA_ARGS__); }
    RECORDED(HandleControlChange, (UInt8 ch, UInt8 id, UInt8 to, UInt32 at), ch, id, to, at)
    RECORDED(HandlePitchWheel, (UInt8 ch, UInt8 low, UInt8 high, UInt32 at), ch, low, high, at)
    RECORDED(HandleChannelPressure, (UInt8 ch, UInt8 to, UInt32 at), ch, to, at)
    RECORDED(HandleProgramChange, (UInt8 ch, UInt8 to), ch, to)
    RECORDED(HandlePolyPressure, (UInt8 ch, UInt8 key, UInt8 to, UInt32 at), ch, key, to, at)
    RECORDED(HandleResetAllControllers, (UInt8 ch), ch)
    RECORDED(HandleAllNotesOff, (UInt8 ch), ch)
    RECORDED(HandleAllSoundOff, (UInt8 ch), ch)
    RECORDED(HandleSysEx, (const UInt8* data, UInt32 size), size, size > 0 ? data[0] : 0)
    RECORDED(StopNote, (UInt32 group, UInt32 note, UInt32 at), group, note, at)
#undef RECORDED
    OSStatus PrepareInstrument(UInt32 id) override { return Record("PrepareInstrument", id); }
    OSStatus ReleaseInstrument(UInt32 id) override { return Record("ReleaseInstrument", id); }
    /// Names notes 1000 + pitch.
    OSStatus StartNote(MusicDeviceInstrumentID inInstrument, MusicDeviceGroupID inGroup,
                       NoteInstanceID* outNoteInstance, UInt32 inFrame,
                       const MusicDeviceNoteParams& inParams) VELNOR_NONBLOCKING override {
        VELNOR_RT_ESCAPE("a failure that the test asks for", mRaise());
        if (outNoteInstance != nullptr) {
            *outNoteInstance = 1000 + static_cast<NoteInstanceID>(inParams.mPitch);
        }
        Record("StartNote", inInstrument, inGroup, inFrame, inParams.mPitch, inParams.mVelocity);
        return mStatus;
    }
    /// The calls since the last one of this.
    std::vector<Call> TakeCalls() {
        return {mCalls.data(), mCalls.data() + std::exchange(mCallCount, 0)};
    }

    /// What Render writes to every frame.
    static Float32 SampleOf(int inRender, UInt32 inBus, UInt32 inChannel) VELNOR_NONBLOCKING {
        return static_cast<Float32>(inRender * 1000) + static_cast<Float32>(inBus * 10 + inChannel);
    }

    bool mOffersAll = true; ///< every optional property
    bool mFormatWritable = true;
    OSStatus mStatus = noErr;    ///< what Initialize, Render and StartNote answer
    Raise mRaise = RaiseNothing; ///< in Reset, Render, StartNote and reads of 6 and 26
    std::atomic<int> mRenders{0};
    bool mRendersSlices = false; ///< through ProcessForScheduledParams
    OSStatus mSliceStatus = noErr;
    std::vector<Slice> mSlices; ///< room for 64 is reserved
    UInt32 mQuality = 17;       ///< property 26
    Float32 mLoad = 0.5f;       ///< property 6

private:
    template <typename... Numbers>
    OSStatus Record(const char* inOperation, Numbers... inNumbers) VELNOR_NONBLOCKING {
        if (mCallCount < mCalls.size()) {
            mCalls[mCallCount++] = Call{inOperation, {static_cast<Float64>(inNumbers)...}};
        }
        return noErr;
    }
    void* OwnProperty(AudioUnitPropertyID inID) {
        return !mOffersAll                                ? nullptr
               : inID == kAudioUnitProperty_RenderQuality ? &mQuality
               : inID == kAudioUnitProperty_CPULoad       ? static_cast<void*>(&mLoad)
                                                          : nullptr;
    }
    static CFURLRef NewUrl() {
        return CFURLCreateWithFileSystemPath(kCFAllocatorDefault, String("/file").Get(),
                                             kCFURLPOSIXPathStyle, false);
    }
    /// Two names, for the caller to release, unless the place is null.
    static OSStatus GiveNames(CFArrayRef* outNames) {
        if (outNames != nullptr) {
            const auto names = CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks);
            CFArrayAppendValue(names, String("off").Get());
            CFArrayAppendValue(names, String("on").Get());
            *outNames = names;
        }
        return noErr;
    }

    std::array<Call, 64> mCalls;
    std::size_t mCallCount = 0;
};

inline constexpr OSType kTestSubType = VELNOR_FOUR_CHAR_CODE('T', 's', 't', '1');
inline constexpr OSType kTestManufacturer = VELNOR_FOUR_CHAR_CODE('V', 'l', 'n', 'r');

/// A test instrument that is open, as a host has it.
class OpenInstrument {
public:
    explicit OpenInstrument(const TestInstrument::Shape& inShape = {}) {
        TestInstrument::sShape = inShape;
        mOpenStatus = PlatformOpenComponent(kRegistration, &mUnit);
    }
    ~OpenInstrument() { Close(); }
    OpenInstrument(const OpenInstrument&) = delete;
    OpenInstrument& operator=(const OpenInstrument&) = delete;

    static inline const ComponentDescription kCodes = {kAudioUnitType_MusicDevice, kTestSubType,
                                                       kTestManufacturer, 0, 0};
    static inline const Component kRegistration = PlatformRegisterComponentEntry(
        &kCodes, ComponentEntryPoint<TestInstrument>::Dispatch, "Test instrument", 1);

    operator AudioUnit() const { return mUnit; }
    OSStatus GetOpenStatus() const { return mOpenStatus; }
    void* Storage() const { return GetComponentInstanceStorage(mUnit); }
    TestInstrument* operator->() const {
        return static_cast<TestInstrument*>(static_cast<ComponentBase*>(Storage()));
    }
    TestInstrument& operator*() const { return *operator->(); }
    void Close() {
        if (mUnit != nullptr) {
            CloseComponent(std::exchange(mUnit, nullptr));
        }
    }

    /// The property through AudioUnitGetProperty, with exactly sizeof(T) of room.
    template <typename T>
    OSStatus Get(AudioUnitPropertyID inID, AudioUnitScope inScope, AudioUnitElement inElement,
                 T& outValue) const {
        UInt32 size = sizeof(T);
        return AudioUnitGetProperty(mUnit, inID, inScope, inElement, static_cast<void*>(&outValue),
                                    &size);
    }
    /// The value of a property that can be read.
    template <typename T>
    T Value(AudioUnitPropertyID inID, AudioUnitScope inScope = kGlobal,
            AudioUnitElement inElement = 0) const {
        T value{};
        EXPECT_EQ(Get(inID, inScope, inElement, value), noErr) << inID;
        return value;
    }
    template <typename T>
    OSStatus Set(AudioUnitPropertyID inID, AudioUnitScope inScope, AudioUnitElement inElement,
                 const T& inValue) const {
        return AudioUnitSetProperty(mUnit, inID, inScope, inElement,
                                    static_cast<const void*>(&inValue), sizeof(T));
    }

    /// -1 where the parameter was never set.
    Float32 Parameter(AudioUnitParameterID inID, AudioUnitScope inScope = kGlobal,
                      AudioUnitElement inElement = 0) const {
        Float32 value = -1;
        AudioUnitGetParameter(mUnit, inID, inScope, inElement, &value);
        return value;
    }

private:
    AudioUnit mUnit = nullptr;
    OSStatus mOpenStatus = noErr;
};

/// The same, initialized, with no calls on its record.
struct InitializedInstrument : OpenInstrument {
    explicit InitializedInstrument(const TestShape& inShape = {}) : OpenInstrument(inShape) {
        EXPECT_EQ(AudioUnitInitialize(*this), noErr);
        (*this)->TakeCalls();
    }
};

/// A property listener that counts in the integer that its user data points to.
inline void CountChange(void* inCount, AudioUnit, AudioUnitPropertyID, AudioUnitScope,
                        AudioUnitElement) {
    ++*static_cast<int*>(inCount);
}

} // namespace velnor

#endif
