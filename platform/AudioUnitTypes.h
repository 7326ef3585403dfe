// Identifiers, records and callbacks of the audio-unit interface.
#ifndef VELNOR_PLATFORM_AUDIOUNITTYPES_H
#define VELNOR_PLATFORM_AUDIOUNITTYPES_H

#include "platform/AudioTypes.h"
#include "platform/CFString.h"
#include "platform/Components.h"

VELNOR_BEGIN_C

typedef ComponentInstance AudioUnit;
typedef ComponentInstance MusicDeviceComponent;
typedef UInt32 AudioUnitPropertyID;
typedef UInt32 AudioUnitParameterID;
typedef UInt32 AudioUnitScope;
typedef UInt32 AudioUnitElement;
typedef UInt32 AudioUnitRenderActionFlags;
typedef Float32 AudioUnitParameterValue;

enum {
    kAudioUnitType_MusicDevice = VELNOR_FOUR_CHAR_CODE('a', 'u', 'm', 'u'),
    kAudioUnitCarbonViewComponentType = VELNOR_FOUR_CHAR_CODE('a', 'u', 'v', 'w')
};

enum {
    kAudioUnitInitializeSelect = 0x0001,
    kAudioUnitUninitializeSelect = 0x0002,
    kAudioUnitGetPropertyInfoSelect = 0x0003,
    kAudioUnitGetPropertySelect = 0x0004,
    kAudioUnitSetPropertySelect = 0x0005,
    kAudioUnitGetParameterSelect = 0x0006,
    kAudioUnitSetParameterSelect = 0x0007,
    kAudioUnitResetSelect = 0x0009,
    kAudioUnitAddPropertyListenerSelect = 0x000A,
    kAudioUnitRemovePropertyListenerSelect = 0x000B,
    kAudioUnitRenderSelect = 0x000E,
    kAudioUnitAddRenderNotifySelect = 0x000F,
    kAudioUnitRemoveRenderNotifySelect = 0x0010,
    kAudioUnitScheduleParametersSelect = 0x0011,
    kMusicDeviceMIDIEventSelect = 0x0101,
    kMusicDeviceSysExSelect = 0x0102,
    kMusicDevicePrepareInstrumentSelect = 0x0103,
    kMusicDeviceReleaseInstrumentSelect = 0x0104,
    kMusicDeviceStartNoteSelect = 0x0105,
    kMusicDeviceStopNoteSelect = 0x0106
};

enum {
    kAudioUnitErr_InvalidProperty = -10879,
    kAudioUnitErr_InvalidParameter = -10878,
    kAudioUnitErr_InvalidElement = -10877,
    kAudioUnitErr_NoConnection = -10876,
    kAudioUnitErr_FailedInitialization = -10875,
    kAudioUnitErr_TooManyFramesToProcess = -10874,
    kAudioUnitErr_FormatNotSupported = -10868,
    kAudioUnitErr_Uninitialized = -10867,
    kAudioUnitErr_InvalidScope = -10866,
    kAudioUnitErr_PropertyNotWritable = -10865,
    kAudioUnitErr_InvalidPropertyValue = -10851,
    kAudioUnitErr_PropertyNotInUse = -10850,
    kAudioUnitErr_Initialized = -10849
};

enum {
    kAudioUnitScope_Global = 0,
    kAudioUnitScope_Input = 1,
    kAudioUnitScope_Output = 2,
    kAudioUnitScope_Group = 3,
    kAudioUnitScope_Part = 4
};

