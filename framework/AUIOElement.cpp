#include "framework/AUIOElement.h"

#include "framework/AUBase.h"
#include "framework/StreamFormat.h"

namespace velnor {

AUIOElement::AUIOElement(AUBase& inAudioUnit)
    : AUElement(inAudioUnit),
      mStreamFormat(DefaultStreamFormat(inAudioUnit.GetInterfaceVersion())) {}

AUIOElement::~AUIOElement() = default;

OSStatus AUIOElement::SetStreamFormat(const AudioStreamBasicDescription& inFormat) {
    AllocateBufferFor(inFormat, 0);
    mStreamFormat = inFormat;
    return noErr;
}

void AUIOElement::AllocateBuffer(UInt32 inFrames) {
    AllocateBufferFor(mStreamFormat, inFrames);
}

void AUIOElement::AllocateBufferFor(const AudioStreamBasicDescription& inFormat, UInt32 inFrames) {
    if (!GetAudioUnit().IsInitialized()) {
        return;
    }
    const UInt32 frames = inFrames != 0 ? inFrames : GetAudioUnit().GetMaxFramesPerSlice();
    mBuffers.Allocate(inFormat, NeedsBufferSpace() ? frames : 0);
}

AUInputElement::~AUInputElement() = default;

void AUInputElement::SetConnection(const AudioUnitConnection& inConnection) {
    mSource.Connect(inConnection.sourceAudioUnit, inConnection.sourceOutputNumber);
    AllocateBuffer();
}

void AUInputElement::SetInputCallback(AURenderCallback inProc, void* inUserData) {
    mSource.SetCallback(inProc, inUserData);
    AllocateBuffer();
}

OSStatus AUInputElement::PullInput(AudioUnitRenderActionFlags& ioFlags,
                                   const AudioTimeStamp& inTimeStamp, UInt32 inBus,
                                   UInt32 inFrames) VELNOR_NONBLOCKING {
    if (!mSource.IsSet()) {
        return kAudioUnitErr_NoConnection;
    }
    AudioBufferList& list =
        NeedsBufferSpace() ? PrepareBuffer(inFrames) : PrepareNullBuffer(inFrames);
    const OSStatus status = mSource.Pull(ioFlags, inTimeStamp, inBus, inFrames, list);
    if (status != noErr) {
        InvalidateBufferList();
    }
    return status;
}

AUOutputElement::AUOutputElement(AUBase& inAudioUnit) : AUIOElement(inAudioUnit) {
    AllocateBuffer();
}

AUOutputElement::~AUOutputElement() = default;

} // namespace velnor
