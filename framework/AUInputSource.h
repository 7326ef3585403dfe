// Where an input bus gets its audio from.
#ifndef VELNOR_FRAMEWORK_AUINPUTSOURCE_H
#define VELNOR_FRAMEWORK_AUINPUTSOURCE_H

#include "platform/AudioUnitTypes.h"
#include "platform/Facts.h"

namespace velnor {

/// Nothing, another unit's output bus, or a callback; whatever was set last. Changes are made on
/// the main thread outside rendering.
class AUInputSource {
public:
    /// The unit is the host's and outlives the connection; a null one disconnects.
    void Connect(AudioUnit inUnit, UInt32 inOutputBus);
    /// A null callback disconnects.
    void SetCallback(AURenderCallback inProc, void* inUserData);

    bool IsSet() const VELNOR_NONBLOCKING { return mUnit != nullptr || IsCallback(); }
    bool IsCallback() const VELNOR_NONBLOCKING { return mProc != nullptr; }

    /// Has the source fill ioData, or, where it has null data pointers, point it at its own memory.
    /// inBus is the input bus. kAudioUnitErr_NoConnection: nothing is set; else what the source
    /// answers. Thread render, exclusive, nonblocking as the source.
    OSStatus Pull(AudioUnitRenderActionFlags& ioFlags, const AudioTimeStamp& inTimeStamp,
                  UInt32 inBus, UInt32 inFrames, AudioBufferList& ioData) const VELNOR_NONBLOCKING;

private:
    AudioUnit mUnit = nullptr;
    UInt32 mOutputBus = 0;
    AURenderCallback mProc = nullptr;
    void* mUserData = nullptr;
};

} // namespace velnor

#endif