enum {
    kAudioUnitProperty_ClassInfo = 0,
    kAudioUnitProperty_MakeConnection = 1,
    kAudioUnitProperty_SampleRate = 2,
    kAudioUnitProperty_ParameterList = 3,
    kAudioUnitProperty_ParameterInfo = 4,
    kAudioUnitProperty_FastDispatch = 5,
    kAudioUnitProperty_CPULoad = 6,
    kAudioUnitProperty_StreamFormat = 8,
    kAudioUnitProperty_ElementCount = 11,
    kAudioUnitProperty_Latency = 12,
    kAudioUnitProperty_SupportedNumChannels = 13,
    kAudioUnitProperty_MaximumFramesPerSlice = 14,
    kAudioUnitProperty_SetExternalBuffer = 15,
    kAudioUnitProperty_ParameterValueStrings = 16,
    kAudioUnitProperty_GetUIComponentList = 18,
    kAudioUnitProperty_AudioChannelLayout = 19,
    kAudioUnitProperty_TailTime = 20,
    kAudioUnitProperty_LastRenderError = 22,
    kAudioUnitProperty_SetRenderCallback = 23,
    kAudioUnitProperty_FactoryPresets = 24,
    kAudioUnitProperty_ContextName = 25,
    kAudioUnitProperty_RenderQuality = 26,
    kAudioUnitProperty_HostCallbacks = 27,
    kAudioUnitProperty_CurrentPreset = 28,
    kAudioUnitProperty_ElementName = 30,
    kAudioUnitProperty_SupportedChannelLayoutTags = 32,
    kAudioUnitProperty_PresentPreset = 36,
    kAudioUnitProperty_OfflineRender = 37,
    kAudioUnitProperty_IconLocation = 39,
    kMusicDeviceProperty_InstrumentCount = 1000,
    kMusicDeviceProperty_MIDIXMLNames = 1006 // a CFURLRef that the reader releases
};

enum {
    kAudioUnitRenderAction_PreRender = 1 << 2,
    kAudioUnitRenderAction_PostRender = 1 << 3,
    kAudioUnitRenderAction_OutputIsSilence = 1 << 4
};

// Thread render, nonblocking: render and input callbacks.
typedef OSStatus (*AURenderCallback)(void* userData, AudioUnitRenderActionFlags* flags,
                                     const AudioTimeStamp* timeStamp, UInt32 bus, UInt32 frames,
                                     AudioBufferList* data);
// Called on the thread that changes the property: main, but render for the last render error, where
// it is nonblocking. Concurrent.
typedef void (*AudioUnitPropertyListenerProc)(void* userData, AudioUnit unit,
                                              AudioUnitPropertyID id, AudioUnitScope scope,
                                              AudioUnitElement element);

typedef struct AURenderCallbackStruct {
    AURenderCallback inputProc;
    void* inputProcRefCon;
} AURenderCallbackStruct;
VELNOR_ASSERT_OFFSET(AURenderCallbackStruct, inputProc, 0);
VELNOR_ASSERT_OFFSET(AURenderCallbackStruct, inputProcRefCon, VELNOR_BY_WIDTH(4, 8));
VELNOR_ASSERT_SIZE(AURenderCallbackStruct, VELNOR_BY_WIDTH(8, 16));

typedef struct AudioUnitConnection {
    AudioUnit sourceAudioUnit;
    UInt32 sourceOutputNumber;
    UInt32 destInputNumber;
} AudioUnitConnection;
VELNOR_ASSERT_OFFSET(AudioUnitConnection, sourceAudioUnit, 0);
VELNOR_ASSERT_OFFSET(AudioUnitConnection, sourceOutputNumber, VELNOR_BY_WIDTH(4, 8));
VELNOR_ASSERT_OFFSET(AudioUnitConnection, destInputNumber, VELNOR_BY_WIDTH(8, 12));
VELNOR_ASSERT_SIZE(AudioUnitConnection, VELNOR_BY_WIDTH(12, 16));

typedef struct AUChannelInfo {
    SInt16 inChannels; // -1: any; below -1: any up to so many
    SInt16 outChannels;
} AUChannelInfo;
VELNOR_ASSERT_OFFSET(AUChannelInfo, inChannels, 0);
VELNOR_ASSERT_OFFSET(AUChannelInfo, outChannels, 2);
VELNOR_ASSERT_SIZE(AUChannelInfo, 4);

typedef struct AudioUnitExternalBuffer {
    UInt8* buffer; // 16-byte aligned; the caller's for as long as it is set
    UInt32 size;   // bytes
} AudioUnitExternalBuffer;
VELNOR_ASSERT_OFFSET(AudioUnitExternalBuffer, buffer, 0);
VELNOR_ASSERT_OFFSET(AudioUnitExternalBuffer, size, VELNOR_BY_WIDTH(4, 8));
VELNOR_ASSERT_SIZE(AudioUnitExternalBuffer, VELNOR_BY_WIDTH(8, 16));

