#ifndef VELNOR_ENGINES_SOUNDFONT_SOUNDFONTPROPERTIES_H
#define VELNOR_ENGINES_SOUNDFONT_SOUNDFONTPROPERTIES_H

// The vendor properties of the SoundFont engine: plain C99, for hosts and editors.
//
// kOpVendorProperty does not say whether its four bytes are read or written, so every value has two
// ids: the even one sets it, the odd one after it gets it. A value is an IEEE float or a
// 32-bit signed integer in native byte order.
//
//   set      get      type   meaning                              range          at the start
//   0x10000  0x10001  float  gain                                 0 to 10        0.2
//   0x10002  0x10003  int    polyphony, voices                    1 to 256       256
//   0x10004  0x10005  int    reverb on                            0, 1           1
//   0x10006  0x10007  int    chorus on                            0, 1           1
//   0x10008  0x10009  float  reverb room size                     0 to 1         0.2
//   0x1000A  0x1000B  float  reverb damping                       0 to 1         0
//   0x1000C  0x1000D  float  reverb width                         0 to 100       0.5
//   0x1000E  0x1000F  float  reverb level                         0 to 1         0.9
//   0x10010  0x10011  int    chorus voices                        0 to 99        3
//   0x10012  0x10013  float  chorus level                         0 to 10        2
//   0x10014  0x10015  float  chorus speed, Hz                     0.1 to 5       0.3
//   0x10016  0x10017  float  chorus depth, ms                     0 to 256       8
//   0x10018  0x10019  int    chorus wave: 0 sine, 1 triangle      0, 1           0
//   -        0x1001B  int    voices sounding, last render call    0 and above    0
//
// The contract's kVendorPropertyQuality, with a get id as well: 0 is FluidSynth's own interpolation
// of 4th order, 1 that of 7th. All but it are saved in the chunk.
//
// A set takes effect at the start of the next render call; a get answers with what was set last.
// Results: 0 done; an id that is not in the table or a value out of range: non-zero, nothing done.
enum SoundFontProperty {
    kSoundFontGain = 0x10000,
    kSoundFontPolyphony = 0x10002,
    kSoundFontReverbOn = 0x10004,
    kSoundFontChorusOn = 0x10006,
    kSoundFontReverbRoomSize = 0x10008,
    kSoundFontReverbDamping = 0x1000A,
    kSoundFontReverbWidth = 0x1000C,
    kSoundFontReverbLevel = 0x1000E,
    kSoundFontChorusVoices = 0x10010,
    kSoundFontChorusLevel = 0x10012,
    kSoundFontChorusSpeed = 0x10014,
    kSoundFontChorusDepth = 0x10016,
    kSoundFontChorusWave = 0x10018,
    kSoundFontActiveVoices = 0x1001A,
    kSoundFontGet = 1 // added to a value's id: get it
};

#endif
