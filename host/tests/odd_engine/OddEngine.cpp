// An engine that renders in the way that VELNOR_ODD_ENGINE names: "crash", "abort", "throw", "nan",
// "infinite", "denormal", "slow" (a tenth of a second a block), "stall" (a second for the first
// block), "loud", "spoilt" (half of full scale but for one sample a block). "play" is the level of
// the last note on, velocity / 128, until a note off, each channel half as loud as the one before
// it; after a key from 100 it fades by half ten times a second, after a key from 120 on the third
// channel and those behind it alone. Otherwise it is silent. It knows no vendor property.
#include "bridge/OrmoEngine.h"

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

std::uint32_t sChannels = 0;
std::uint32_t sRate = 0;
bool sStalled = false;
float sLevel = 0.0F;
bool sFades = false;
std::uint32_t sFirst = 0; // channel that fades
std::uint32_t sFaded = 0; // frames since the note off

float badSample(const std::string& way, std::uint32_t frame) {
    if (way == "nan" || (way == "spoilt" && frame == 0)) {
        return std::numeric_limits<float>::quiet_NaN();
    }
    if (way == "infinite") {
        return -std::numeric_limits<float>::infinity();
    }
    if (way == "denormal") {
        return std::numeric_limits<float>::denorm_min();
    }
    return way == "loud" ? 2.0F : way == "spoilt" ? 0.5F : 0.0F;
}

void obey(const MIDIEvent& event) {
    const bool isNoteOn = (event.data[0] & 0xF0) == 0x90 && event.data[2] != 0;
    const bool isNote = (event.data[0] & 0xE0) == 0x80;
    if (isNoteOn) {
        sLevel = static_cast<float>(event.data[2]) / 128.0F;
        sFades = false;
    } else if (isNote && event.data[1] >= 100) {
        sFades = true;
        sFaded = 0;
        sFirst = event.data[1] >= 120 ? 2 : 0;
    } else if (isNote) {
        sLevel = 0.0F;
    }
}

void play(const MIDIEventBlock& block, float* const* channels, std::uint32_t frames) {
    std::uint32_t next = 0;
    for (std::uint32_t i = 0; i < frames; ++i) {
        while (next < block.count && block.events[next].offset <= static_cast<std::int32_t>(i)) {
            obey(block.events[next++]);
        }
        if (sFades && ++sFaded % (sRate / 10) == 0) {
            sLevel /= 2.0F;
        }
        for (std::uint32_t channel = 0; channel < sChannels; ++channel) {
            const bool isHeard = !sFades || channel >= sFirst;
            channels[channel][i] = isHeard ? std::ldexp(sLevel, -static_cast<int>(channel)) : 0.0F;
        }
    }
}

void render(const MIDIEventBlock& block, float* const* channels, std::uint32_t frames) {
    const char* named = std::getenv("VELNOR_ODD_ENGINE");
    const std::string way = named != nullptr ? named : "";
    if (way == "crash") {
        std::raise(SIGSEGV);
    }
    if (way == "abort") {
        std::abort();
    }
    if (way == "throw") {
        throw std::string("no engine should");
    }
    if (way == "stall" && !std::exchange(sStalled, true)) {
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
    if (way == "slow") {
        usleep(100000);
    }
    if (way == "play") {
        return play(block, channels, frames);
    }
    for (std::uint32_t channel = 0; channel < sChannels; ++channel) {
        for (std::uint32_t i = 0; i < frames; ++i) {
            channels[channel][i] = badSample(way, i);
        }
    }
}

} // namespace

extern "C" __attribute__((visibility("default"))) std::int32_t
ormoOpcode(OrmoWord, OrmoWord opcode, OrmoWord ptr1, OrmoWord ptr2, OrmoWord, OrmoWord val1,
           OrmoWord, OrmoWord, OrmoWord) {
    switch (opcode) {
    case kOpGetVersion:
        std::strcpy(reinterpret_cast<char*>(ptr1), "odd");
        return 0;
    case kOpOpenInstance:
        sChannels = reinterpret_cast<const EngineOpenBlock*>(ptr1)->channelCount;
        *reinterpret_cast<OrmoEngineHandle*>(ptr2) = 1;
        return 0;
    case kOpSetRateAndBlockSize:
        sRate = static_cast<std::uint32_t>(val1);
        return 0;
    case kOpProcess:
        render(*reinterpret_cast<const MIDIEventBlock*>(ptr1),
               reinterpret_cast<float* const*>(ptr2), static_cast<std::uint32_t>(val1));
        return 0;
    case kOpVendorProperty:
        return 1;
    default:
        return 0;
    }
}