typedef struct AUPreset {
    SInt32 presetNumber; // below 0: a user's own
    CFStringRef presetName;
} AUPreset;
VELNOR_ASSERT_OFFSET(AUPreset, presetNumber, 0);
VELNOR_ASSERT_OFFSET(AUPreset, presetName, VELNOR_BY_WIDTH(4, 8));
VELNOR_ASSERT_SIZE(AUPreset, VELNOR_BY_WIDTH(8, 16));

typedef struct AudioUnitParameterInfo {
    char name[56];
    UInt32 clumpID;
    CFStringRef cfNameString;
    UInt32 unit;
    AudioUnitParameterValue minValue;
    AudioUnitParameterValue maxValue;
    AudioUnitParameterValue defaultValue;
    UInt32 flags;
} AudioUnitParameterInfo;
VELNOR_ASSERT_OFFSET(AudioUnitParameterInfo, name, 0);
VELNOR_ASSERT_OFFSET(AudioUnitParameterInfo, clumpID, 56);
VELNOR_ASSERT_OFFSET(AudioUnitParameterInfo, cfNameString, VELNOR_BY_WIDTH(60, 64));
VELNOR_ASSERT_OFFSET(AudioUnitParameterInfo, unit, VELNOR_BY_WIDTH(64, 72));
VELNOR_ASSERT_OFFSET(AudioUnitParameterInfo, minValue, VELNOR_BY_WIDTH(68, 76));
VELNOR_ASSERT_OFFSET(AudioUnitParameterInfo, maxValue, VELNOR_BY_WIDTH(72, 80));
VELNOR_ASSERT_OFFSET(AudioUnitParameterInfo, defaultValue, VELNOR_BY_WIDTH(76, 84));
VELNOR_ASSERT_OFFSET(AudioUnitParameterInfo, flags, VELNOR_BY_WIDTH(80, 88));
VELNOR_ASSERT_SIZE(AudioUnitParameterInfo, VELNOR_BY_WIDTH(84, 96));

typedef UInt32 AUParameterEventType;
enum { kParameterEvent_Immediate = 1, kParameterEvent_Ramped = 2 };

typedef struct AudioUnitParameterEvent {
    AudioUnitScope scope;
    AudioUnitElement element;
    AudioUnitParameterID parameter;
    AUParameterEventType eventType;
    union {
        struct {
            SInt32 startBufferOffset; // frames
            UInt32 durationInFrames;
            AudioUnitParameterValue startValue;
            AudioUnitParameterValue endValue;
        } ramp;
        struct {
            UInt32 bufferOffset; // frames
            AudioUnitParameterValue value;
        } immediate;
    } eventValues;
} AudioUnitParameterEvent;
VELNOR_ASSERT_OFFSET(AudioUnitParameterEvent, scope, 0);
VELNOR_ASSERT_OFFSET(AudioUnitParameterEvent, element, 4);
VELNOR_ASSERT_OFFSET(AudioUnitParameterEvent, parameter, 8);
VELNOR_ASSERT_OFFSET(AudioUnitParameterEvent, eventType, 12);
VELNOR_ASSERT_OFFSET(AudioUnitParameterEvent, eventValues.ramp.startBufferOffset, 16);
VELNOR_ASSERT_OFFSET(AudioUnitParameterEvent, eventValues.ramp.durationInFrames, 20);
VELNOR_ASSERT_OFFSET(AudioUnitParameterEvent, eventValues.ramp.startValue, 24);
VELNOR_ASSERT_OFFSET(AudioUnitParameterEvent, eventValues.ramp.endValue, 28);
VELNOR_ASSERT_OFFSET(AudioUnitParameterEvent, eventValues.immediate.bufferOffset, 16);
VELNOR_ASSERT_OFFSET(AudioUnitParameterEvent, eventValues.immediate.value, 20);
VELNOR_ASSERT_SIZE(AudioUnitParameterEvent, 32);

// The host's answers about its transport; each is called with hostUserData first. Outputs are
// preset by the caller. Thread render, exclusive, nonblocking.
typedef OSStatus (*HostCallback_GetBeatAndTempo)(void* hostUserData, Float64* currentBeat,
                                                 Float64* currentTempo);
