// The changes of two writers of one value, brought together.
#ifndef VELNOR_PLATFORM_PREFERENCES_TREEMERGE_H
#define VELNOR_PLATFORM_PREFERENCES_TREEMERGE_H

#include "platform/CFRef.h"

namespace velnor {

// Of two values or nulls.
bool IsSameValue(CFTypeRef a, CFTypeRef b);

// What both were based on, what the one made of it earlier, what the other made of it since: values
// or null. Gives the later one with what the earlier one alone has changed: entry by entry where
// all three are dictionaries, the base also when it is none; whole else. The values are immutable
// and no deeper than property lists are.
CFRef<CFTypeRef> MergeChanges(CFTypeRef base, CFTypeRef earlier, CFTypeRef later);

} // namespace velnor

#endif
