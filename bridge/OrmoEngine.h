#ifndef VELNOR_BRIDGE_ORMOENGINE_H
#define VELNOR_BRIDGE_ORMOENGINE_H

// The engine contract: everything that an engine maker needs to write a sound engine for the
// plug-in. Plain C99, for C and C++, and complete in itself.
//
// An engine is a bundle: an executable for each width that it is made for, 64 bits and 32, and a
// property list that needs to say no more than this.
//
//     Name.engine/Contents/x86_64-linux/Name
//     Name.engine/Contents/i386-linux/Name
//     Name.engine/Contents/Info.plist
//         <plist version="1.0"><dict>
//         <key>CFBundleExecutable</key><string>Name</string>
//         </dict></plist>
//
// An executable is a shared object; with this header in FOLDER:
//
//     cc                          -O2 -fPIC -shared -fvisibility=hidden -IFOLDER Name.c -o ...
//     cc -m32 -msse2 -mfpmath=sse -O2 -fPIC -shared -fvisibility=hidden -IFOLDER Name.c -o ...
//
// All its symbols are resolved when it is loaded, and it stays in the process for good. It exports
// one function with C linkage and the platform's standard calling convention:
//
//     __attribute__((visibility("default")))
//     int32_t ormoOpcode(OrmoWord target, OrmoWord opcode,
//                        OrmoWord ptr1, OrmoWord ptr2, OrmoWord ptr3,
//                        OrmoWord val1, OrmoWord val2, OrmoWord val3, OrmoWord val4);
//
// All records are little-endian. All texts are NUL-terminated. Addresses that the plug-in passes
// are good for the one call only, but for EngineOpenBlock and its text.
//
// Order, for one instrument:
//
//     it is opened                   kOpGetVersion
//     initialised                    kOpOpenInstance, at each time until there is a handle; then
//                                    kOpSetRateAndBlockSize, kOpResume
//     renders                        kOpProcess, once a block
//     reset; offline on or off       kOpSuspend, kOpResume
//     rate changed                   kOpSuspend, kOpSetRateAndBlockSize, kOpResume
//     no longer initialised          kOpSuspend
//     closed                         kOpCloseInstance
//
// What is between the opening and the closing comes in any order that the host likes: one of
// kOpSuspend and kOpResume may come twice in a row, and the host may never initialise. Chunks and
// properties come at any time while there is a handle.
//
// Results: 0 is success. Only those of kOpGetChunk, kOpEditorOpen and kOpVendorProperty are looked
// at; where no result is named, return 0. To an opcode or handle that it does not know an engine
// answers a number other than 0, and does nothing. The plug-in never sends 0 to 7, 14, 16, 17, 20,
// 27, 29 and what is above 30. No exception may leave the entry point.
//
// Threads: kOpProcess comes on the host's render thread, the others one after the other on the
// thread on which the host does set-up, properties and state, as a rule its main thread. The
// plug-in takes no lock around any call. So kOpProcess of an instance overlaps no other kOpProcess
// of it, and neither its kOpOpenInstance nor its kOpCloseInstance, but may overlap every other
// operation: kOpSetRateAndBlockSize, kOpSuspend, kOpResume, chunks, properties, editors. Different
// instances may render at the same time.
//
// A small engine needs no lock for that: let kOpProcess alone touch what sounds, and the other
// operations leave it single atomic words (rate, a parameter, a count of suspends and resumes),
// which it looks at when it begins. What is larger is guarded by one atomic flag: kOpProcess only
// tries to take it and writes silence when it cannot, the others wait for it. That block's events
// are lost then, so guard only what ends all sound anyway, as suspend, resume and a change of rate.

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define ORMO_ASSERT(condition, name) static_assert(condition, #name)
#define ORMO_MUTABLE mutable
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define ORMO_ASSERT(condition, name) _Static_assert(condition, #name)
#define ORMO_MUTABLE
#else
#define ORMO_ASSERT(condition, name) typedef char name[(condition) ? 1 : -1]
#define ORMO_MUTABLE
#endif

#ifdef __cplusplus
extern "C" {
#endif

// One argument slot: as wide as a pointer, so 32 bits in a 32-bit process and 64 bits in a 64-bit
// one. Addresses are passed whole. 32-bit operands (handles, opcode numbers, property ids, counts)
// are passed in the low 32 bits: unsigned ones zero-extended, signed ones sign-extended. An engine
// reads a handle as `(uint32_t)target` and an address as `(void*)ptr1`.
typedef intptr_t OrmoWord;

// The engine's entry point. Slots that an opcode does not use are 0; val3 and val4 always are.
typedef int32_t (*OrmoOpcodeProc)(OrmoWord target, OrmoWord opcode, OrmoWord ptr1, OrmoWord ptr2,
                                  OrmoWord ptr3, OrmoWord val1, OrmoWord val2, OrmoWord val3,
                                  OrmoWord val4);

// The name under which an engine's executable exports its entry point.
#define ORMO_ENTRY_NAME "ormoOpcode"

// The setup file's place in the data directory. It may be missing: the plug-in makes its path for
// kOpEditorCreate and never reads it.
#define ORMO_SETUP_FILE "/OrmoSetup.xml"

// What an installer writes, so that instruments find the engine: the path of the engine's bundle as
// a text in the preferences domain ORMO_ENGINE_DOMAIN, and the product's data directory as one in
// the product's own domain, "com." vendor "." product.
#define ORMO_ENGINE_DOMAIN "com.velnor.ormo"
#define ORMO_ENGINE_PATH_KEY "path"
#define ORMO_DATA_DIR_KEY "base_dir"

// Opaque handles, chosen by the engine; 0 means none. An engine handle stands for one instrument
// instance, an editor handle for one editor view. 32 bits at both widths: too few for a pointer in
// a 64-bit process, so use an index into a table. The two kinds are numbered apart from each other.
typedef uint32_t OrmoEngineHandle;
typedef uint32_t OrmoEditorHandle;

// The operations. "engine" and "editor" in target position are the handles; `main` is the thread
// on which the host does set-up, properties and state, `render` its audio thread.
enum OrmoOpcode {
    // target 0; ptr1: 32-byte version text buffer, zeroed (out). main. Once for each instrument,
    // before its other operations. The text goes into the log, and decides compatSlots.
    kOpGetVersion = 8,
    // target 0; ptr1: EngineOpenBlock (in); ptr2: engine handle slot, u32, holding 0 (out): left 0
    // when the engine cannot open, and then asked again at the next initialisation, the instrument
    // being silent; the reason goes to standard error, as the log is not the engine's. main.
    kOpOpenInstance = 9,
    // target engine. The last call for this handle, but for those of editors that are still open.
    // main.
    kOpCloseInstance = 10,
    // target engine; val1: sample rate in Hz, fraction cut off, i32; val2: most frames that one
    // kOpProcess will ask for. main. Nobody checks the rate: an engine is silent at one that it
    // cannot play, as 0 or less. The instance is new or suspended, unless the host reset it, set
    // offline rendering or changed the rate while it was not initialised.
    kOpSetRateAndBlockSize = 11,
    // target engine: rendering stops, all sound ends. main.
    kOpSuspend = 12,
    // target engine; val1: 1 when the host renders offline, else 0: rendering (re)starts, from
    // silence. main.
    kOpResume = 13,
    // target engine; ptr1: MIDIEventBlock (in); ptr2: channel pointer array (in); ptr3:
    // OrmoSyncInfo (in); val1: frames, 0 to the most that was told. render: must not block. While
    // it runs, denormal numbers count as 0.
    //
    // The array holds a `float*` for each of the open block's channelCount channels, each with room
    // for val1 samples, all of which the engine writes, silence too: what they hold before is not
    // defined. Full scale is -1 to 1; nothing is clipped on the way to the host. Bus 0's channels
    // come first, then bus 1's and so on, each in the bus's own order: of a stereo bus left, right.
    // Where one bus ends and the next one begins the engine is not told; most are stereo. Channels
    // that the host has no place for (the one that makes an odd number even, and those of buses
    // that it took away later) share one spare buffer, so that several entries may be equal.
    kOpProcess = 15,
    // target engine; ptr1: slot for the chunk's address (out, pointer width); ptr2: slot for its
    // size in bytes, i32 (out); both hold 0. Result 0: delivered; another, or a size below 1: the
    // state is saved without a chunk. The engine owns the memory and leaves it as it is until the
    // next call on main. main.
    kOpGetChunk = 18,
    // target engine; ptr1: chunk bytes (in); val1: size in bytes, 0 or more. main. Bytes of an
    // earlier kOpGetChunk, of whatever version of the engine, or damaged: check them.
    kOpSetChunk = 19,
    // target engine; ptr1: editor handle. After kOpEditorOpen succeeded. main.
    kOpAttachEditor = 21,
    // target engine; ptr1: editor handle. Before kOpEditorDestroy, of an editor that was never
    // attached, too. main.
    kOpDetachEditor = 22,
    // target 0; ptr1: setup-file path text; ptr2: editor handle slot, u32, holding 0 (out);
    // ptr3: engine handle. main. Left 0: nothing more is sent, and the view asks the user to
    // reinstall the product. An engine without an editor gives any other handle, opens, and has no
    // control: the view stays empty.
    kOpEditorCreate = 23,
    // target editor. The last call for this handle. main. A view may outlive its instrument: the
    // calls for an editor may come after kOpCloseInstance, with the closed handle.
    kOpEditorDestroy = 24,
    // target editor; ptr1: the host's window (WindowRef); val1: 1. main. Result 0: opened; another:
    // the host is told that there is no view, and the editor is detached and destroyed in the end.
    kOpEditorOpen = 25,
    // target editor. Fifteen times a second from the main event loop, at first a second after
    // kOpEditorGetView.
    kOpEditorIdle = 26,
    // target editor; ptr1: slot for the editor's root control (ControlRef, out, pointer width),
    // holding 0; left 0 when there is none. main. Windows and controls are the platform library's,
    // platform/Controls.h; only an engine with an editor needs it.
    kOpEditorGetView = 28,
    // target engine; ptr1: 4-byte property value at any address, in for a set, out for a get (which
    // of the two is the engine's convention per id); val1: property id, at least
    // kVendorPropertyFirst. main. Result 0: success; another, as for an id that it does not know,
    // goes into the log, and the host is told that the value is invalid.
    kOpVendorProperty = 30
};

enum OrmoLimits {
    kOrmoVersionTextSize = 32,  // bytes behind kOpGetVersion's ptr1
    kOrmoDataDirSize = 512,     // bytes of the buffer behind EngineOpenBlock.dataDir
    kOrmoSetupPathSize = 1024,  // bytes of the setup-file path text's buffer
    kOrmoMaxBlockEvents = 1024, // slots in a MIDIEventBlock
    kOrmoMaxChannels = 32       // entries in the channel pointer array
};

// Properties of the instrument, global scope, element 0, through which its view (or any other
// component in the process) reaches the engine. All three are read-only.
enum OrmoProperty {
    kPropertyEngineOpcode = 64000, // OrmoOpcodeProc, pointer width; null without an engine
    kPropertySetupPath = 64001,    // 1,024 bytes: text, data directory + ORMO_SETUP_FILE
    kPropertyEngineHandle = 64002, // u32; 0 before the engine instance is open
    kVendorPropertyFirst = 0x10000 // this and every id above it are the engine's own, 4 bytes
};

// Ids of vendor properties that mean the same to every engine which has them; an engine that has
// not refuses them, as any other id that it does not know.
enum OrmoSharedProperty {
    // Set only, i32: 0 the usual quality, 1 the best that the engine can render, whatever time it
    // takes. Part of no chunk: a host that wants it sets it after each initialisation.
    kVendorPropertyQuality = 0x71756C74
};

// EngineOpenBlock: kOpOpenInstance, ptr1. The block and the text stay where they are, unchanged,
// until the engine instance is closed.
//
//   offset        size
//   32-bit 64-bit
//        0      0    4   reserved       always 0
//        4      4    4   channelCount   channels of every kOpProcess, as long as the handle
//                                       lives: those of all output buses, plus 1 when they are odd;
//                                       0 to 32, as a rule 2
//        8      8    4   compatSlots    1: status bytes come without channel numbers; else 0
//        -     12    4   (gap, 0)
//       12     16  4/8   dataDir        address of the data directory's path, UTF-8
//       16     24        end
//
// compatSlots is 1 for an engine that answers kOpGetVersion with exactly "1025", and changes
// nothing else. It serves an old engine; a new one answers another text and finds 0.
//
// dataDir is what the user's preferences say, unchecked: a new engine may use it or not.
typedef struct EngineOpenBlock {
    uint32_t reserved;
    uint32_t channelCount;
    uint32_t compatSlots;
    const char* dataDir;
} EngineOpenBlock;

ORMO_ASSERT(offsetof(EngineOpenBlock, reserved) == 0, OrmoOpenBlockReserved);
ORMO_ASSERT(offsetof(EngineOpenBlock, channelCount) == 4, OrmoOpenBlockChannelCount);
ORMO_ASSERT(offsetof(EngineOpenBlock, compatSlots) == 8, OrmoOpenBlockCompatSlots);
ORMO_ASSERT(offsetof(EngineOpenBlock, dataDir) == (sizeof(void*) == 4 ? 12 : 16),
            OrmoOpenBlockDataDir);
ORMO_ASSERT(sizeof(EngineOpenBlock) == (sizeof(void*) == 4 ? 16 : 24), OrmoOpenBlockSize);

// MIDIEvent: one MIDI message, 32 bytes.
//
//    0  u8   data[0]      status byte; without the channel when compatSlots is 1
//    1  u8   data[1]      first data byte
//    2  u8   data[2]      second data byte
//    3  u8   data[3]      0
//    4  i32  offset       frame in this block at which the message takes effect
//    8  u32  reserved0    0
//   12  u32  reserved1    0
//   16  u32  reserved2    0
//   20  u8   unused[12]   never written by the plug-in
//
// All bytes and the offset are passed on as the host gave them. A message comes once, in the block
// that follows it, whatever its offset: a negative one takes effect at frame 0, one at or beyond
// the block's end after its last frame, so that it is heard from the next block on. There is no
// running status and no system exclusive; a note on of velocity 0 is a note off; a status byte
// below 128 and data bytes above 127 are a host's mistake, to be passed over.
typedef struct MIDIEvent {
    uint8_t data[4];
    int32_t offset;
    uint32_t reserved0;
    uint32_t reserved1;
    uint32_t reserved2;
    uint8_t unused[12];
} MIDIEvent;

ORMO_ASSERT(offsetof(MIDIEvent, data) == 0, OrmoEventData);
ORMO_ASSERT(offsetof(MIDIEvent, offset) == 4, OrmoEventOffset);
ORMO_ASSERT(offsetof(MIDIEvent, reserved0) == 8, OrmoEventReserved0);
ORMO_ASSERT(offsetof(MIDIEvent, reserved1) == 12, OrmoEventReserved1);
ORMO_ASSERT(offsetof(MIDIEvent, reserved2) == 16, OrmoEventReserved2);
ORMO_ASSERT(offsetof(MIDIEvent, unused) == 20, OrmoEventUnused);
ORMO_ASSERT(sizeof(MIDIEvent) == 32, OrmoEventSize);

// MIDIEventBlock: kOpProcess, ptr1. 32,772 bytes.
//
//    0  u32              count    events in this block, 0 to 1,024
//    4  MIDIEvent[1024]  events   the first count slots are meaningful, ascending by offset; equal
//                                 offsets in the order in which they were received
typedef struct MIDIEventBlock {
    uint32_t count;
    MIDIEvent events[kOrmoMaxBlockEvents];
} MIDIEventBlock;

ORMO_ASSERT(offsetof(MIDIEventBlock, count) == 0, OrmoBlockCount);
ORMO_ASSERT(offsetof(MIDIEventBlock, events) == 4, OrmoBlockEvents);
ORMO_ASSERT(sizeof(MIDIEventBlock) == 32772, OrmoBlockSize);

// OrmoSyncInfo: kOpProcess, ptr3. The host's transport at the start of the block, 128 bytes. A
// beat is a quarter note. When the host's values contradict each other, playing is 0 and
// samplesToBar, blockBeats, crossesBar and crossesLoopEnd are those of the last good block.
//
//    0  f64     samplePos           position in the host's timeline, samples
//    8  f64     sampleRate          Hz
//   16  f64     reserved0           0
//   24  f64     ppq                 position at the start of the block, beats
//   32  f64     bpm                 tempo, beats per minute
//   40  f64     barStart            start of the current bar, beats
//   48  f64     loopStart           beats
//   56  f64     loopEnd             beats
//   64  i32     timeSigNumerator
//   68  i32     timeSigDenominator
//   72  u32[3]  reserved1           0
//   84  u8      playing             1 while the transport runs
//   85  u8      reserved2           0
//   86  u8      looping             1 while the host cycles
//   87  u8      transportChanged    1 when the host reports a change of the transport's state
//   88  u8      crossesBar          1: the block starts on a bar line or runs past the bar's end
//   89  u8      crossesLoopEnd      1: looping, and the block starts at the loop's start or runs
//                                   past its end
//   90  i16     sampleLength        low 16 bits of the frame count, signed
//   92  i32     samplesToBar        from the block's start to the next bar line
//   96  f64     beatsPerBar         numerator x 4 / denominator
//  104  f64     blockBeats          length of the block, beats
//  112  f64     lastLoggedPpq       not for the engine
//  120  f64     reserved3           0
typedef struct OrmoSyncInfo {
    double samplePos;
    double sampleRate;
    double reserved0;
    double ppq;
    double bpm;
    double barStart;
    double loopStart;
    double loopEnd;
    int32_t timeSigNumerator;
    int32_t timeSigDenominator;
    uint32_t reserved1[3];
    uint8_t playing;
    uint8_t reserved2;
    uint8_t looping;
    uint8_t transportChanged;
    uint8_t crossesBar;
    uint8_t crossesLoopEnd;
    int16_t sampleLength;
    int32_t samplesToBar;
    double beatsPerBar;
    double blockBeats;
    ORMO_MUTABLE double lastLoggedPpq;
    double reserved3;
} OrmoSyncInfo;

ORMO_ASSERT(offsetof(OrmoSyncInfo, samplePos) == 0, OrmoSyncSamplePos);
ORMO_ASSERT(offsetof(OrmoSyncInfo, sampleRate) == 8, OrmoSyncSampleRate);
ORMO_ASSERT(offsetof(OrmoSyncInfo, reserved0) == 16, OrmoSyncReserved0);
ORMO_ASSERT(offsetof(OrmoSyncInfo, ppq) == 24, OrmoSyncPpq);
ORMO_ASSERT(offsetof(OrmoSyncInfo, bpm) == 32, OrmoSyncBpm);
ORMO_ASSERT(offsetof(OrmoSyncInfo, barStart) == 40, OrmoSyncBarStart);
ORMO_ASSERT(offsetof(OrmoSyncInfo, loopStart) == 48, OrmoSyncLoopStart);
ORMO_ASSERT(offsetof(OrmoSyncInfo, loopEnd) == 56, OrmoSyncLoopEnd);
ORMO_ASSERT(offsetof(OrmoSyncInfo, timeSigNumerator) == 64, OrmoSyncNumerator);
ORMO_ASSERT(offsetof(OrmoSyncInfo, timeSigDenominator) == 68, OrmoSyncDenominator);
ORMO_ASSERT(offsetof(OrmoSyncInfo, reserved1) == 72, OrmoSyncReserved1);
ORMO_ASSERT(offsetof(OrmoSyncInfo, playing) == 84, OrmoSyncPlaying);
ORMO_ASSERT(offsetof(OrmoSyncInfo, reserved2) == 85, OrmoSyncReserved2);
ORMO_ASSERT(offsetof(OrmoSyncInfo, looping) == 86, OrmoSyncLooping);
ORMO_ASSERT(offsetof(OrmoSyncInfo, transportChanged) == 87, OrmoSyncTransportChanged);
ORMO_ASSERT(offsetof(OrmoSyncInfo, crossesBar) == 88, OrmoSyncCrossesBar);
ORMO_ASSERT(offsetof(OrmoSyncInfo, crossesLoopEnd) == 89, OrmoSyncCrossesLoopEnd);
ORMO_ASSERT(offsetof(OrmoSyncInfo, sampleLength) == 90, OrmoSyncSampleLength);
ORMO_ASSERT(offsetof(OrmoSyncInfo, samplesToBar) == 92, OrmoSyncSamplesToBar);
ORMO_ASSERT(offsetof(OrmoSyncInfo, beatsPerBar) == 96, OrmoSyncBeatsPerBar);
ORMO_ASSERT(offsetof(OrmoSyncInfo, blockBeats) == 104, OrmoSyncBlockBeats);
ORMO_ASSERT(offsetof(OrmoSyncInfo, lastLoggedPpq) == 112, OrmoSyncLastLoggedPpq);
ORMO_ASSERT(offsetof(OrmoSyncInfo, reserved3) == 120, OrmoSyncReserved3);
ORMO_ASSERT(sizeof(OrmoSyncInfo) == 128, OrmoSyncSize);

#ifdef __cplusplus
} // extern "C"
#endif

#endif
