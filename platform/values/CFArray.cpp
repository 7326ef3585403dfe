#include "platform/CFArray.h"

#include "platform/values/CFArrayObject.h"

#include <algorithm>

using velnor::ArrayObject;
using velnor::Cast;

struct CFArrayCallBacks {
    char retained;
};

namespace velnor {
namespace {

constexpr CFArrayCallBacks kRetained{1};

} // namespace

void ArrayObject::Append(CFTypeRef value) {
    if (mMutable) {
        mItems.push_back(CFRef<CFTypeRef>::Retained(value));
    }
}

bool ArrayObject::Equals(const CFObject& other) const {
    const Items& items = static_cast<const ArrayObject&>(other).mItems;
    return std::equal(mItems.begin(), mItems.end(), items.begin(), items.end(),
                      [](const auto& a, const auto& b) { return CFEqual(a.Get(), b.Get()); });
}

void ArrayObject::ForEachChild(const std::function<void(CFObject&)>& visit) const {
    for (const auto& item : mItems) {
        visit(ObjectOf(item.Get()));
    }
}

} // namespace velnor

const CFArrayCallBacks* const PlatformTypeArrayCallBacks = &velnor::kRetained;

CFTypeID CFArrayGetTypeID(void) {
    return ArrayObject::StaticTypeID();
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef, CFIndex, const CFArrayCallBacks*) {
    return velnor::RefOf<CFMutableArrayRef>(new ArrayObject({}, true));
}

CFIndex CFArrayGetCount(CFArrayRef array) {
    return static_cast<CFIndex>(Cast<ArrayObject>(array).All().size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
    const auto& items = Cast<ArrayObject>(array).All();
    if (index < 0 || static_cast<std::size_t>(index) >= items.size()) {
        return nullptr;
    }
    return items[static_cast<std::size_t>(index)].Get();
}

void CFArrayAppendValue(CFMutableArrayRef array, const void* value) {
    if (value != nullptr) {
        Cast<ArrayObject>(array).Append(value);
    }
}
