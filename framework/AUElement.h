// What a scope and an element index address: a set of parameters and a name.
#ifndef VELNOR_FRAMEWORK_AUELEMENT_H
#define VELNOR_FRAMEWORK_AUELEMENT_H

#include "framework/ParameterMap.h"
#include "platform/AudioUnitTypes.h"
#include "platform/CFData.h"
#include "platform/CFRef.h"

#include <memory>
#include <vector>

namespace velnor {

class AUBase;
class AUIOElement;

/// Parameters are held by id, each from the moment it is first set, or, after UseIndexedParameters,
/// by index. They are never removed. Failures are thrown as OSStatus.
class AUElement {
public:
    /// inAudioUnit owns the element through its scope and outlives it.
    explicit AUElement(AUBase& inAudioUnit) : mAudioUnit(inAudioUnit) {}
    virtual ~AUElement();
    AUElement(const AUElement&) = delete;
    AUElement& operator=(const AUElement&) = delete;

    AUBase& GetAudioUnit() const VELNOR_NONBLOCKING { return mAudioUnit; }

    /// The element itself when it is a bus, else null.
    virtual AUIOElement* AsIOElement() VELNOR_NONBLOCKING { return nullptr; }

    /// Holds inCount parameters by index from here on, each 0.0, and forgets those held before.
    /// Thread main, before anything renders.
    void UseIndexedParameters(UInt32 inCount);
    bool HasIndexedParameters() const VELNOR_NONBLOCKING { return mUseIndexedParameters; }

    /// kAudioUnitErr_InvalidParameter: an id never set, or an index beyond the last. Thread any,
    /// concurrent, nonblocking.
    AudioUnitParameterValue GetParameter(AudioUnitParameterID inID) const VELNOR_NONBLOCKING;

    /// Makes the parameter an immediate one of this value. kAudioUnitErr_InvalidParameter: an index
    /// beyond the last. Thread any, concurrent, nonblocking; but the first value under an id
    /// allocates its entry, so set every id once before rendering.
    void SetParameter(AudioUnitParameterID inID,
                      AudioUnitParameterValue inValue) VELNOR_NONBLOCKING;

    /// Applies a scheduled event to the slice of inSliceFrames frames that starts at inSliceStart.
    /// Errors and real-time class as SetParameter. Thread render.
    void SetScheduledEvent(const AudioUnitParameterEvent& inEvent, UInt32 inSliceStart,
                           UInt32 inSliceFrames) VELNOR_NONBLOCKING;

    /// A ramp's values within the slice that it was last applied to; an immediate value stands at
    /// both ends. kAudioUnitErr_InvalidParameter as GetParameter. Thread render, nonblocking.
    RampSlice GetRampSliceStartEnd(AudioUnitParameterID inID) const VELNOR_NONBLOCKING;

    /// Null when there is none. Thread any, concurrent, nonblocking.
    ParameterMapEvent* FindParameterEvent(AudioUnitParameterID inID) const VELNOR_NONBLOCKING;

    /// The ids (or indices) of all parameters in ascending order. Thread any, concurrent, may
    /// block.
    std::vector<AudioUnitParameterID> GetParameterList() const;
    /// Writes the first inMaximum of them at most and gives how many it wrote.
    UInt32 GetParameterList(AudioUnitParameterID* outIDs, UInt32 inMaximum) const;
    UInt32 GetNumberOfParameters() const { return static_cast<UInt32>(GetParameterList().size()); }

    /// Appends the count and the (id, value) entries to the blob. Thread main.
    void SaveState(CFMutableDataRef ioBlob) const;
    /// Reads what SaveState wrote, at inPosition of a blob that ends at inEnd, sets the parameters
    /// and gives the position after them. A record that does not fit sets nothing and gives inEnd.
    /// kAudioUnitErr_InvalidParameter: an index beyond the last; entries before it stay set. Thread
    /// main.
    const UInt8* RestoreState(const UInt8* inPosition, const UInt8* inEnd);

    /// Retained; null removes the name. Thread main.
    void SetName(CFStringRef inName) { mName = CFRef<CFStringRef>::Retained(inName); }
    /// Borrowed; null when there is none. Thread main.
    CFStringRef GetName() const { return mName.Get(); }
    bool HasName() const { return static_cast<bool>(mName); }

private:
    const ParameterMapEvent& FindOrFail(AudioUnitParameterID inID) const VELNOR_NONBLOCKING;
    ParameterMapEvent& FindOrAdd(AudioUnitParameterID inID,
                                 AudioUnitParameterValue inValue) VELNOR_NONBLOCKING;

    AUBase& mAudioUnit;
    ParameterMap mParameters;
    bool mUseIndexedParameters = false;
    std::unique_ptr<ParameterMapEvent[]> mIndexedParameters;
    UInt32 mIndexedCount = 0;
    CFRef<CFStringRef> mName;
};

} // namespace velnor

#endif
