// Text to and from the platform's strings.
#ifndef VELNOR_HOST_JOB_PLATFORMTEXT_H
#define VELNOR_HOST_JOB_PLATFORMTEXT_H

#include "platform/CFRef.h"
#include "platform/CFString.h"

#include <string>

namespace velnor::host {

// UTF-8; empty for null.
std::string textOf(CFStringRef string);
// Null when the bytes are not UTF-8.
CFRef<CFStringRef> platformString(const std::string& text);

} // namespace velnor::host

#endif
