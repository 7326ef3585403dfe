#include "framework/PropertyTable.h"

#include "framework/PropertyValue.h"

#include <algorithm>

namespace velnor {

namespace {

const PropertyRow* FindRow(AudioUnitPropertyID inID) {
    for (const auto rows :
         {UnitProperties(), NamedProperties(), BusProperties(), ElementProperties()}) {
        const auto row = std::ranges::find(rows, inID, &PropertyRow::id);
        if (row != rows.end()) {
            return &*row;
        }
    }
    return nullptr;
}

bool Admits(PropertyScope inRule, AudioUnitScope inScope) {
    switch (inRule) {
    case PropertyScope::kGlobal:
        return inScope == kAudioUnitScope_Global;
    case PropertyScope::kGlobalOrInput:
        return inScope == kAudioUnitScope_Global || inScope == kAudioUnitScope_Input;
    case PropertyScope::kAny:
        return inScope <= kAudioUnitScope_Part;
    }
    return false;
}

} // namespace

const PropertyRow* FindProperty(const PropertyAddress& inAt) {
    const PropertyRow* row = FindRow(inAt.id);
    if (row != nullptr && !Admits(row->scope, inAt.scope)) {
        ThrowStatus(kAudioUnitErr_InvalidScope);
    }
    return row;
}

OSStatus GetInfo(const PropertyRow& inRow, AUBase& inUnit, const PropertyAddress& inAt,
                 PropertyInfo& outInfo) {
    outInfo = {inRow.size, inRow.writable};
    return inRow.info == nullptr ? OSStatus{noErr} : inRow.info(inUnit, inAt, outInfo);
}

void ReleaseCutObject(const PropertyAddress& inAt, const void* inData, UInt32 inSize) {
    const PropertyRow* row = FindRow(inAt.id);
    if (row == nullptr || row->objectOffset == kHoldsNoObject ||
        inSize >= row->objectOffset + sizeof(CFTypeRef)) {
        return;
    }
    const auto object = LoadValue<CFTypeRef>(static_cast<const UInt8*>(inData) + row->objectOffset);
    if (object != nullptr) {
        CFRelease(object);
    }
}

} // namespace velnor
