// Property addresses and values as a host may write them: whatever the bytes say, every pointer in
// them is null or leads to what it must lead to.
#ifndef VELNOR_FUZZ_PROPERTYVALUES_H
#define VELNOR_FUZZ_PROPERTYVALUES_H

#include "fuzz/HostMemory.h"

namespace velnor::fuzz {

inline constexpr UInt32 kMostPropertyBytes = 4096;

struct PropertyAddress {
    AudioUnitPropertyID id;
    AudioUnitScope scope;
    AudioUnitElement element;
};

// Callbacks get the address of this object or null as their user data.
class PropertyValues {
public:
    PropertyValues(FuzzedDataProvider& input, HostMemory& memory, AudioUnit unit)
        : mInput(input), mMemory(memory), mUnit(unit) {}
    PropertyValues(const PropertyValues&) = delete;
    PropertyValues& operator=(const PropertyValues&) = delete;

    PropertyAddress Address();
    // A value of the property's own kind; any bytes for a property that has none.
    std::vector<UInt8> Value(AudioUnitPropertyID id);
    // Releases what a value that was read into so much room holds a reference to.
    void ReleaseObject(AudioUnitPropertyID id, const void* data, UInt32 room);

    void* UserData() { return mInput.ConsumeBool() ? this : nullptr; }
    AURenderCallback RenderCallback();
    AudioUnitPropertyListenerProc Listener();

    FuzzedDataProvider& Input() { return mInput; }
    AudioUnit Unit() const { return mUnit; }

private:
    std::vector<UInt8> State();

    FuzzedDataProvider& mInput;
    HostMemory& mMemory;
    const AudioUnit mUnit;
};

} // namespace velnor::fuzz

#endif
