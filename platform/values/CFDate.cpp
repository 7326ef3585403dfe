#include "platform/CFDate.h"

#include "platform/values/CFDateObject.h"

using velnor::Cast;
using velnor::DateObject;

CFTypeID CFDateGetTypeID(void) {
    return DateObject::StaticTypeID();
}

CFDateRef CFDateCreate(CFAllocatorRef, CFAbsoluteTime at) {
    return velnor::RefOf<CFDateRef>(new DateObject(at));
}

CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef date) {
    return Cast<DateObject>(date).At();
}
