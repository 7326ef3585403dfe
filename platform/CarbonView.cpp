#include "platform/CarbonView.h"

#include "platform/ComponentInstances.h"
#include "platform/ComponentParameterBlock.h"

OSStatus AudioUnitCarbonViewCreate(AudioUnitCarbonView view, AudioUnit unit, WindowRef window,
                                   ControlRef parent, const Float32Point* location,
                                   const Float32Point* size, ControlRef* control) {
    auto block = velnor::encode(kAudioUnitCarbonViewCreateSelect, unit, window, parent, location,
                                size, control);
    return velnor::EnterComponent(view, block.Get());
}
