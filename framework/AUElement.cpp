#include "framework/AUElement.h"

#include "framework/ParameterBlob.h"
#include "framework/ThrowStatus.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace velnor {

AUElement::~AUElement() = default;

void AUElement::UseIndexedParameters(UInt32 inCount) {
    mIndexedParameters = std::make_unique<ParameterMapEvent[]>(inCount);
    mIndexedCount = inCount;
    mUseIndexedParameters = true;
}

ParameterMapEvent*
AUElement::FindParameterEvent(AudioUnitParameterID inID) const VELNOR_NONBLOCKING {
    if (!mUseIndexedParameters) {
        return mParameters.Find(inID);
    }
    return inID < mIndexedCount ? &mIndexedParameters[inID] : nullptr;
}

const ParameterMapEvent& AUElement::FindOrFail(AudioUnitParameterID inID) const VELNOR_NONBLOCKING {
    const ParameterMapEvent* const event = FindParameterEvent(inID);
    if (event == nullptr) {
        ThrowStatus(kAudioUnitErr_InvalidParameter);
    }
    return *event;
}

ParameterMapEvent& AUElement::FindOrAdd(AudioUnitParameterID inID,
                                        AudioUnitParameterValue inValue) VELNOR_NONBLOCKING {
    ParameterMapEvent* event = FindParameterEvent(inID);
    if (event == nullptr && mUseIndexedParameters) {
        ThrowStatus(kAudioUnitErr_InvalidParameter);
    }
    if (event == nullptr) {
        VELNOR_RT_ESCAPE("the first value under an id allocates its entry",
                         event = &mParameters.Insert(inID, inValue));
    }
    return *event;
}

AudioUnitParameterValue
AUElement::GetParameter(AudioUnitParameterID inID) const VELNOR_NONBLOCKING {
    return FindOrFail(inID).GetValue();
}

void AUElement::SetParameter(AudioUnitParameterID inID,
                             AudioUnitParameterValue inValue) VELNOR_NONBLOCKING {
    FindOrAdd(inID, inValue).SetValue(inValue);
}

void AUElement::SetScheduledEvent(const AudioUnitParameterEvent& inEvent, UInt32 inSliceStart,
                                  UInt32 inSliceFrames) VELNOR_NONBLOCKING {
    FindOrAdd(inEvent.parameter, 0).SetScheduledEvent(inEvent, inSliceStart, inSliceFrames);
}

RampSlice AUElement::GetRampSliceStartEnd(AudioUnitParameterID inID) const VELNOR_NONBLOCKING {
    return FindOrFail(inID).GetRampSliceStartEnd();
}

std::vector<AudioUnitParameterID> AUElement::GetParameterList() const {
    if (!mUseIndexedParameters) {
        return mParameters.Ids();
    }
    std::vector<AudioUnitParameterID> indices(mIndexedCount);
    std::iota(indices.begin(), indices.end(), AudioUnitParameterID{0});
    return indices;
}

UInt32 AUElement::GetParameterList(AudioUnitParameterID* outIDs, UInt32 inMaximum) const {
    const std::vector<AudioUnitParameterID> ids = GetParameterList();
    const size_t count = std::min<size_t>(ids.size(), inMaximum);
    std::copy_n(ids.begin(), count, outIDs);
    return static_cast<UInt32>(count);
}

void AUElement::SaveState(CFMutableDataRef ioBlob) const {
    const std::vector<AudioUnitParameterID> ids = GetParameterList();
    AppendBlobWord(ioBlob, static_cast<UInt32>(ids.size()));
    for (const AudioUnitParameterID id : ids) {
        AppendBlobEntry(ioBlob, {id, GetParameter(id)});
    }
}

const UInt8* AUElement::RestoreState(const UInt8* inPosition, const UInt8* inEnd) {
    ParameterBlobReader reader(inPosition, inEnd);
    if (!reader.Holds(1)) {
        return inEnd;
    }
    const UInt32 count = reader.ReadWord();
    if (!reader.Holds(0, count)) {
        return inEnd;
    }
    for (UInt32 i = 0; i < count; ++i) {
        const ParameterBlobEntry entry = reader.ReadEntry();
        SetParameter(entry.id, entry.value);
    }
    return reader.GetPosition();
}

} // namespace velnor
