// The base of every audio unit: its operations as the host reaches them, in the order in which a
// derived unit may read them as the list of what can be overridden.
#ifndef VELNOR_FRAMEWORK_AUBASE_H
#define VELNOR_FRAMEWORK_AUBASE_H

#include "framework/AUScope.h"
#include "framework/ComponentBase.h"
#include "framework/PropertyListenerList.h"
#include "framework/RenderNotificationList.h"
#include "framework/StreamFormat.h"
#include "framework/ThrowStatus.h"
#include "platform/AudioUnitTypes.h"
#include "platform/CFArray.h"
#include "platform/CFRef.h"
#include "platform/CFURL.h"

#include <array>
#include <atomic>
#include <thread>
#include <vector>

namespace velnor {

struct PropertyAddress;

/// The frame limit of a new unit.
inline constexpr UInt32 kDefaultMaxFramesPerSlice = 1156;
/// Events that can be scheduled for one render without an allocation.
inline constexpr std::size_t kReservedParameterEvents = 24;
inline constexpr Float64 kNeverRendered = -1.0;
inline constexpr SInt32 kNoFactoryPreset = -1;
/// The preset name of a unit whose preset has none.
inline constexpr char kUntitledPresetName[] = "Untitled";

/// Thread main, exclusive and may block, except where said otherwise. Every operation answers a
/// status or throws one. Unless an operation says more: kAudioUnitErr_InvalidScope for a scope
/// above 4, kAudioUnitErr_InvalidElement for an element that does not exist,
/// kAudioUnitErr_InvalidProperty for what this unit does not offer.
///
/// Ownership of values: an object that a property or one of these operations hands out is a
/// reference for the caller, who releases it; one that is handed in is retained by the unit.
class AUBase : public ComponentBase, public AUElementCreator {
public:
    using ParameterEventList = std::vector<AudioUnitParameterEvent>;

    /// The counts are those of the elements that CreateElements makes. inInterfaceVersion is 2, or
    /// 1 for a unit whose audio is interleaved and that neither renders through the entry nor takes
    /// scheduled parameters.
    AUBase(ComponentInstance inInstance, UInt32 inNumInputs, UInt32 inNumOutputs,
           UInt32 inNumGroups = 0, UInt32 inNumParts = 0,
           UInt32 inInterfaceVersion = kInterfaceVersion2);
    ~AUBase() override;

    /// Cleans up an initialized unit.
    void PreDestructor() override;

    // 1. Life.

    /// Prepares for rendering. On a status other than 0 the unit stays uninitialized.
    virtual OSStatus Initialize();
    /// Undoes Initialize. Called only on an initialized unit, which still says so meanwhile.
    virtual void Cleanup();
    /// Forgets what was played. The next pull renders whatever its time stamp.
    virtual OSStatus Reset(AudioUnitScope inScope, AudioUnitElement inElement);

    // 2. Properties.

