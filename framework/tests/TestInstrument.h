// A small instrument that offers everything that the framework can, and tells what it was asked.
#ifndef VELNOR_FRAMEWORK_TESTS_TESTINSTRUMENT_H
#define VELNOR_FRAMEWORK_TESTS_TESTINSTRUMENT_H

#include "framework/ComponentEntryPoint.h"
#include "framework/MusicDeviceBase.h"
#include "testing/HostBuffers.h"
#include "testing/Testing.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <sstream>
#include <unistd.h>

namespace velnor::testing {

inline constexpr UInt32 kGlobal = kAudioUnitScope_Global, kInput = kAudioUnitScope_Input,
                        kOutput = kAudioUnitScope_Output, kGroup = kAudioUnitScope_Group,
                        kPart = kAudioUnitScope_Part;

// Failures of each kind, with the status that a caller gets for it.
using Raise = void (*)();
inline constexpr std::pair<Raise, OSStatus> kFailures[] = {
    {[] { throw OSStatus{-70001}; }, -70001},
    {[] { throw OSErr{-1234}; }, -1234},
    {[] { throw std::bad_alloc(); }, memFullErr},
    {[] { throw std::runtime_error("other"); }, -1}};

// What an instrument is constructed as.
struct TestShape {
    UInt32 inputs = 0;
    UInt32 outputs = 1;
    UInt32 groups = 0;
    UInt32 parts = 0;
    UInt32 interfaceVersion = 2;
    UInt32 indexedParameters = 0; ///< of the global element; 0: held by id
    std::string_view failsIn = "";
    Raise raise = nullptr;
};

class TestInstrument : public MusicDeviceBase {
public:
    static inline TestShape sShape;    ///< of the next instrument
    static inline std::string sCalls;  ///< operations and their numbers: "Reset 2 1; Cleanup; "
    static inline std::string sSlices; ///< "start+frames/total: value to value; "
    static inline std::atomic<int> sLive{0};

    explicit TestInstrument(ComponentInstance inInstance)
        : MusicDeviceBase(inInstance, sShape.inputs, sShape.outputs, sShape.groups, sShape.parts,
                          sShape.interfaceVersion) {
        FailIn("constructor");
        ++sLive;
    }
    ~TestInstrument() override {
        EXPECT_EQ(GetComponentInstanceStorage(GetComponentInstance()), nullptr)
            << "reached no more";
        --sLive;
    }
    void PostConstructor() override {
        EXPECT_EQ(GetComponentInstanceStorage(GetComponentInstance()), nullptr) << "not up yet";
        CreateElements();
        if (sShape.indexedParameters > 0) {
            GetElement(kGlobal, 0)->UseIndexedParameters(sShape.indexedParameters);
        }
        FailIn("PostConstructor");
    }
    ComponentResult Version() override { return 0x00020305; }

    OSStatus Initialize() override { return Record("Initialize"), mStatus; }
    void Cleanup() override { Record("Cleanup"); }
    OSStatus Reset(AudioUnitScope scope, AudioUnitElement element) override {
        return Record("Reset", scope, element);
    }
    // Fails; nobody may look at it.
    OSStatus ReallocateBuffers() override {
        MusicDeviceBase::ReallocateBuffers();
        return Record("ReallocateBuffers"), -1;
    }

    // Properties 6 and 26, which the base does not have.
    OSStatus GetPropertyInfo(AudioUnitPropertyID inID, AudioUnitScope inScope,
                             AudioUnitElement inElement, UInt32& outSize,
                             Boolean& outWritable) override {
        return Own(inID) != nullptr ? (outSize = 4, outWritable = 1, noErr)
                                    : MusicDeviceBase::GetPropertyInfo(inID, inScope, inElement,
                                                                       outSize, outWritable);
    }
    OSStatus GetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                         AudioUnitElement inElement, void* outData) override {
        if (const void* own = Own(inID)) {
            FailIn("GetProperty");
            std::memcpy(outData, own, 4);
            return noErr;
        }
        if (mMadeMeanwhile != 0) {
            SetParameter(mMadeMeanwhile, kPart, 0, 1, 0);
        }
        return MusicDeviceBase::GetProperty(inID, inScope, inElement, outData);
    }
    OSStatus SetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                         AudioUnitElement inElement, const void* inData, UInt32 inSize) override {
        if (void* own = Own(inID); own != nullptr && inSize == 4) {
            std::memcpy(own, inData, 4);
            return noErr;
        }
        return MusicDeviceBase::SetProperty(inID, inScope, inElement, inData, inSize);
    }

    // What only a unit that offers all has; else it is as the base.
