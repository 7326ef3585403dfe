#include "engines/soundfont/StateTransfer.h"

namespace velnor::soundfont {

namespace {

// A channel that mono mode took out of use answers no question, and does not change either.
bool isInUse(fluid_synth_t* synth, int channel) {
    int head = FLUID_FAILED;
    return fluid_synth_get_basic_channel(synth, channel, &head, nullptr, nullptr) == FLUID_OK &&
           head != FLUID_FAILED;
}

void captureMode(fluid_synth_t* synth, int channel, ChannelState& state) {
    int head = FLUID_FAILED;
    int mode = 0;
    int count = 0;
    fluid_synth_get_basic_channel(synth, channel, &head, &mode, &count);
    const bool isHead = head == channel;
    state.mode = isHead ? static_cast<uint8_t>(mode) : kModeNone;
    state.modeCount = isHead ? static_cast<uint8_t>(count) : uint8_t{0};
}

void capturePreset(fluid_synth_t* synth, int channel, ChannelState& state) {
    fluid_preset_t* preset = fluid_synth_get_channel_preset(synth, channel);
    state.bank = preset ? static_cast<int16_t>(fluid_preset_get_banknum(preset)) : int16_t{0};
    state.program = preset ? static_cast<int16_t>(fluid_preset_get_num(preset)) : kNoProgram;
}

void captureControllers(fluid_synth_t* synth, int channel, ChannelState& state) {
    for (int number = 0; number < kPlainControllers; ++number) {
        int value = 0;
        if (fluid_synth_get_cc(synth, channel, number, &value) == FLUID_OK) {
            state.controllers[static_cast<size_t>(number)] = static_cast<uint8_t>(value);
        }
    }
}

void captureBend(fluid_synth_t* synth, int channel, ChannelState& state) {
    int bend = 0;
    int range = 0;
    fluid_synth_get_pitch_bend(synth, channel, &bend);
    fluid_synth_get_pitch_wheel_sens(synth, channel, &range);
    state.bend = static_cast<uint16_t>(bend);
    state.bendRange = static_cast<uint8_t>(range);
}

void captureAll(fluid_synth_t* synth, int channel, ChannelState& state) {
    captureMode(synth, channel, state);
    if (!isInUse(synth, channel)) {
        return;
    }
    capturePreset(synth, channel, state);
    captureControllers(synth, channel, state);
    captureBend(synth, channel, state);
    for (int generator = 0; generator < kGenerators; ++generator) {
        state.generators[static_cast<size_t>(generator)] =
            fluid_synth_get_gen(synth, channel, generator) + 0.0F; // -0 becomes 0
    }
}

} // namespace

void captureChannel(const Synth& synth, int channel, EngineState& state) VELNOR_NONBLOCKING {
    VELNOR_FLUID(captureAll(synth.get(), channel, state.channels[static_cast<size_t>(channel)]));
}

void captureChannels(const Synth& synth, EngineState& state) VELNOR_NONBLOCKING {
    for (int channel = 0; channel < kMidiChannels; ++channel) {
        captureChannel(synth, channel, state);
    }
}

} // namespace velnor::soundfont
