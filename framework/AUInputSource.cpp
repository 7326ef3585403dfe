#include "framework/AUInputSource.h"

#include "platform/AudioUnit.h"

namespace velnor {

void AUInputSource::Connect(AudioUnit inUnit, UInt32 inOutputBus) {
    *this = AUInputSource();
    mUnit = inUnit;
    mOutputBus = inOutputBus;
}

void AUInputSource::SetCallback(AURenderCallback inProc, void* inUserData) {
    *this = AUInputSource();
    mProc = inProc;
    mUserData = inUserData;
}

OSStatus AUInputSource::Pull(AudioUnitRenderActionFlags& ioFlags, const AudioTimeStamp& inTimeStamp,
                             UInt32 inBus, UInt32 inFrames,
                             AudioBufferList& ioData) const VELNOR_NONBLOCKING {
    OSStatus status = kAudioUnitErr_NoConnection;
    if (mUnit != nullptr) {
        VELNOR_RT_ESCAPE(
            "another unit's audio comes through its entry",
            status = AudioUnitRender(mUnit, &ioFlags, &inTimeStamp, mOutputBus, inFrames, &ioData));
    } else if (mProc != nullptr) {
        VELNOR_RT_ESCAPE("an input callback is the host's code",
                         status =
                             mProc(mUserData, &ioFlags, &inTimeStamp, inBus, inFrames, &ioData));
    }
    return status;
}

} // namespace velnor
