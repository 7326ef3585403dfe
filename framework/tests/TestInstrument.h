// A small instrument that offers everything that the framework can, and tells what it was asked.
#ifndef VELNOR_FRAMEWORK_TESTS_TESTINSTRUMENT_H
#define VELNOR_FRAMEWORK_TESTS_TESTINSTRUMENT_H

#include "framework/ComponentEntryPoint.h"
#include "framework/MusicDeviceBase.h"
#include "platform/AudioUnit.h"

#include <array>
#include <atomic>
#include <ostream>
#include <vector>

namespace velnor {

enum class Throw { kNothing, kStatus, kError, kBadAlloc, kOther };
inline constexpr OSStatus kThrownStatus = -70001;
inline constexpr OSErr kThrownError = -1234;
void ThrowAs(Throw inThrow);

class TestInstrument : public MusicDeviceBase {
public:
    /// What the next instrument is constructed as.
    struct Shape {
        UInt32 inputs = 0;
        UInt32 outputs = 1;
        UInt32 groups = 0;
        UInt32 parts = 0;
        UInt32 interfaceVersion = 2;
        UInt32 indexedParameters = 0; ///< of the global element; 0: held by id
        Throw inConstructor = Throw::kNothing;
        Throw inPostConstructor = Throw::kNothing;
    };
    static Shape sShape;
    static std::atomic<int> sLive;
    static std::atomic<int> sCleanups;

    /// A call of an operation and its numbers, as they came.
    struct Call {
        const char* operation;
        std::array<Float64, 5> numbers;
        bool operator==(const Call& inOther) const;
    };
    struct Slice {
        UInt32 start, frames, total;
        Float32 from, to; ///< global parameter 0
        bool operator==(const Slice&) const = default;
    };

    explicit TestInstrument(ComponentInstance inInstance);
    ~TestInstrument() override { --sLive; }
    void PostConstructor() override;
    ComponentResult Version() override { return 0x00020305; }

    OSStatus Initialize() override { return Record("Initialize"), mStatus; }
    void Cleanup() override { ++sCleanups; }
    OSStatus Reset(AudioUnitScope inScope, AudioUnitElement inElement) override {
        ThrowAs(mThrow);
        return Record("Reset", inScope, inElement);
    }
    /// Fails; nobody may look at it.
    OSStatus ReallocateBuffers() override {
        MusicDeviceBase::ReallocateBuffers();
        return Record("ReallocateBuffers"), -1;
    }

