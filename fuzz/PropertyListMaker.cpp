#include "fuzz/PropertyListMaker.h"

#include "fuzz/HostMemory.h"
#include "platform/CFArray.h"
#include "platform/CFData.h"
#include "platform/CFDate.h"
#include "platform/CFNumber.h"
#include "platform/CFString.h"

namespace velnor::fuzz {

namespace {

constexpr int kDeepest = 3;
constexpr const char* kStateKeys[] = {"version", "type",         "subtype",  "manufacturer",
                                      "data",    "name",         "cpu-load", "render-quality",
                                      "part",    "element-name", "OrmoData", "other"};
constexpr const char* kIndices[] = {"0",
                                    "1",
                                    "2",
                                    "3",
                                    "4",
                                    "5",
                                    "03",
                                    "1023",
                                    "1024",
                                    "4294967296",
                                    "-1",
                                    "+1",
                                    "x",
                                    "",
                                    "1 ",
                                    "0000000000000000000000000000001",
                                    "00000000000000000000000000000001"};

CFRef<CFMutableDictionaryRef> EmptyDictionary() {
    return CFRef<CFMutableDictionaryRef>(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

void Put(CFMutableDictionaryRef dictionary, const std::string& key, const CFRef<CFTypeRef>& value) {
    if (value) {
        CFDictionarySetValue(dictionary, Key(key).Get(), value.Get());
    } else {
        CFDictionaryRemoveValue(dictionary, Key(key).Get());
    }
}

} // namespace

CFRef<CFStringRef> Key(const std::string& text) {
    return CFRef<CFStringRef>(
        CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), kCFStringEncodingUTF8));
}

CFRef<CFTypeRef> PropertyListMaker::Mutated(CFDictionaryRef state) {
    const CFRef<CFMutableDictionaryRef> mutated(
        CFDictionaryCreateMutableCopy(kCFAllocatorDefault, 0, state));
    for (int i = mInput.ConsumeIntegralInRange(0, 5); i >= 0; --i) {
        Mutate(mutated.Get());
    }
    return CFRef<CFTypeRef>::Retained(mutated.Get());
}

void PropertyListMaker::Mutate(CFMutableDictionaryRef state) {
    switch (mInput.ConsumeIntegralInRange<int>(0, 5)) {
    case 0:
        Put(state, "data", Data(Blob()));
        return;
    case 1:
        Put(state, "element-name", ElementNames());
        return;
    case 2:
        Put(state, "name", Text());
        return;
    case 3:
        Put(state, "OrmoData", Data(mInput.ConsumeBytes<UInt8>(64)));
        return;
    default:
        Put(state, mInput.PickValueInArray(kStateKeys), AnyValue(0));
    }
}

CFRef<CFTypeRef> PropertyListMaker::AnyValue(int depth) {
    switch (mInput.ConsumeIntegralInRange<int>(0, depth < kDeepest ? 7 : 5)) {
    case 0:
        return {};
    case 1:
        return AnyNumber();
    case 2:
        return Text();
    case 3:
        return Data(mInput.ConsumeBytes<UInt8>(32));
    case 4:
        return CFRef<CFTypeRef>::Retained(mInput.ConsumeBool() ? kCFBooleanTrue : kCFBooleanFalse);
    case 5:
        return CFRef<CFTypeRef>(CFDateCreate(kCFAllocatorDefault, Real(mInput)));
    case 6: {
        CFRef<CFMutableArrayRef> array(
            CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
        if (const CFRef<CFTypeRef> value = AnyValue(depth + 1)) {
            CFArrayAppendValue(array.Get(), value.Get());
        }
        return CFRef<CFTypeRef>(array.Detach());
    }
    default:
        return AnyDictionary(depth);
    }
}

CFRef<CFTypeRef> PropertyListMaker::AnyNumber() {
    if (mInput.ConsumeBool()) {
        const auto whole = OneIn(mInput, 2) ? mInput.ConsumeIntegral<SInt64>()
                                            : static_cast<SInt64>(Number(mInput, 2));
        return CFRef<CFTypeRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &whole));
    }
    const Float64 real = Real(mInput);
    return CFRef<CFTypeRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberFloat64Type, &real));
}

CFRef<CFTypeRef> PropertyListMaker::AnyDictionary(int depth) {
    CFRef<CFMutableDictionaryRef> dictionary = EmptyDictionary();
    for (int i = mInput.ConsumeIntegralInRange(0, 3); i > 0; --i) {
        Put(dictionary.Get(), mInput.PickValueInArray(kIndices), AnyValue(depth + 1));
    }
    return CFRef<CFTypeRef>(dictionary.Detach());
}

CFRef<CFTypeRef> PropertyListMaker::Text() {
    // A zero character would end the text in a file.
    return CFRef<CFTypeRef>(Key(mInput.ConsumeRandomLengthString(40)).Detach());
}

CFRef<CFTypeRef> PropertyListMaker::Data(const std::vector<UInt8>& bytes) {
    return CFRef<CFTypeRef>(
        CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size())));
}

std::vector<UInt8> PropertyListMaker::Blob() {
    std::vector<UInt8> blob;
    const auto append = [&blob](UInt32 word) {
        for (int shift = 24; shift >= 0; shift -= 8) {
            blob.push_back(static_cast<UInt8>(word >> shift));
        }
    };
    for (int i = mInput.ConsumeIntegralInRange(0, 4); i > 0; --i) {
        append(Number(mInput, 4));
        append(Number(mInput, 1));
        const UInt32 count = mInput.ConsumeIntegralInRange(0U, 4U);
        append(OneIn(mInput, 16) ? Number(mInput, 8) : count);
        for (UInt32 entry = 0; entry < count; ++entry) {
            append(Number(mInput, 9));
            append(mInput.ConsumeIntegral<UInt32>());
        }
    }
    if (OneIn(mInput, 4)) {
        blob.resize(mInput.ConsumeIntegralInRange<std::size_t>(0, blob.size() + 8));
    }
    return blob;
}

CFRef<CFTypeRef> PropertyListMaker::ElementNames() {
    CFRef<CFMutableDictionaryRef> scopes = EmptyDictionary();
    for (int i = mInput.ConsumeIntegralInRange(0, 3); i > 0; --i) {
        const CFRef<CFMutableDictionaryRef> names = EmptyDictionary();
        for (int name = mInput.ConsumeIntegralInRange(0, 3); name > 0; --name) {
            Put(names.Get(), mInput.PickValueInArray(kIndices),
                OneIn(mInput, 8) ? AnyValue(kDeepest) : Text());
        }
        Put(scopes.Get(), mInput.PickValueInArray(kIndices),
            CFRef<CFTypeRef>::Retained(names.Get()));
    }
    return CFRef<CFTypeRef>(scopes.Detach());
}

} // namespace velnor::fuzz
