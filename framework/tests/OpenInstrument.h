// Test instruments as a host has them: open, initialized, listened to.
#ifndef VELNOR_FRAMEWORK_TESTS_OPENINSTRUMENT_H
#define VELNOR_FRAMEWORK_TESTS_OPENINSTRUMENT_H

#include "framework/tests/TestInstrument.h"

namespace velnor::testing {

// A test instrument that is open, as a host has it, with no calls on its record.
class OpenInstrument {
public:
    explicit OpenInstrument(const TestShape& inShape = {}) {
        TestInstrument::sShape = inShape;
        mOpenStatus = PlatformOpenComponent(kRegistration, &mUnit);
        TakeCalls();
    }
    ~OpenInstrument() { Close(); }
    OpenInstrument(const OpenInstrument&) = delete;
    OpenInstrument& operator=(const OpenInstrument&) = delete;

    static inline const ComponentDescription kCodes = {kAudioUnitType_MusicDevice, kTestSubType,
                                                       kTestManufacturer, 0, 0};
    static inline const Component kRegistration = PlatformRegisterComponentEntry(
        &kCodes, ComponentEntryPoint<TestInstrument>::Dispatch, "Test instrument", 1);

    operator AudioUnit() const { return mUnit; }
    OSStatus GetOpenStatus() const { return mOpenStatus; }
    void* Storage() const { return GetComponentInstanceStorage(mUnit); }
    TestInstrument* operator->() const {
        return static_cast<TestInstrument*>(static_cast<ComponentBase*>(Storage()));
    }
    TestInstrument& operator*() const { return *operator->(); }
    OSStatus Close() {
        return mUnit == nullptr ? OSStatus{noErr} : CloseComponent(std::exchange(mUnit, nullptr));
    }

    // The property through AudioUnitGetProperty, with exactly sizeof(T) of room.
    template <typename T>
    OSStatus Get(AudioUnitPropertyID inID, AudioUnitScope inScope, AudioUnitElement inElement,
                 T& outValue) const {
        UInt32 size = sizeof(T);
        return AudioUnitGetProperty(mUnit, inID, inScope, inElement, static_cast<void*>(&outValue),
                                    &size);
    }
    // The value of a property that can be read.
    template <typename T>
    T Value(AudioUnitPropertyID inID, AudioUnitScope inScope = kGlobal,
            AudioUnitElement inElement = 0) const {
        T value{};
        EXPECT_EQ(Get(inID, inScope, inElement, value), noErr) << inID;
        return value;
    }
    template <typename T>
    OSStatus Set(AudioUnitPropertyID inID, AudioUnitScope inScope, AudioUnitElement inElement,
                 const T& inValue) const {
        return AudioUnitSetProperty(mUnit, inID, inScope, inElement,
                                    static_cast<const void*>(&inValue), sizeof(T));
    }
    OSStatus Remove(AudioUnitPropertyID inID, AudioUnitScope inScope) const {
        return AudioUnitSetProperty(mUnit, inID, inScope, 0, nullptr, 0);
    }
    // The text of a name property, or "<none>".
    std::string Name(AudioUnitPropertyID inID, AudioUnitScope inScope = kGlobal,
                     AudioUnitElement inElement = 0) const {
        CFStringRef name = nullptr;
        Get(inID, inScope, inElement, name);
        return Text(CFRef<CFStringRef>(name).Get());
    }
    // Number and name.
    std::string Preset() const {
        const AUPreset preset = operator->()->GetCurrentPreset();
        return std::to_string(preset.presetNumber) + " " + Text(preset.presetName);
    }
    // -1 where the parameter was never set.
    Float32 Parameter(AudioUnitParameterID inID, AudioUnitScope inScope = kGlobal,
                      AudioUnitElement inElement = 0) const {
        Float32 value = -1;
        AudioUnitGetParameter(mUnit, inID, inScope, inElement, &value);
        return value;
    }
    // The last render error, which reading takes.
    OSStatus LastError() const { return Value<OSStatus>(kAudioUnitProperty_LastRenderError); }
    // Has the operation fail in this way from now on.
    void Fail(std::string_view inOperation, Raise inRaise) const {
        operator->()->mFailsIn = inOperation;
        operator->()->mRaise = inRaise;
    }

private:
    AudioUnit mUnit = nullptr;
    OSStatus mOpenStatus = noErr;
};

// The same, initialized.
struct InitializedInstrument : OpenInstrument {
    explicit InitializedInstrument(const TestShape& inShape = {}) : OpenInstrument(inShape) {
        EXPECT_EQ(AudioUnitInitialize(*this), noErr);
        TakeCalls();
    }
};

// What the listeners of some properties hear: "property scope element: what is read then; ".
class Changes {
public:
    using Read = std::string (*)(const OpenInstrument& inUnit, AudioUnitPropertyID inID,
                                 AudioUnitScope inScope, AudioUnitElement inElement);
    Changes(const OpenInstrument& inUnit, std::initializer_list<AudioUnitPropertyID> inIDs,
            Read inRead = nullptr)
        : mUnit(inUnit), mRead(inRead) {
        for (const AudioUnitPropertyID id : inIDs) {
            EXPECT_EQ(AudioUnitAddPropertyListener(inUnit, id, Hear, this), noErr);
        }
    }
    std::string Take() { return std::exchange(mHeard, {}); }

private:
    static void Hear(void* inThis, AudioUnit, AudioUnitPropertyID inID, AudioUnitScope inScope,
                     AudioUnitElement inElement) {
        Changes& self = *static_cast<Changes*>(inThis);
        std::ostringstream text;
        text << inID << " " << inScope << " " << inElement << ": "
             << (self.mRead ? self.mRead(self.mUnit, inID, inScope, inElement) : "") << "; ";
        self.mHeard += text.str();
    }

    const OpenInstrument& mUnit;
    const Read mRead;
    std::string mHeard;
};

} // namespace velnor::testing

#endif
