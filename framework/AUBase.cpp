#include "framework/AUBase.h"

#include "platform/CFString.h"

namespace velnor {

AUBase::AUBase(ComponentInstance inInstance, UInt32 inNumInputs, UInt32 inNumOutputs,
               UInt32 inNumGroups, UInt32 inNumParts, UInt32 inInterfaceVersion)
    : ComponentBase(inInstance),
      mInitialElementCounts{1, inNumInputs, inNumOutputs, inNumGroups, inNumParts},
      mInterfaceVersion(inInterfaceVersion),
      mScopes{AUScope(*this, kAudioUnitScope_Global), AUScope(*this, kAudioUnitScope_Input),
              AUScope(*this, kAudioUnitScope_Output), AUScope(*this, kAudioUnitScope_Group),
              AUScope(*this, kAudioUnitScope_Part)},
      mCurrentPresetName(CFStringCreateWithCString(kCFAllocatorDefault, kUntitledPresetName,
                                                   kCFStringEncodingASCII)) {
    if (mInterfaceVersion >= kInterfaceVersion2) {
        mParameterEvents.reserve(kReservedParameterEvents);
    }
    AUBase::SetMaxFramesPerSlice(kDefaultMaxFramesPerSlice);
}

AUBase::~AUBase() = default;

void AUBase::PreDestructor() {
    DoCleanup();
}

// Life.

OSStatus AUBase::Initialize() {
    return noErr;
}

void AUBase::Cleanup() {}

OSStatus AUBase::Reset(AudioUnitScope, AudioUnitElement) {
    return noErr;
}

OSStatus AUBase::DoInitialize() {
    if (IsInitialized()) {
        return noErr;
    }
    const OSStatus status = Initialize();
    if (status != noErr) {
        return status;
    }
    mInitialized.store(true, std::memory_order_release);
    try {
        ReallocateBuffers();
    } catch (...) {
        DoCleanup();
        throw;
    }
    return noErr;
}

void AUBase::DoCleanup() {
    if (!IsInitialized()) {
        return;
    }
    try {
        Cleanup();
    } catch (...) {
        mInitialized.store(false, std::memory_order_release);
        throw;
    }
    mInitialized.store(false, std::memory_order_release);
}

OSStatus AUBase::DoReset(AudioUnitScope inScope, AudioUnitElement inElement) {
    mLastRenderedSampleTime.store(kNeverRendered);
    return Reset(inScope, inElement);
}

// Scopes and elements.

void AUBase::CreateElements() {
    if (mElementsCreated) {
        return;
    }
    for (AUScope& scope : mScopes) {
        scope.SetNumberOfElements(mInitialElementCounts[scope.GetScopeNumber()]);
    }
    mElementsCreated = true;
}

std::unique_ptr<AUElement> AUBase::CreateElement(AudioUnitScope inScope, AudioUnitElement) {
    switch (inScope) {
    case kAudioUnitScope_Global:
    case kAudioUnitScope_Group:
    case kAudioUnitScope_Part:
        return std::make_unique<AUElement>(*this);
    case kAudioUnitScope_Input:
        return std::make_unique<AUInputElement>(*this);
    case kAudioUnitScope_Output:
        return std::make_unique<AUOutputElement>(*this);
    default:
        ThrowStatus(kAudioUnitErr_InvalidScope);
    }
}

// Listeners and notifications.

OSStatus AUBase::AddPropertyListener(AudioUnitPropertyID inID, AudioUnitPropertyListenerProc inProc,
                                     void* inUserData) {
    if (inProc == nullptr) {
        return paramErr;
    }
    mPropertyListeners.Add(inID, inProc, inUserData);
    return noErr;
}

OSStatus AUBase::RemovePropertyListener(AudioUnitPropertyID inID,
                                        AudioUnitPropertyListenerProc inProc) {
    mPropertyListeners.Remove(inID, inProc);
    return noErr;
}

void AUBase::PropertyChanged(AudioUnitPropertyID inID, AudioUnitScope inScope,
                             AudioUnitElement inElement) VELNOR_NONBLOCKING {
    mPropertyListeners.Notify(GetComponentInstance(), inID, inScope, inElement);
}

OSStatus AUBase::SetRenderNotification(AURenderCallback inProc, void* inUserData) {
    return mRenderNotifications.Add(inProc, inUserData);
}

OSStatus AUBase::RemoveRenderNotification(AURenderCallback inProc, void* inUserData) {
    return mRenderNotifications.Remove(inProc, inUserData);
}

// Names and presets.

void AUBase::SetContextName(CFStringRef inName) {
    mContextName = CFRef<CFStringRef>::Retained(inName);
    PropertyChanged(kAudioUnitProperty_ContextName, kAudioUnitScope_Global, 0);
}

void AUBase::SetCurrentPreset(const AUPreset& inPreset) {
    SetAFactoryPresetAsCurrent(inPreset);
    CurrentPresetChanged();
}

void AUBase::SetAFactoryPresetAsCurrent(const AUPreset& inPreset) {
    mCurrentPresetNumber = inPreset.presetNumber;
    mCurrentPresetName = CFRef<CFStringRef>::Retained(inPreset.presetName);
}

void AUBase::CurrentPresetChanged() {
    PropertyChanged(kAudioUnitProperty_CurrentPreset, kAudioUnitScope_Global, 0);
    PropertyChanged(kAudioUnitProperty_PresentPreset, kAudioUnitScope_Global, 0);
}

OSStatus AUBase::GetPresets(CFArrayRef*) {
    return kAudioUnitErr_InvalidProperty;
}

OSStatus AUBase::NewFactoryPresetSet(const AUPreset&) {
    return kAudioUnitErr_InvalidProperty;
}

// Editors, icon and time.

UInt32 AUBase::GetNumCustomUIComponents() {
    return 0;
}

void AUBase::GetUIComponentDescs(ComponentDescription*) {}

bool AUBase::HasIcon() {
    return false;
}

CFURLRef AUBase::GetIconLocation() {
    return nullptr;
}

Float64 AUBase::GetLatency() {
    return 0;
}

Float64 AUBase::GetTailTime() {
    return 0;
}

bool AUBase::SupportsTail() {
    return false;
}

} // namespace velnor
