// Fills the transport snapshot from the host's callbacks at the start of every render.
#ifndef VELNOR_BRIDGE_HOSTTRANSPORT_H
#define VELNOR_BRIDGE_HOSTTRANSPORT_H

#include "bridge/SyncInfo.h"
#include "platform/AudioUnitTypes.h"

namespace velnor {

// Asks each callback that the host supplied and takes what it answers. Of a callback that is
// missing or fails, the fields keep their values, but for barStart, which then is a
// quarter of ppq cut toward zero, times 4. The derived fields are left to SyncInfo::prepare. Thread
// render, exclusive, nonblocking.
void readHostTransport(const HostCallbackInfo& host, SyncInfo& sync) VELNOR_NONBLOCKING;

} // namespace velnor

#endif
