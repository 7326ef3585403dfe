// The instrument: an audio unit that forwards everything to a sound engine.
#ifndef VELNOR_BRIDGE_SAMPLERAU_H
#define VELNOR_BRIDGE_SAMPLERAU_H

#include "bridge/EngineClient.h"
#include "bridge/ProductRecord.h"
#include "bridge/RenderData.h"
#include "framework/MusicDeviceBase.h"

#include <string>
#include <vector>

// The folder VENDOR/PRODUCT in the user's application-support folder, both made where they are
// missing; empty when there is no such place. Thread main, may block.
std::string setUserPath();

namespace velnor {

// Instruments that have come up and are not yet destroyed. The one that makes it 1 opens the
// process's log, the one that makes it 0 closes it. Thread main.
extern int g_instances;

// Operations without a comment are the framework's, with its threads and real-time classes.
class SamplerAU : public MusicDeviceBase {
public:
    // Reads no file or preference and leaves the engine alone.
    explicit SamplerAU(ComponentInstance inInstance);
    ~SamplerAU() override;

    ComponentResult Version() override;
    // Finds and binds the engine. A failure on the way is told to the user and to the log and
    // leaves an instrument that renders silence.
    void PostConstructor() override;

    // kAudioUnitErr_FormatNotSupported: not a configuration of SupportedNumChannels.
    OSStatus Initialize() override;
    void Cleanup() override;
    OSStatus Reset(AudioUnitScope inScope, AudioUnitElement inElement) override;

    // From kVendorPropertyFirst on, global scope: the engine's own properties.
    // kAudioUnitErr_Uninitialized: no engine; kAudioUnitErr_InvalidPropertyValue: it refused.
    OSStatus GetPropertyInfo(AudioUnitPropertyID inID, AudioUnitScope inScope,
                             AudioUnitElement inElement, UInt32& outDataSize,
                             Boolean& outWritable) override;
    OSStatus GetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                         AudioUnitElement inElement, void* outData) override;
    OSStatus SetProperty(AudioUnitPropertyID inID, AudioUnitScope inScope,
                         AudioUnitElement inElement, const void* inData,
                         UInt32 inDataSize) override;

    OSStatus Render(AudioUnitRenderActionFlags& ioFlags, const AudioTimeStamp& inTimeStamp,
                    UInt32 inFrames) VELNOR_NONBLOCKING override;

    bool BusCountWritable(AudioUnitScope inScope) override;
    OSStatus GetParameterInfo(AudioUnitScope inScope, AudioUnitParameterID inID,
                              AudioUnitParameterInfo& outInfo) override;
    // The framework's dictionary, with the engine's chunk as data under "OrmoData".
    OSStatus SaveState(CFPropertyListRef* outState) override;
    OSStatus RestoreState(CFPropertyListRef inState) override;
    OSStatus GetParameterValueStrings(AudioUnitScope inScope, AudioUnitParameterID inID,
                                      CFArrayRef* outStrings) override;
    UInt32 GetNumCustomUIComponents() override;
    void GetUIComponentDescs(ComponentDescription* outDescriptions) override;
    Float64 GetLatency() override;

    bool StreamFormatWritable(AudioUnitScope inScope, AudioUnitElement inElement) override;
    UInt32 SupportedNumChannels(const AUChannelInfo** outInfos) override;
    OSStatus ChangeStreamFormat(AudioUnitScope inScope, AudioUnitElement inElement,
                                const AudioStreamBasicDescription& inOldFormat,
                                const AudioStreamBasicDescription& inNewFormat) override;
    UInt32 GetAudioChannelLayout(AudioUnitScope inScope, AudioUnitElement inElement,
                                 AudioChannelLayout* outLayout, Boolean& outWritable) override;
    UInt32 GetChannelLayoutTags(AudioUnitScope inScope, AudioUnitElement inElement,
                                AudioChannelLayoutTag* outTags) override;

    // Notes reach the engine as MIDI only: these do nothing.
    OSStatus PrepareInstrument(MusicDeviceInstrumentID inInstrument) override;
    OSStatus ReleaseInstrument(MusicDeviceInstrumentID inInstrument) override;
    OSStatus StartNote(MusicDeviceInstrumentID inInstrument, MusicDeviceGroupID inGroup,
                       NoteInstanceID* outNoteInstance, UInt32 inOffsetSampleFrame,
                       const MusicDeviceNoteParams& inParams) VELNOR_NONBLOCKING override;
    OSStatus StopNote(MusicDeviceGroupID inGroup, NoteInstanceID inNoteInstance,
                      UInt32 inOffsetSampleFrame) VELNOR_NONBLOCKING override;
    // Queues the message for the next render, initialized or not. Always 0: a message that finds
    // the queue full is lost, with a line in the log.
    OSStatus HandleMidiEvent(UInt8 inStatus, UInt8 inChannel, UInt8 inData1, UInt8 inData2,
                             long inStartFrame) VELNOR_NONBLOCKING override;

private:
    void buildChannelInfos();
    void openLog();
    std::string preferencesDomain() const;
    bool readDataDir();
    bool readEnginePath();
    bool bindEngine();
    void fail(const std::string& logMessage, const char* alertMessage) const;

    bool acceptsOutputs(SInt32 numOutputs) const;
    void openEngine();

    AudioBufferList& outputBuffers(UInt32 bus, UInt32 frames) VELNOR_NONBLOCKING;
    void gatherChannels(UInt32 frames) VELNOR_NONBLOCKING;
    void silenceOutputs(UInt32 frames) VELNOR_NONBLOCKING;

    OSStatus vendorProperty(AudioUnitPropertyID id, void* value);
    void setOfflineRender(bool offline);

    const ProductRecord& mRecord;
    bool mCounted = false; // in g_instances

    std::string mEnginePath;
    std::string mHostAppPath;
    std::string mDataDir;
    std::string mUserPath;

    std::vector<AUChannelInfo> mChannelInfos;
    SInt32 mNumOutputs = 0;
    bool mOfflineRender = false;

    EngineClient mEngine;
    RenderData mRenderData;
};

} // namespace velnor

#endif
