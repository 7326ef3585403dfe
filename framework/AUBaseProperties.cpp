// Properties of an audio unit, as the table has them.
#include "framework/AUBase.h"
#include "framework/PropertyTable.h"

namespace velnor {

OSStatus AUBase::GetPropertyInfo(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                 AudioUnitElement inElement, UInt32& outDataSize,
                                 Boolean& outWritable) {
    const PropertyAddress at = {inID, inScope, inElement};
    const PropertyRow* row = FindProperty(at);
    if (row == nullptr) {
        return kAudioUnitErr_InvalidProperty;
    }
    PropertyInfo info = {};
    const OSStatus status = GetInfo(*row, *this, at, info);
    if (status == noErr) {
        outDataSize = info.size;
        outWritable = info.writable;
    }
    return status;
}

OSStatus AUBase::GetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                             AudioUnitElement inElement, void* outData) {
    const PropertyAddress at = {inID, inScope, inElement};
    const PropertyRow* row = FindProperty(at);
    if (row == nullptr || row->read == nullptr) {
        return kAudioUnitErr_InvalidProperty;
    }
    PropertyInfo info = {};
    const OSStatus status = GetInfo(*row, *this, at, info);
    return status == noErr ? row->read(*this, at, outData) : status;
}

OSStatus AUBase::SetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                             AudioUnitElement inElement, const void* inData, UInt32 inDataSize) {
    const PropertyAddress at = {inID, inScope, inElement};
    const PropertyRow* row = FindProperty(at);
    if (row == nullptr) {
        return kAudioUnitErr_InvalidProperty;
    }
    return row->write == nullptr ? OSStatus{kAudioUnitErr_PropertyNotWritable}
                                 : row->write(*this, at, inData, inDataSize);
}

OSStatus AUBase::RemovePropertyValue(AudioUnitPropertyID, AudioUnitScope, AudioUnitElement) {
    return kAudioUnitErr_InvalidProperty;
}

OSStatus AUBase::DoRemovePropertyValue(AudioUnitPropertyID inID, AudioUnitScope inScope,
                                       AudioUnitElement inElement) {
    const PropertyAddress at = {inID, inScope, inElement};
    const PropertyRow* row = FindProperty(at);
    return row != nullptr && row->remove != nullptr ? row->remove(*this, at)
                                                    : RemovePropertyValue(inID, inScope, inElement);
}

} // namespace velnor
