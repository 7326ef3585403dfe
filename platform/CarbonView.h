// The calls that a host makes on an editor-view component.
#ifndef VELNOR_PLATFORM_CARBONVIEW_H
#define VELNOR_PLATFORM_CARBONVIEW_H

#include "platform/AudioUnitTypes.h"
#include "platform/Controls.h"

VELNOR_BEGIN_C

typedef ComponentInstance AudioUnitCarbonView;
enum { kAudioUnitCarbonViewCreateSelect = 0x0301 };

// Creates the view's pane in the window, embedded in parent, at location (in the parent's
// coordinates, in a window that is not compositing in the window's), of the requested size, and its
// user interface inside. *control is the pane, owned by its parent. Thread main, exclusive, may
// block.
VELNOR_PLATFORM_API OSStatus AudioUnitCarbonViewCreate(AudioUnitCarbonView view, AudioUnit unit,
                                                       WindowRef window, ControlRef parent,
                                                       const Float32Point* location,
                                                       const Float32Point* size,
                                                       ControlRef* control);

VELNOR_END_C

#endif
