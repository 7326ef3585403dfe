#include "platform/CarbonView.h"

#include "platform/ComponentParameterBlock.h"
#include "platform/components/ComponentInstances.h"
#include "platform/system/MainThread.h"

OSStatus AudioUnitCarbonViewCreate(AudioUnitCarbonView view, AudioUnit unit, WindowRef window,
                                   ControlRef parent, const Float32Point* location,
                                   const Float32Point* size, ControlRef* control) {
    VELNOR_MAIN_THREAD(kView);
    auto block = velnor::encode(kAudioUnitCarbonViewCreateSelect, unit, window, parent, location,
                                size, control);
    return velnor::EnterComponent(view, block.Get());
}