    // Properties 6 and 26, which the base does not have, and the optional ones that it has.
    OSStatus GetPropertyInfo(AudioUnitPropertyID inID, AudioUnitScope inScope,
                             AudioUnitElement inElement, UInt32& outDataSize,
                             Boolean& outWritable) override;
    OSStatus GetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                         AudioUnitElement inElement, void* outData) override;
    OSStatus SetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                         AudioUnitElement inElement, const void* inData,
                         UInt32 inDataSize) override;
    bool BusCountWritable(AudioUnitScope) override { return mOffersAll; }
    OSStatus GetParameterInfo(AudioUnitScope inScope, AudioUnitParameterID inID,
                              AudioUnitParameterInfo& outInfo) override;
    OSStatus GetParameterValueStrings(AudioUnitScope inScope, AudioUnitParameterID inID,
                                      CFArrayRef* outStrings) override;
    OSStatus GetPresets(CFArrayRef* outPresets) override;
    OSStatus NewFactoryPresetSet(const AUPreset& inPreset) override;
    UInt32 GetNumCustomUIComponents() override { return mOffersAll ? 2 : 0; }
    void GetUIComponentDescs(ComponentDescription* outDescriptions) override {
        outDescriptions[0] = {kAudioUnitCarbonViewComponentType, 1, 2, 0, 0};
        outDescriptions[1] = {kAudioUnitCarbonViewComponentType, 3, 4, 0, 0};
    }
    bool HasIcon() override { return mOffersAll; }
    CFURLRef GetIconLocation() override;
    Float64 GetLatency() override { return 0.25; }
    Float64 GetTailTime() override { return 1.5; }
    bool SupportsTail() override { return mOffersAll; }
    bool StreamFormatWritable(AudioUnitScope, AudioUnitElement) override { return mFormatWritable; }
    UInt32 SupportedNumChannels(const AUChannelInfo** outInfos) override;
    UInt32 GetAudioChannelLayout(AudioUnitScope inScope, AudioUnitElement inElement,
                                 AudioChannelLayout* outLayout, Boolean& outWritable) override;
    UInt32 GetChannelLayoutTags(AudioUnitScope inScope, AudioUnitElement inElement,
                                AudioChannelLayoutTag* outTags) override;
    OSStatus SetAudioChannelLayout(AudioUnitScope inScope, AudioUnitElement inElement,
                                   const AudioChannelLayout* inLayout) override;
    OSStatus RemoveAudioChannelLayout(AudioUnitScope inScope, AudioUnitElement inElement) override;
    OSStatus GetXMLNames(CFURLRef* outFile) override;
    OSStatus GetInstrumentCount(UInt32& outCount) const override {
        return mOffersAll ? (outCount = 5, noErr) : MusicDeviceBase::GetInstrumentCount(outCount);
    }

    OSStatus Render(AudioUnitRenderActionFlags& ioFlags, const AudioTimeStamp& inTimeStamp,
                    UInt32 inFrames) VELNOR_NONBLOCKING override;
    OSStatus ProcessScheduledSlice(void* inUserData, UInt32 inStartFrame, UInt32 inSliceFrames,
                                   UInt32 inTotalFrames) VELNOR_NONBLOCKING override;

    OSStatus HandleControlChange(UInt8 inChannel, UInt8 inController, UInt8 inValue,
                                 UInt32 inFrame) VELNOR_NONBLOCKING override {
        return Record("ControlChange", inChannel, inController, inValue, inFrame);
    }
    OSStatus HandlePitchWheel(UInt8 inChannel, UInt8 inLow, UInt8 inHigh,
                              UInt32 inFrame) VELNOR_NONBLOCKING override {
        return Record("PitchWheel", inChannel, inLow, inHigh, inFrame);
    }
    OSStatus HandleChannelPressure(UInt8 inChannel, UInt8 inValue,
                                   UInt32 inFrame) VELNOR_NONBLOCKING override {
        return Record("ChannelPressure", inChannel, inValue, inFrame);
    }
    OSStatus HandleProgramChange(UInt8 inChannel, UInt8 inProgram) VELNOR_NONBLOCKING override {
        return Record("ProgramChange", inChannel, inProgram);
    }
    OSStatus HandlePolyPressure(UInt8 inChannel, UInt8 inKey, UInt8 inValue,
                                UInt32 inFrame) VELNOR_NONBLOCKING override {
        return Record("PolyPressure", inChannel, inKey, inValue, inFrame);
    }
    OSStatus HandleResetAllControllers(UInt8 inChannel) VELNOR_NONBLOCKING override {
        return Record("ResetAllControllers", inChannel);
    }
    OSStatus HandleAllNotesOff(UInt8 inChannel) VELNOR_NONBLOCKING override {
        return Record("AllNotesOff", inChannel);
    }
    OSStatus HandleAllSoundOff(UInt8 inChannel) VELNOR_NONBLOCKING override {
        return Record("AllSoundOff", inChannel);
    }
    OSStatus HandleSysEx(const UInt8* inData, UInt32 inLength) VELNOR_NONBLOCKING override {
        return Record("SysEx", inLength, inLength > 0 ? inData[0] : 0);
    }
    OSStatus PrepareInstrument(MusicDeviceInstrumentID inInstrument) override {
        return Record("PrepareInstrument", inInstrument);
    }
    OSStatus ReleaseInstrument(MusicDeviceInstrumentID inInstrument) override {
        return Record("ReleaseInstrument", inInstrument);
    }
    /// Names notes 1000 + pitch.
    OSStatus StartNote(MusicDeviceInstrumentID inInstrument, MusicDeviceGroupID inGroup,
                       NoteInstanceID* outNoteInstance, UInt32 inFrame,
                       const MusicDeviceNoteParams& inParams) VELNOR_NONBLOCKING override;
    OSStatus StopNote(MusicDeviceGroupID inGroup, NoteInstanceID inNoteInstance,
                      UInt32 inFrame) VELNOR_NONBLOCKING override {
        return Record("StopNote", inGroup, inNoteInstance, inFrame);
    }

    /// The calls since the last one of this.
    std::vector<Call> TakeCalls();

    /// What Render writes to every frame.
    static Float32 SampleOf(int inRender, UInt32 inBus, UInt32 inChannel) VELNOR_NONBLOCKING {
        return static_cast<Float32>(inRender * 1000) + static_cast<Float32>(inBus * 10 + inChannel);
    }

    bool mOffersAll = true; ///< every optional property
    bool mFormatWritable = true;
    OSStatus mStatus = noErr;       ///< what Initialize, Render and StartNote answer
    Throw mThrow = Throw::kNothing; ///< in Reset, Render, StartNote and reads of 6 and 26
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
            mCalls[mCallCount++] = {inOperation, {static_cast<Float64>(inNumbers)...}};
        }
        return noErr;
    }
    /// Property 6 or 26; null for another.
    void* OwnProperty(AudioUnitPropertyID inID);

    std::array<Call, 64> mCalls;
    std::size_t mCallCount = 0;
};

std::ostream& operator<<(std::ostream& outStream, const TestInstrument::Call& inCall);

inline constexpr OSType kTestSubType = VELNOR_FOUR_CHAR_CODE('T', 's', 't', '1');
inline constexpr OSType kTestManufacturer = VELNOR_FOUR_CHAR_CODE('V', 'l', 'n', 'r');

/// A test instrument that is open, as a host has it.
class OpenInstrument {
public:
    explicit OpenInstrument(const TestInstrument::Shape& inShape = {});
    ~OpenInstrument() { Close(); }
    OpenInstrument(const OpenInstrument&) = delete;
    OpenInstrument& operator=(const OpenInstrument&) = delete;

    /// The registration of the test instrument.
    static Component Registration();

    operator AudioUnit() const { return mUnit; }
    OSStatus GetOpenStatus() const { return mOpenStatus; }
    TestInstrument* operator->() const { return mInstrument; }
    TestInstrument& operator*() const { return *mInstrument; }
    void* Storage() const { return GetComponentInstanceStorage(mUnit); }
    void Close();

    /// The property through AudioUnitGetProperty, with exactly sizeof(T) of room.
    template <typename T>
    OSStatus Get(AudioUnitPropertyID inID, AudioUnitScope inScope, AudioUnitElement inElement,
                 T& outValue) const {
        UInt32 size = sizeof outValue;
        return AudioUnitGetProperty(mUnit, inID, inScope, inElement, &outValue, &size);
    }
    template <typename T>
    OSStatus Set(AudioUnitPropertyID inID, AudioUnitScope inScope, AudioUnitElement inElement,
                 const T& inValue) const {
        return AudioUnitSetProperty(mUnit, inID, inScope, inElement, &inValue, sizeof inValue);
    }

private:
    AudioUnit mUnit = nullptr;
    OSStatus mOpenStatus = noErr;
    TestInstrument* mInstrument = nullptr;
};

} // namespace velnor

#endif
