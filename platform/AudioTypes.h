// Sample formats, buffers, time stamps and channel layouts.
#ifndef VELNOR_PLATFORM_AUDIOTYPES_H
#define VELNOR_PLATFORM_AUDIOTYPES_H

#include "platform/Types.h"

VELNOR_BEGIN_C

typedef struct AudioStreamBasicDescription {
    Float64 mSampleRate; // frames per second
    UInt32 mFormatID;
    UInt32 mFormatFlags;
    UInt32 mBytesPerPacket;
    UInt32 mFramesPerPacket;
    UInt32 mBytesPerFrame;
    UInt32 mChannelsPerFrame;
    UInt32 mBitsPerChannel;
    UInt32 mReserved;
} AudioStreamBasicDescription;
VELNOR_ASSERT_OFFSET(AudioStreamBasicDescription, mSampleRate, 0);
VELNOR_ASSERT_OFFSET(AudioStreamBasicDescription, mFormatID, 8);
VELNOR_ASSERT_OFFSET(AudioStreamBasicDescription, mFormatFlags, 12);
VELNOR_ASSERT_OFFSET(AudioStreamBasicDescription, mBytesPerPacket, 16);
VELNOR_ASSERT_OFFSET(AudioStreamBasicDescription, mFramesPerPacket, 20);
VELNOR_ASSERT_OFFSET(AudioStreamBasicDescription, mBytesPerFrame, 24);
VELNOR_ASSERT_OFFSET(AudioStreamBasicDescription, mChannelsPerFrame, 28);
VELNOR_ASSERT_OFFSET(AudioStreamBasicDescription, mBitsPerChannel, 32);
VELNOR_ASSERT_OFFSET(AudioStreamBasicDescription, mReserved, 36);
VELNOR_ASSERT_SIZE(AudioStreamBasicDescription, 40);

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
    UInt32 mNumberChannels; // interleaved in this buffer
    UInt32 mDataByteSize;
    void* mData;
} AudioBuffer;
VELNOR_ASSERT_OFFSET(AudioBuffer, mNumberChannels, 0);
VELNOR_ASSERT_OFFSET(AudioBuffer, mDataByteSize, 4);
VELNOR_ASSERT_OFFSET(AudioBuffer, mData, 8);
VELNOR_ASSERT_SIZE(AudioBuffer, VELNOR_BY_WIDTH(12, 16));

typedef struct AudioBufferList {
    UInt32 mNumberBuffers;
    AudioBuffer mBuffers[1]; // mNumberBuffers of them
} AudioBufferList;
VELNOR_ASSERT_OFFSET(AudioBufferList, mNumberBuffers, 0);
VELNOR_ASSERT_OFFSET(AudioBufferList, mBuffers, VELNOR_BY_WIDTH(4, 8));
VELNOR_ASSERT_SIZE(AudioBufferList, VELNOR_BY_WIDTH(16, 24));

typedef struct SMPTETime {
    SInt16 mSubframes;
    SInt16 mSubframeDivisor;
    UInt32 mCounter;
    UInt32 mType;
    UInt32 mFlags;
    SInt16 mHours, mMinutes, mSeconds, mFrames;
} SMPTETime;
VELNOR_ASSERT_OFFSET(SMPTETime, mSubframes, 0);
VELNOR_ASSERT_OFFSET(SMPTETime, mSubframeDivisor, 2);
VELNOR_ASSERT_OFFSET(SMPTETime, mCounter, 4);
VELNOR_ASSERT_OFFSET(SMPTETime, mType, 8);
VELNOR_ASSERT_OFFSET(SMPTETime, mFlags, 12);
VELNOR_ASSERT_OFFSET(SMPTETime, mHours, 16);
VELNOR_ASSERT_OFFSET(SMPTETime, mMinutes, 18);
VELNOR_ASSERT_OFFSET(SMPTETime, mSeconds, 20);
VELNOR_ASSERT_OFFSET(SMPTETime, mFrames, 22);
VELNOR_ASSERT_SIZE(SMPTETime, 24);

// mFlags says which fields hold.
typedef struct AudioTimeStamp {
    Float64 mSampleTime; // frames
    UInt64 mHostTime;
    Float64 mRateScalar;
    UInt64 mWordClockTime;
    SMPTETime mSMPTETime;
    UInt32 mFlags;
    UInt32 mReserved;
} AudioTimeStamp;
VELNOR_ASSERT_OFFSET(AudioTimeStamp, mSampleTime, 0);
VELNOR_ASSERT_OFFSET(AudioTimeStamp, mHostTime, 8);
VELNOR_ASSERT_OFFSET(AudioTimeStamp, mRateScalar, 16);
VELNOR_ASSERT_OFFSET(AudioTimeStamp, mWordClockTime, 24);
VELNOR_ASSERT_OFFSET(AudioTimeStamp, mSMPTETime, 32);
VELNOR_ASSERT_OFFSET(AudioTimeStamp, mFlags, 56);
VELNOR_ASSERT_OFFSET(AudioTimeStamp, mReserved, 60);
VELNOR_ASSERT_SIZE(AudioTimeStamp, 64);
enum { kAudioTimeStampSampleTimeValid = 1 };

typedef UInt32 AudioChannelLayoutTag;
typedef UInt32 AudioChannelLabel;
enum {
    kAudioChannelLayoutTag_UseChannelDescriptions = 0,
    kAudioChannelLayoutTag_Mono = 0x640001,
    kAudioChannelLayoutTag_Stereo = 0x650002,
    kAudioChannelLayoutTag_DiscreteInOrder = 0x930000 // OR the channel count
};
enum { kAudioChannelLabel_Mono = 42 };

typedef struct AudioChannelDescription {
    AudioChannelLabel mChannelLabel;
    UInt32 mChannelFlags;
    Float32 mCoordinates[3];
} AudioChannelDescription;
VELNOR_ASSERT_OFFSET(AudioChannelDescription, mChannelLabel, 0);
VELNOR_ASSERT_OFFSET(AudioChannelDescription, mChannelFlags, 4);
VELNOR_ASSERT_OFFSET(AudioChannelDescription, mCoordinates, 8);
VELNOR_ASSERT_SIZE(AudioChannelDescription, 20);

typedef struct AudioChannelLayout {
    AudioChannelLayoutTag mChannelLayoutTag;
    UInt32 mChannelBitmap;
    UInt32 mNumberChannelDescriptions;
    AudioChannelDescription mChannelDescriptions[1]; // mNumberChannelDescriptions of them
} AudioChannelLayout;
VELNOR_ASSERT_OFFSET(AudioChannelLayout, mChannelLayoutTag, 0);
VELNOR_ASSERT_OFFSET(AudioChannelLayout, mChannelBitmap, 4);
VELNOR_ASSERT_OFFSET(AudioChannelLayout, mNumberChannelDescriptions, 8);
VELNOR_ASSERT_OFFSET(AudioChannelLayout, mChannelDescriptions, 12);
VELNOR_ASSERT_SIZE(AudioChannelLayout, 32);

VELNOR_END_C

#endif