#define OFFERED(result, name, parameters, arguments, value)                                        \
    result name parameters override { return mOffersAll ? value : MusicDeviceBase::name arguments; }
    OFFERED(bool, BusCountWritable, (UInt32 scope), (scope), true)
    OFFERED(OSStatus, GetPresets, (CFArrayRef * out), (out), GiveNames(out))
    OFFERED(UInt32, GetNumCustomUIComponents, (), (), 2)
    OFFERED(bool, HasIcon, (), (), true)
    OFFERED(bool, SupportsTail, (), (), true)
    OFFERED(UInt32, SupportedNumChannels, (const AUChannelInfo** out), (out),
            Fill(out, std::data(kInfos), UInt32{2}))
    OFFERED(UInt32, GetChannelLayoutTags, (UInt32 scope, UInt32 bus, AudioChannelLayoutTag* out),
            (scope, bus, out), scope != kOutput ? 0u : Fill(out, kTag, 1u))
    OFFERED(OSStatus, SetAudioChannelLayout,
            (UInt32 scope, UInt32 bus, const AudioChannelLayout* layout), (scope, bus, layout),
            noErr)
    OFFERED(OSStatus, RemoveAudioChannelLayout, (UInt32 scope, UInt32 bus), (scope, bus),
            Record("RemoveLayout", scope, bus))
    OFFERED(OSStatus, GetXMLNames, (CFURLRef * out), (out),
            out == nullptr ? noErr : Fill(out, GetIconLocation(), noErr))
