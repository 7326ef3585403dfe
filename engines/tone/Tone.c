// The smallest whole engine: a sine for each key, the MIDI channels spread over the stereo pairs,
// no state and no editor. How it is built, bundled and installed: engines/soundfont/README.md.
//
// It needs no lock: kOpProcess alone touches the voices, and what the other operations have to tell
// it is single atomic words, which it looks at once a block.
#include "bridge/OrmoEngine.h"

#include <math.h>
#include <stdatomic.h>
#include <string.h>

enum { kInstances = 256, kKeys = 128 };

typedef struct Voice {
    double turn;         // 0 to 1, once a period
    float level, target; // the level glides to the target, which is 0 once the key is up
    uint32_t pair;
} Voice;

typedef struct Tone {
    uint32_t channels;      // 0: free
    atomic_uint rate, cuts; // cuts: how often all sound was ended
    uint32_t seenCuts;
    Voice voices[kKeys];
} Tone;

static Tone sTones[kInstances]; // a handle has 32 bits, which a pointer may not: it is an index + 1

static int32_t open(const EngineOpenBlock* block, OrmoEngineHandle* handle) {
    for (uint32_t i = 0; block->channelCount != 0 && i < kInstances; ++i) {
        if (sTones[i].channels == 0) {
            sTones[i].channels = block->channelCount;
            *handle = i + 1;
            return 0;
        }
    }
    return 1; // the handle stays 0
}

static void obey(Tone* tone, const uint8_t* midi) {
    Voice* voice = &tone->voices[midi[1] % kKeys];
    const int kind = midi[0] & 0xF0;
    if (kind == 0x90 && midi[2] != 0) {
        voice->target = (float)midi[2] / 127.0F / 8.0F; // full scale is 1: room for eight keys
        voice->pair = (midi[0] & 0x0FU) % (tone->channels / 2);
    } else if (kind == 0x80 || kind == 0x90) {
        voice->target = 0.0F;
    }
}

static void play(Tone* tone, float* const* channels, uint32_t from, uint32_t to) {
    for (int key = 0; key < kKeys; ++key) {
        Voice* voice = &tone->voices[key];
        const double step = 440.0 * exp2((key - 69) / 12.0) / atomic_load(&tone->rate);
        for (uint32_t i = from; i < to && voice->level + voice->target > 1e-6F; ++i) {
            voice->level += (voice->target - voice->level) * 0.005F;
            const float sample = voice->level * (float)sin(6.283185307179586 * voice->turn);
            channels[2 * voice->pair][i] += sample;
            channels[2 * voice->pair + 1][i] += sample;
            voice->turn += step - floor(voice->turn + step);
        }
    }
}

static int32_t process(Tone* tone, const MIDIEventBlock* block, float* const* channels,
                       uint32_t frames) {
    const uint32_t cuts = atomic_load(&tone->cuts);
    uint32_t at = 0;
    if (cuts != tone->seenCuts) {
        memset(tone->voices, 0, sizeof tone->voices);
        tone->seenCuts = cuts;
    }
    for (uint32_t channel = 0; channel < tone->channels; ++channel) {
        memset(channels[channel], 0, frames * sizeof(float));
    }
    for (uint32_t i = 0; i < block->count; ++i) { // play up to each event, then obey it
        const int32_t offset = block->events[i].offset;
        const uint32_t wanted = offset < 0 ? 0 : (uint32_t)offset;
        const uint32_t to = wanted < frames ? wanted : frames;
        play(tone, channels, at, to);
        obey(tone, block->events[i].data);
        at = to;
    }
    play(tone, channels, at, frames);
    return 0;
}

__attribute__((visibility("default"))) int32_t ormoOpcode(OrmoWord target, OrmoWord opcode,
                                                          OrmoWord ptr1, OrmoWord ptr2,
                                                          OrmoWord ptr3, OrmoWord val1,
                                                          OrmoWord val2, OrmoWord val3,
                                                          OrmoWord val4) {
    const uint32_t index = (uint32_t)target - 1;
    Tone* tone = index < kInstances && sTones[index].channels != 0 ? &sTones[index] : NULL;
    (void)ptr3, (void)val2, (void)val3, (void)val4;
    switch (opcode) {
    case kOpGetVersion:
        strcpy((char*)ptr1, "Tone 1");
        return 0;
    case kOpOpenInstance:
        return open((const EngineOpenBlock*)ptr1, (OrmoEngineHandle*)ptr2);
    case kOpEditorCreate: // a handle, but never a control: the view stays empty
        *(OrmoEditorHandle*)ptr2 = 1;
        return 0;
    case kOpEditorOpen:
    case kOpAttachEditor:
    case kOpEditorGetView:
    case kOpEditorIdle:
    case kOpDetachEditor:
    case kOpEditorDestroy:
        return 0;
    }
    if (tone == NULL) {
        return 1;
    }
    switch (opcode) {
    case kOpCloseInstance:
        tone->channels = 0;
        return 0;
    case kOpSetRateAndBlockSize:
        atomic_store(&tone->rate, val1 > 0 ? (unsigned)val1 : 1);
        return 0;
    case kOpSuspend:
    case kOpResume:
        atomic_fetch_add(&tone->cuts, 1);
        return 0;
    case kOpProcess:
        return process(tone, (const MIDIEventBlock*)ptr1, (float* const*)ptr2, (uint32_t)val1);
    default: // no chunk, no property, no other operation
        return 1;
    }
}
