// The platform's own ways to present an alert.
#ifndef VELNOR_PLATFORM_ALERTS_ALERTPRESENTERS_H
#define VELNOR_PLATFORM_ALERTS_ALERTPRESENTERS_H

#include "platform/Alerts.h"

#include <optional>

namespace velnor {

// By a dialog program on the user's display. Nothing when there is no display or no program, or
// when it is not sure that the user has seen the alert.
std::optional<SInt32> PresentAsDialog(const PlatformAlert& alert);

// By text on standard error; waits only for a person who sits at the process's terminal.
SInt32 PresentAsText(const PlatformAlert& alert);

} // namespace velnor

#endif
