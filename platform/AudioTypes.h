/* Sample formats, buffers, time stamps and channel layouts. */
#ifndef VELNOR_PLATFORM_AUDIOTYPES_H
#define VELNOR_PLATFORM_AUDIOTYPES_H

#include "platform/Types.h"

VELNOR_BEGIN_C

/* 40 bytes:  0 f64 mSampleRate   8 u32 mFormatID   12 u32 mFormatFlags   16 u32 mBytesPerPacket
 *           20 u32 mFramesPerPacket  24 u32 mBytesPerFrame  28 u32 mChannelsPerFrame
 *           32 u32 mBitsPerChannel   36 u32 mReserved */
typedef struct AudioStreamBasicDescription {
    Float64 mSampleRate; /* frames per second */
    UInt32 mFormatID;
    UInt32 mFormatFlags;
    UInt32 mBytesPerPacket;
    UInt32 mFramesPerPacket;
    UInt32 mBytesPerFrame;
    UInt32 mChannelsPerFrame;
    UInt32 mBitsPerChannel;
    UInt32 mReserved;
} AudioStreamBasicDescription;

enum { kAudioFormatLinearPCM = VELNOR_FOUR_CHAR_CODE('l', 'p', 'c', 'm') };
enum {
    kAudioFormatFlagIsFloat = 1,
    kAudioFormatFlagIsBigEndian = 2,
    kAudioFormatFlagIsSignedInteger = 4,
    kAudioFormatFlagIsPacked = 8,
    kAudioFormatFlagIsAlignedHigh = 16,
    kAudioFormatFlagIsNonInterleaved = 32
};

typedef struct AudioBuffer {
    UInt32 mNumberChannels; /* interleaved in this buffer */
    UInt32 mDataByteSize;
    void* mData;
} AudioBuffer;

typedef struct AudioBufferList {
    UInt32 mNumberBuffers;
    AudioBuffer mBuffers[1]; /* mNumberBuffers of them */
} AudioBufferList;

typedef struct SMPTETime {
    SInt16 mSubframes;
    SInt16 mSubframeDivisor;
    UInt32 mCounter;
    UInt32 mType;
    UInt32 mFlags;
    SInt16 mHours, mMinutes, mSeconds, mFrames;
} SMPTETime;

/* 64 bytes. mFlags says which fields hold. */
typedef struct AudioTimeStamp {
    Float64 mSampleTime; /* frames */
    UInt64 mHostTime;
    Float64 mRateScalar;
    UInt64 mWordClockTime;
    SMPTETime mSMPTETime;
    UInt32 mFlags;
    UInt32 mReserved;
} AudioTimeStamp;
enum { kAudioTimeStampSampleTimeValid = 1 };

typedef UInt32 AudioChannelLayoutTag;
typedef UInt32 AudioChannelLabel;
enum {
    kAudioChannelLayoutTag_UseChannelDescriptions = 0,
    kAudioChannelLayoutTag_Mono = 0x640001,
    kAudioChannelLayoutTag_Stereo = 0x650002,
    kAudioChannelLayoutTag_DiscreteInOrder = 0x930000 /* OR the channel count */
};
enum { kAudioChannelLabel_Mono = 42 };

/* 20 bytes. */
typedef struct AudioChannelDescription {
    AudioChannelLabel mChannelLabel;
    UInt32 mChannelFlags;
    Float32 mCoordinates[3];
} AudioChannelDescription;

/* 12 bytes and 20 for each description. */
typedef struct AudioChannelLayout {
    AudioChannelLayoutTag mChannelLayoutTag;
    UInt32 mChannelBitmap;
    UInt32 mNumberChannelDescriptions;
    AudioChannelDescription mChannelDescriptions[1];
} AudioChannelLayout;

VELNOR_END_C

#endif
