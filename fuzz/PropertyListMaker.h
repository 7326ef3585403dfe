// Property lists out of a fuzzer's input.
#ifndef VELNOR_FUZZ_PROPERTYLISTMAKER_H
#define VELNOR_FUZZ_PROPERTYLISTMAKER_H

#include "platform/CFDictionary.h"
#include "platform/CFRef.h"

#include <fuzzer/FuzzedDataProvider.h>
#include <string>
#include <vector>

namespace velnor::fuzz {

CFRef<CFStringRef> Key(const std::string& text);

class PropertyListMaker {
public:
    explicit PropertyListMaker(FuzzedDataProvider& input) : mInput(input) {}

    // The state with some of its values replaced, taken away or added.
    CFRef<CFTypeRef> Mutated(CFDictionaryRef state);

private:
    void Mutate(CFMutableDictionaryRef state);
    // Of any kind; now and then null.
    CFRef<CFTypeRef> AnyValue(int depth);
    CFRef<CFTypeRef> AnyNumber();
    CFRef<CFTypeRef> AnyDictionary(int depth);
    CFRef<CFTypeRef> Text();
    CFRef<CFTypeRef> Data(const std::vector<UInt8>& bytes);
    // Records of parameters, nearly whole.
    std::vector<UInt8> Blob();
    CFRef<CFTypeRef> ElementNames();

    FuzzedDataProvider& mInput;
};

} // namespace velnor::fuzz

#endif
