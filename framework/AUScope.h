// The elements of one scope.
#ifndef VELNOR_FRAMEWORK_AUSCOPE_H
#define VELNOR_FRAMEWORK_AUSCOPE_H

#include "framework/AUElement.h"
#include "framework/AUIOElement.h"
#include "framework/ThrowStatus.h"
#include "platform/CFDictionary.h"

#include <memory>
#include <vector>

namespace velnor {

/// Makes the elements of all scopes.
class AUElementCreator {
public:
    /// kAudioUnitErr_InvalidScope, thrown: no such scope. Elements of the input scope are
    /// AUInputElement, those of the output scope AUOutputElement. Thread main.
    virtual std::unique_ptr<AUElement> CreateElement(AudioUnitScope inScope,
                                                     AudioUnitElement inElement) = 0;

protected:
    ~AUElementCreator() = default;
};

/// The most elements that a scope may have: far above any real unit, and low enough that a hostile
/// count or saved state cannot exhaust memory.
inline constexpr UInt32 kMaximumElementsPerScope = 1024;

/// The element count changes on the main thread outside rendering; lookups are for any thread.
class AUScope {
public:
    /// inCreator outlives the scope. A scope begins without elements.
    AUScope(AUElementCreator& inCreator, AudioUnitScope inScope)
        : mCreator(inCreator), mScope(inScope) {}

    AudioUnitScope GetScopeNumber() const VELNOR_NONBLOCKING { return mScope; }

    /// Creates the missing elements in index order, or destroys elements from the end.
    /// kAudioUnitErr_InvalidPropertyValue, thrown with nothing changed: more than
    /// kMaximumElementsPerScope. When the creation of an element fails, those before it stay.
    void SetNumberOfElements(UInt32 inCount);
    UInt32 GetNumberOfElements() const VELNOR_NONBLOCKING {
        return static_cast<UInt32>(mElements.size());
    }

    /// Null when there is no such element.
    AUElement* GetElement(AudioUnitElement inElement) const VELNOR_NONBLOCKING {
        return inElement < mElements.size() ? mElements[inElement].get() : nullptr;
    }
    /// kAudioUnitErr_InvalidElement, thrown: no such element.
    AUElement& SafeGetElement(AudioUnitElement inElement) const VELNOR_NONBLOCKING {
        AUElement* const element = GetElement(inElement);
        if (element == nullptr) {
            ThrowStatus(kAudioUnitErr_InvalidElement);
        }
        return *element;
    }
    /// kAudioUnitErr_InvalidElement, thrown: no such element, or one that is not a bus.
    AUIOElement& GetIOElement(AudioUnitElement inElement) const VELNOR_NONBLOCKING;

    bool HasElementWithName() const;

    /// Adds {scope number in decimal: {element index in decimal: name}} when an element has a name.
    void AddElementNamesToDict(CFMutableDictionaryRef ioNames) const;

    /// Gives the elements the names of inNames, {index in decimal: name}, and grows the scope to
    /// hold the largest index. True when it grew. Keys that are not plain decimal numbers of at
    /// most 31 ASCII digits, below kMaximumElementsPerScope, are passed over; a value that is no
    /// string names nothing.
    bool RestoreElementNames(CFDictionaryRef inNames);

private:
    AUElementCreator& mCreator;
    AudioUnitScope mScope;
    std::vector<std::unique_ptr<AUElement>> mElements;
};

} // namespace velnor

#endif