    /// Size in bytes of the property's value, and whether it may be set.
    virtual OSStatus GetPropertyInfo(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                     AudioUnitElement inElement, UInt32& outDataSize,
                                     Boolean& outWritable);
    /// outData has room for the size that GetPropertyInfo gives.
    virtual OSStatus GetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                 AudioUnitElement inElement, void* outData);
    /// inDataSize bytes, above 0, of any alignment. kAudioUnitErr_InvalidPropertyValue: the size or
    /// the value is wrong; kAudioUnitErr_PropertyNotWritable: the property is read-only.
    virtual OSStatus SetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                 AudioUnitElement inElement, const void* inData, UInt32 inDataSize);
    /// Takes back what was set. Reached for the properties whose removal the base does not serve:
    /// it serves channel layout, context name, element name and host callbacks.
    virtual OSStatus RemovePropertyValue(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                         AudioUnitElement inElement);

    // 3. Listeners and notifications.

    /// inProc is called with inUserData and this unit's instance after each change of the property,
    /// in any scope and element; a change found while rendering is reported on the render thread.
    /// The same three values register once. Thread any, concurrent. paramErr: null inProc.
    virtual OSStatus AddPropertyListener(AudioUnitPropertyID inID,
                                         AudioUnitPropertyListenerProc inProc, void* inUserData);
    /// Removes every registration of this pair, whatever its user data; none is no error. A
    /// listener may do so, of itself too, and is not called again; one that another thread is about
    /// to call still may be. Thread any, concurrent.
    virtual OSStatus RemovePropertyListener(AudioUnitPropertyID inID,
                                            AudioUnitPropertyListenerProc inProc);
    /// Calls inProc before and after every pull, from the next one on. Thread any, concurrent.
    /// paramErr: null inProc.
    virtual OSStatus SetRenderNotification(AURenderCallback inProc, void* inUserData);
    virtual OSStatus RemoveRenderNotification(AURenderCallback inProc, void* inUserData);

    // 4. Parameters. Thread any, concurrent, nonblocking; the first value under an id allocates.

    /// kAudioUnitErr_InvalidParameter: the parameter was never set, or the index is beyond the last
    /// one.
    virtual OSStatus GetParameter(AudioUnitParameterID inID, AudioUnitScope inScope,
                                  AudioUnitElement inElement,
                                  AudioUnitParameterValue& outValue) VELNOR_NONBLOCKING;
    /// Takes effect at once: the offset is for units that override this.
    virtual OSStatus SetParameter(AudioUnitParameterID inID, AudioUnitScope inScope,
                                  AudioUnitElement inElement, AudioUnitParameterValue inValue,
                                  UInt32 inBufferOffsetInFrames) VELNOR_NONBLOCKING;
    /// The parameters of the group scope, which GetParameter and SetParameter pass on.
    /// kAudioUnitErr_InvalidScope by default.
    virtual OSStatus SetGroupParameter(AudioUnitParameterID inID, AudioUnitElement inElement,
                                       AudioUnitParameterValue inValue,
                                       UInt32 inBufferOffsetInFrames) VELNOR_NONBLOCKING;
    virtual OSStatus GetGroupParameter(AudioUnitParameterID inID, AudioUnitElement inElement,
                                       AudioUnitParameterValue& outValue) VELNOR_NONBLOCKING;
    /// Applies immediate events at once and keeps all events for ProcessForScheduledParams until
    /// the pull ends. Answers the first status other than 0 that setting one gave; paramErr: no
    /// events where some are counted. Thread render, exclusive. Nonblocking for up to
    /// kReservedParameterEvents events pending; what more were ever pending at once stays reserved.
    virtual OSStatus ScheduleParameter(const AudioUnitParameterEvent* inEvents,
                                       UInt32 inCount) VELNOR_NONBLOCKING;

    // 5. Rendering. Thread render, exclusive, nonblocking.

    /// Renders every bus when the sample time differs from that of the last call, else nothing.
    virtual OSStatus RenderBus(AudioUnitRenderActionFlags& ioFlags,
                               const AudioTimeStamp& inTimeStamp, UInt32 inBus,
                               UInt32 inFrames) VELNOR_NONBLOCKING;
    /// Fills inFrames frames of every output element. Does nothing by default.
    virtual OSStatus Render(AudioUnitRenderActionFlags& ioFlags, const AudioTimeStamp& inTimeStamp,
                            UInt32 inFrames) VELNOR_NONBLOCKING;

    // 6. Buses.

    /// False by default.
    virtual bool BusCountWritable(AudioUnitScope inScope);
    virtual OSStatus SetBusCount(AudioUnitScope inScope, UInt32 inCount);
    /// Feed an input element from another unit's output, or from a callback; the later one holds. A
    /// null source or callback disconnects.
    virtual OSStatus SetConnection(const AudioUnitConnection& inConnection);
    virtual OSStatus SetInputCallback(AudioUnitPropertyID inID, AudioUnitElement inElement,
                                      AURenderCallback inProc, void* inUserData);

    // 7. Descriptions of parameters.

    /// The element's parameter ids, or indices, in ascending order. ioCount is the room in outIDs
    /// and then the number written; a null outIDs asks for the number.
    virtual OSStatus GetParameterList(AudioUnitScope inScope, AudioUnitElement inElement,
                                      AudioUnitParameterID* outIDs, UInt32& ioCount);
    /// kAudioUnitErr_InvalidParameter by default.
    virtual OSStatus GetParameterInfo(AudioUnitScope inScope, AudioUnitParameterID inID,
                                      AudioUnitParameterInfo& outInfo);

    // 8. State.

    /// A new dictionary for the caller. Thread main.
    virtual OSStatus SaveState(CFPropertyListRef* outState);
    /// kAudioUnitErr_InvalidPropertyValue: not a state of this component. inState is borrowed.
    virtual OSStatus RestoreState(CFPropertyListRef inState);

    // 9. Value names and presets. A null place asks whether there is any.

    virtual OSStatus GetParameterValueStrings(AudioUnitScope inScope, AudioUnitParameterID inID,
                                              CFArrayRef* outStrings);
    virtual OSStatus GetPresets(CFArrayRef* outPresets);
    /// The host chooses a factory preset. A unit that takes it calls SetAFactoryPresetAsCurrent.
    virtual OSStatus NewFactoryPresetSet(const AUPreset& inPreset);

    // 10. Editors and icon.

    /// 0 by default.
    virtual UInt32 GetNumCustomUIComponents();
    /// Fills GetNumCustomUIComponents of them.
    virtual void GetUIComponentDescs(ComponentDescription* outDescriptions);
    /// False by default.
    virtual bool HasIcon();
    /// For the caller to release; null when there is none.
    virtual CFURLRef GetIconLocation();

    // 11. Time, in seconds.

    virtual Float64 GetLatency();
    virtual Float64 GetTailTime();
    /// False by default: GetTailTime is not asked.
    virtual bool SupportsTail();

    // 12. Stream formats. The global scope stands for output element 0; the group and part scopes
    // are refused with kAudioUnitErr_InvalidScope.

    virtual bool StreamFormatWritable(AudioUnitScope inScope, AudioUnitElement inElement) = 0;
    /// The number of entries, and in outInfos, unless it is null, where they stand for the life of
    /// the unit. 0, every combination, by default.
    virtual UInt32 SupportedNumChannels(const AUChannelInfo** outInfos);
    /// FormatIsCanonical by default.
    virtual bool ValidFormat(AudioUnitScope inScope, AudioUnitElement inElement,
                             const AudioStreamBasicDescription& inFormat);
    virtual AudioStreamBasicDescription GetStreamFormat(AudioUnitScope inScope,
                                                        AudioUnitElement inElement);
    /// Stores a format that ValidFormat accepts and reports the change.
    virtual OSStatus ChangeStreamFormat(AudioUnitScope inScope, AudioUnitElement inElement,
                                        const AudioStreamBasicDescription& inOldFormat,
                                        const AudioStreamBasicDescription& inNewFormat);

    // 13. Elements and buffers.

    std::unique_ptr<AUElement> CreateElement(AudioUnitScope inScope,
                                             AudioUnitElement inElement) override;
    /// Allocates all elements' buffers for the frame limit.
    virtual OSStatus ReallocateBuffers();
    /// The frame limit, reallocating the buffers if there are any.
    virtual void SetMaxFramesPerSlice(UInt32 inFrames);
    /// kAudioUnitErr_Initialized while initialized.
    virtual OSStatus CanSetMaxFrames();

    // 14. Channel layouts.

    /// The layout's size in bytes, 0 for none. outLayout, unless null, has room for it.
    virtual UInt32 GetAudioChannelLayout(AudioUnitScope inScope, AudioUnitElement inElement,
                                         AudioChannelLayout* outLayout, Boolean& outWritable);
    /// The number of tags, 0 for none. outTags, unless null, has room for them.
    virtual UInt32 GetChannelLayoutTags(AudioUnitScope inScope, AudioUnitElement inElement,
                                        AudioChannelLayoutTag* outTags);
    /// inLayout has all the descriptions that it counts.
    virtual OSStatus SetAudioChannelLayout(AudioUnitScope inScope, AudioUnitElement inElement,
                                           const AudioChannelLayout* inLayout);
    virtual OSStatus RemoveAudioChannelLayout(AudioUnitScope inScope, AudioUnitElement inElement);

    // 15. Scheduled parameters. Thread render, exclusive, nonblocking.

    /// Cuts inFrames frames where ioEvents begin and end and calls ProcessScheduledSlice for each
    /// piece with the values that hold there. Sorts ioEvents. A status other than 0 ends it. An
    /// event whose element or indexed parameter does not exist fails as SetParameter does.
    virtual OSStatus ProcessForScheduledParams(ParameterEventList& ioEvents, UInt32 inFrames,
                                               void* inUserData) VELNOR_NONBLOCKING;
    virtual OSStatus ProcessScheduledSlice(void* inUserData, UInt32 inStartFrame,
                                           UInt32 inSliceFrames,
                                           UInt32 inTotalFrames) VELNOR_NONBLOCKING;

    /// The audio-unit selectors; the others go to ComponentBase.
    static ComponentResult ComponentEntryDispatch(ComponentParameters* inParams, AUBase* inThis);

    /// One host pull of one bus; what fails or throws beneath it is its answer and, unless one is
    /// stored, the last render error. Thread render, exclusive, nonblocking.
    /// kAudioUnitErr_Uninitialized; kAudioUnitErr_TooManyFramesToProcess: above the frame limit;
    /// kAudioUnitErr_InvalidElement: no such bus; paramErr: ioData has not the bus's number of
    /// buffers, or gives memory for the first of them only. Where it gives memory, that has room
    /// for inFrames frames, whatever the byte sizes say.
    OSStatus DoRender(AudioUnitRenderActionFlags& ioFlags, const AudioTimeStamp& inTimeStamp,
                      UInt32 inBus, UInt32 inFrames,
                      AudioBufferList& ioData) noexcept VELNOR_NONBLOCKING;

    /// Makes the elements of all scopes, on the first call only. A unit's PostConstructor calls it.
    void CreateElements();

    // Thread any, concurrent, nonblocking.
    AUScope& GetScope(AudioUnitScope inScope) VELNOR_NONBLOCKING {
        if (inScope >= mScopes.size()) {
            ThrowStatus(kAudioUnitErr_InvalidScope);
        }
        return mScopes[inScope];
    }
    /// Null when the element does not exist.
    AUElement* GetElement(AudioUnitScope inScope, AudioUnitElement inElement) VELNOR_NONBLOCKING {
        return GetScope(inScope).GetElement(inElement);
    }
    // What CreateElement makes for these two scopes are buses.
    AUInputElement& GetInput(UInt32 inBus) VELNOR_NONBLOCKING {
        return static_cast<AUInputElement&>(mScopes[kAudioUnitScope_Input].SafeGetElement(inBus));
    }
    AUOutputElement& GetOutput(UInt32 inBus) VELNOR_NONBLOCKING {
        return static_cast<AUOutputElement&>(mScopes[kAudioUnitScope_Output].SafeGetElement(inBus));
    }
    bool IsInitialized() const VELNOR_NONBLOCKING {
        return mInitialized.load(std::memory_order_acquire);
    }
    UInt32 GetInterfaceVersion() const VELNOR_NONBLOCKING { return mInterfaceVersion; }
    UInt32 GetMaxFramesPerSlice() const VELNOR_NONBLOCKING { return mMaxFramesPerSlice; }

    /// Calls the property's listeners. Thread any, concurrent, nonblocking but for the listeners.
    void PropertyChanged(AudioUnitPropertyID inID, AudioUnitScope inScope,
                         AudioUnitElement inElement) VELNOR_NONBLOCKING;

    /// What the host gave as property 27, zero where it gave nothing. The host sets it while
    /// nothing renders. Thread any, concurrent, nonblocking.
    const HostCallbackInfo& GetHostCallbackInfo() const VELNOR_NONBLOCKING {
        return mHostCallbackInfo;
    }

    // What the standard properties read and write. Thread main.

    /// Borrowed; null for none.
    CFStringRef GetContextName() const { return mContextName.Get(); }
    /// Retained; null takes the name back. Reports the change.
    void SetContextName(CFStringRef inName);
    /// The name is borrowed and never null.
    AUPreset GetCurrentPreset() const { return {mCurrentPresetNumber, mCurrentPresetName.Get()}; }
    /// Retains the name and reports the change.
    void SetCurrentPreset(const AUPreset& inPreset);
    /// Reports that there is another current preset, or another name for it.
    void CurrentPresetChanged();
    void SetHostCallbackInfo(const HostCallbackInfo& inInfo) { mHostCallbackInfo = inInfo; }
    /// The first status other than 0 that a render gave since the last call. Thread any,
    /// concurrent.
    OSStatus TakeLastRenderError() VELNOR_NONBLOCKING { return mLastRenderError.exchange(noErr); }
    /// The ids that GetProperty may write of the parameter list.
    UInt32 GetParameterListRoom() const {
        return mParameterListRoom / sizeof(AudioUnitParameterID);
    }

