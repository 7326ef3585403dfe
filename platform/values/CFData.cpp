#include "platform/CFData.h"

#include "platform/values/CFDataObject.h"

using velnor::Cast;
using velnor::DataObject;

void velnor::DataObject::Append(const UInt8* bytes, std::size_t length) {
    if (mMutable && length != 0) {
        mBytes.insert(mBytes.end(), bytes, bytes + length);
    }
}

CFTypeID CFDataGetTypeID(void) {
    return DataObject::StaticTypeID();
}

CFDataRef CFDataCreate(CFAllocatorRef, const UInt8* bytes, CFIndex length) {
    if (length < 0 || (bytes == nullptr && length != 0)) {
        return nullptr;
    }
    return velnor::RefOf<CFDataRef>(new DataObject({bytes, bytes + length}, false));
}

CFMutableDataRef CFDataCreateMutable(CFAllocatorRef, CFIndex) {
    return velnor::RefOf<CFMutableDataRef>(new DataObject({}, true));
}

CFIndex CFDataGetLength(CFDataRef data) {
    return static_cast<CFIndex>(Cast<DataObject>(data).Bytes().size());
}

const UInt8* CFDataGetBytePtr(CFDataRef data) {
    return Cast<DataObject>(data).Bytes().data();
}

void CFDataAppendBytes(CFMutableDataRef data, const UInt8* bytes, CFIndex length) {
    if (length > 0) {
        Cast<DataObject>(data).Append(bytes, static_cast<std::size_t>(length));
    }
}