typedef OSStatus (*HostCallback_GetMusicalTimeLocation)(void* hostUserData,
                                                        UInt32* deltaSampleOffsetToNextBeat,
                                                        Float32* timeSigNumerator,
                                                        UInt32* timeSigDenominator,
                                                        Float64* currentMeasureDownBeat);
typedef OSStatus (*HostCallback_GetTransportState)(void* hostUserData, Boolean* isPlaying,
                                                   Boolean* transportStateChanged,
                                                   Float64* currentSampleInTimeLine,
                                                   Boolean* isCycling, Float64* cycleStartBeat,
                                                   Float64* cycleEndBeat);
typedef struct HostCallbackInfo {
    void* hostUserData;
    HostCallback_GetBeatAndTempo beatAndTempoProc;
    HostCallback_GetMusicalTimeLocation musicalTimeLocationProc;
    HostCallback_GetTransportState transportStateProc;
} HostCallbackInfo;
VELNOR_ASSERT_OFFSET(HostCallbackInfo, hostUserData, 0);
VELNOR_ASSERT_OFFSET(HostCallbackInfo, beatAndTempoProc, VELNOR_BY_WIDTH(4, 8));
VELNOR_ASSERT_OFFSET(HostCallbackInfo, musicalTimeLocationProc, VELNOR_BY_WIDTH(8, 16));
VELNOR_ASSERT_OFFSET(HostCallbackInfo, transportStateProc, VELNOR_BY_WIDTH(12, 24));
VELNOR_ASSERT_SIZE(HostCallbackInfo, VELNOR_BY_WIDTH(16, 32));

typedef UInt32 MusicDeviceInstrumentID;
typedef UInt32 MusicDeviceGroupID;
typedef UInt32 NoteInstanceID;
#define kMusicNoteEvent_UseGroupInstrument 0xFFFFFFFFu

typedef struct NoteParamsControlValue {
    AudioUnitParameterID mID;
    AudioUnitParameterValue mValue;
} NoteParamsControlValue;
VELNOR_ASSERT_OFFSET(NoteParamsControlValue, mID, 0);
VELNOR_ASSERT_OFFSET(NoteParamsControlValue, mValue, 4);
VELNOR_ASSERT_SIZE(NoteParamsControlValue, 8);

typedef struct MusicDeviceNoteParams {
    UInt32 argCount; // 2 and one for each control
    Float32 mPitch;
    Float32 mVelocity;
    NoteParamsControlValue mControls[1];
} MusicDeviceNoteParams;
VELNOR_ASSERT_OFFSET(MusicDeviceNoteParams, argCount, 0);
VELNOR_ASSERT_OFFSET(MusicDeviceNoteParams, mPitch, 4);
VELNOR_ASSERT_OFFSET(MusicDeviceNoteParams, mVelocity, 8);
VELNOR_ASSERT_OFFSET(MusicDeviceNoteParams, mControls, 12);
VELNOR_ASSERT_SIZE(MusicDeviceNoteParams, 20);

// What the fast-dispatch property hands out: direct entries that skip the parameter block. storage
// is GetComponentInstanceStorage of the instance. Thread, concurrency and real-time class are those
// of the call of the same name in platform/AudioUnit.h.
typedef OSStatus (*AudioUnitGetParameterProc)(void* storage, AudioUnitParameterID id,
                                              AudioUnitScope scope, AudioUnitElement element,
                                              AudioUnitParameterValue* value);
typedef OSStatus (*AudioUnitSetParameterProc)(void* storage, AudioUnitParameterID id,
                                              AudioUnitScope scope, AudioUnitElement element,
                                              AudioUnitParameterValue value,
                                              UInt32 bufferOffsetInFrames);
typedef OSStatus (*AudioUnitRenderProc)(void* storage, AudioUnitRenderActionFlags* flags,
                                        const AudioTimeStamp* timeStamp, UInt32 outputBus,
                                        UInt32 frames, AudioBufferList* data);
typedef OSStatus (*MusicDeviceMIDIEventProc)(void* storage, UInt32 status, UInt32 data1,
                                             UInt32 data2, UInt32 offsetSampleFrame);

VELNOR_END_C

#endif