protected:
    /// Events scheduled since the last render ended. Thread render.
    ParameterEventList& GetPendingParameterEvents() VELNOR_NONBLOCKING { return mParameterEvents; }

    /// When set, each render records its thread. Before the first render.
    void SetWantsRenderThreadID(bool inWants) { mWantsRenderThreadID = inWants; }
    /// Thread render.
    bool InRenderThread() const { return mRenderThreadID == std::this_thread::get_id(); }

    /// For NewFactoryPresetSet, whose caller reports the change. Retains the name.
    void SetAFactoryPresetAsCurrent(const AUPreset& inPreset);

private:
    static constexpr UInt32 kAnyRoom = 0xFFFFFFFF;

    OSStatus DoInitialize();
    void DoCleanup();
    OSStatus DoReset(AudioUnitScope inScope, AudioUnitElement inElement);
    OSStatus DoGetPropertyInfo(AudioUnitPropertyID inID, AudioUnitScope inScope,
                               AudioUnitElement inElement, UInt32* outDataSize,
                               Boolean* outWritable);
    OSStatus DoGetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                           AudioUnitElement inElement, void* outData, UInt32* ioDataSize);
    OSStatus DoSetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                           AudioUnitElement inElement, const void* inData, UInt32 inDataSize);
    OSStatus DoRemovePropertyValue(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                   AudioUnitElement inElement);
    /// The whole value when there is room, else its first ioDataSize bytes.
    OSStatus FetchProperty(const PropertyAddress& inAt, UInt32 inSize, void* outData,
                           UInt32& ioDataSize);
    bool CanDo(SInt16 inSelector) const;
    ComponentResult DispatchProperty(const ComponentParameters* inParams);
    ComponentResult DispatchParameter(const ComponentParameters* inParams) VELNOR_NONBLOCKING;
    ComponentResult DispatchRender(const ComponentParameters* inParams) VELNOR_NONBLOCKING;

    OSStatus PullBus(AudioUnitRenderActionFlags& ioFlags, const AudioTimeStamp& inTimeStamp,
                     UInt32 inBus, UInt32 inFrames, AudioBufferList& ioData) VELNOR_NONBLOCKING;
    OSStatus DoRenderBus(AudioUnitRenderActionFlags& ioFlags, const AudioTimeStamp& inTimeStamp,
                         UInt32 inBus, AUOutputElement& inOutput, UInt32 inFrames,
                         AudioBufferList& ioData) VELNOR_NONBLOCKING;

    /// Lets the elements of the output scope that are not pulled now take inFrames frames too.
    void PrepareOtherOutputs(UInt32 inBus, UInt32 inFrames) VELNOR_NONBLOCKING;
    void RecordRenderThread() VELNOR_NONBLOCKING;
    void RecordRenderError(OSStatus inStatus) VELNOR_NONBLOCKING;
    void AppendParameterEvent(const AudioUnitParameterEvent& inEvent) VELNOR_NONBLOCKING;
    void ApplyParameterEvents(const ParameterEventList& inEvents, UInt32 inStart,
                              UInt32 inEnd) VELNOR_NONBLOCKING;

    /// Bytes at the place that GetProperty is about to fill with parameter ids: other threads may
    /// add parameters after the host has asked for the size.
    UInt32 mParameterListRoom = kAnyRoom;

    const std::array<UInt32, 5> mInitialElementCounts; ///< by scope
    bool mElementsCreated = false;
    std::atomic<bool> mInitialized{false};
    const UInt32 mInterfaceVersion;
    std::array<AUScope, 5> mScopes; ///< by scope number

    RenderNotificationList mRenderNotifications;
    std::atomic<Float64> mLastRenderedSampleTime{kNeverRendered};
    std::atomic<OSStatus> mLastRenderError{noErr}; ///< the first since it was last read
    bool mBuffersAllocated = false;
    bool mWantsRenderThreadID = false;
    std::thread::id mRenderThreadID;
    ParameterEventList mParameterEvents;
    PropertyListenerList mPropertyListeners;
    UInt32 mMaxFramesPerSlice = 0;

    SInt32 mCurrentPresetNumber = kNoFactoryPreset;
    CFRef<CFStringRef> mCurrentPresetName;
    CFRef<CFStringRef> mContextName;
    HostCallbackInfo mHostCallbackInfo = {};
};

} // namespace velnor

#endif