#undef OFFERED
    UInt32 GetAudioChannelLayout(UInt32 scope, UInt32 bus, AudioChannelLayout* out,
                                 Boolean& outWritable) override {
        if (!mOffersAll || scope != kOutput) {
            return MusicDeviceBase::GetAudioChannelLayout(scope, bus, out, outWritable);
        }
        outWritable = 1;
        return Fill(out, AudioChannelLayout{kTag, 0, 0, {}}, UInt32{sizeof(AudioChannelLayout)});
    }
    OSStatus NewFactoryPresetSet(const AUPreset& inPreset) override {
        if (!mOffersAll || inPreset.presetNumber > 2) {
            return MusicDeviceBase::NewFactoryPresetSet(inPreset);
        }
        SetAFactoryPresetAsCurrent({inPreset.presetNumber, String("Factory").Get()});
        return noErr;
    }
    OSStatus GetInstrumentCount(UInt32& outCount) const override {
        return mOffersAll ? (outCount = 5, noErr) : MusicDeviceBase::GetInstrumentCount(outCount);
    }
    // Parameter 7 has a description and value names.
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
    void GetUIComponentDescs(ComponentDescription* outDescriptions) override {
        outDescriptions[0] = {kAudioUnitCarbonViewComponentType, 1, 2, 0, 0};
        outDescriptions[1] = {kAudioUnitCarbonViewComponentType, 3, 4, 0, 0};
    }
    CFURLRef GetIconLocation() override { return FileUrl("/file").Detach(); }
    Float64 GetLatency() override { return 0.25; }
    Float64 GetTailTime() override { return 1.5; }
    bool StreamFormatWritable(AudioUnitScope, AudioUnitElement) override { return mFormatWritable; }

    // Writes SampleOf to every frame of every bus.
    OSStatus Render(AudioUnitRenderActionFlags&, const AudioTimeStamp&,
                    UInt32 inFrames) VELNOR_NONBLOCKING override {
        const int render = ++mRenders;
        Allocate();
        FailIn("Render");
        if (mStatus != noErr) {
            return mStatus;
        }
        for (UInt32 bus = 0; bus < GetScope(kOutput).GetNumberOfElements(); ++bus) {
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
    static Float32 SampleOf(int inRender, UInt32 inBus, UInt32 inChannel) VELNOR_NONBLOCKING {
        return static_cast<Float32>(inRender * 1000) + static_cast<Float32>(inBus * 10 + inChannel);
    }
    OSStatus ProcessScheduledSlice(void* inUserData, UInt32 inStart, UInt32 inFrames,
                                   UInt32 inTotal) VELNOR_NONBLOCKING override {
        const RampSlice ramp = GetElement(kGlobal, 0)->GetRampSliceStartEnd(0);
        VELNOR_RT_ESCAPE("written down for the test", std::ostringstream text;
                         text << inStart << "+" << inFrames << "/" << inTotal << ": " << ramp.start
                              << " to " << ramp.end << (inUserData == this ? "; " : "?");
                         sSlices += text.str());
        return mSliceStatus;
    }

    // Calls that are only written down.
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
    // Names notes 1000 + pitch.
    OSStatus StartNote(MusicDeviceInstrumentID inInstrument, MusicDeviceGroupID inGroup,
                       NoteInstanceID* outNoteInstance, UInt32 inFrame,
                       const MusicDeviceNoteParams& inParams) VELNOR_NONBLOCKING override {
        Allocate();
        if (outNoteInstance != nullptr) {
            *outNoteInstance = 1000 + static_cast<NoteInstanceID>(inParams.mPitch);
        }
        Record("StartNote", inInstrument, inGroup, inFrame, inParams.mPitch, inParams.mVelocity);
        return mStatus;
    }

    using AUBase::GetPendingParameterEvents;

    bool mOffersAll = true; ///< every optional property
    bool mFormatWritable = true;
    OSStatus mStatus = noErr;                   ///< what Initialize, Render and StartNote answer
    std::string_view mFailsIn = sShape.failsIn; ///< the operation that raises
    Raise mRaise = sShape.raise;
    std::atomic<int> mRenders{0};
    bool mAllocates = false;     ///< in Render and StartNote, which promise not to
    bool mRendersSlices = false; ///< through ProcessForScheduledParams
    OSStatus mSliceStatus = noErr;
    AudioUnitParameterID mMadeMeanwhile = 0; ///< by another thread, after the size was asked
    UInt32 mQuality = 17;                    ///< property 26
    Float32 mLoad = 0.5f;                    ///< property 6

private:
    static constexpr AudioChannelLayoutTag kTag = kAudioChannelLayoutTag_Stereo;
    static constexpr AUChannelInfo kInfos[] = {{0, 2}, {0, -16}};

    template <typename T, typename Value, typename Result>
    static Result Fill(T* out, const Value& inValue, Result inResult) {
        if (out != nullptr) {
            *out = inValue;
        }
        return inResult;
    }
    void Allocate() {
        if (mAllocates) {
            std::free(std::malloc(static_cast<std::size_t>(getpid())));
        }
    }
    template <typename... Numbers>
    OSStatus Record(const char* inOperation, Numbers... inNumbers) {
        VELNOR_RT_ESCAPE("written down for the test", std::ostringstream text; text.precision(10);
                         text << inOperation; ((text << " " << Float64(inNumbers)), ...);
                         sCalls += text.str() + "; ");
        FailIn(inOperation);
        return noErr;
    }
    void FailIn(std::string_view inOperation) {
        if (inOperation == mFailsIn) {
            VELNOR_RT_ESCAPE("a failure that the test asks for", mRaise());
        }
    }
    void* Own(AudioUnitPropertyID inID) {
        return !mOffersAll                                ? nullptr
               : inID == kAudioUnitProperty_RenderQuality ? &mQuality
               : inID == kAudioUnitProperty_CPULoad       ? static_cast<void*>(&mLoad)
                                                          : nullptr;
    }
    // One name, for the caller to release.
    static OSStatus GiveNames(CFArrayRef* outNames) {
        CFRef<CFMutableArrayRef> names = Array();
        CFArrayAppendValue(names.Get(), String("on").Get());
        return outNames == nullptr ? noErr : Fill(outNames, names.Detach(), noErr);
    }
};

// What was written down since the last call of this.
inline std::string TakeCalls() {
    return std::exchange(TestInstrument::sCalls, {});
}

inline constexpr OSType kTestSubType = VELNOR_FOUR_CHAR_CODE('T', 's', 't', '1');
inline constexpr OSType kTestManufacturer = VELNOR_FOUR_CHAR_CODE('V', 'l', 'n', 'r');

} // namespace velnor::testing

#endif
