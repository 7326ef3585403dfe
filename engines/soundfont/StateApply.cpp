#include "engines/soundfont/ParameterNumber.h"
#include "engines/soundfont/StateTransfer.h"

namespace velnor::soundfont {

namespace {

constexpr int kEveryGroup = -1;

// One channel being put into a state, in an order in which no step disturbs one before it.
struct ChannelApply {
    fluid_synth_t* synth;
    int fontId;
    int channel;
    const ChannelState& wanted;

    void send(uint8_t number, int value) const { fluid_synth_cc(synth, channel, number, value); }
    uint8_t controller(uint8_t number) const { return wanted.controllers[number]; }

    void applyPreset() const;
    void applyBendRange() const;
    void applyNrpnSelect() const;
    void applyControllers() const;
    void applyParameterNumbers() const;
    void applyGenerators() const;
    void applyPressures() const;
    void applyAll() const;
};

void ChannelApply::applyPreset() const {
    if (wanted.program == kNoProgram) {
        fluid_synth_unset_program(synth, channel);
        return;
    }
    fluid_preset_t* present = fluid_synth_get_channel_preset(synth, channel);
    if (present != nullptr && fluid_preset_get_banknum(present) == wanted.bank &&
        fluid_preset_get_num(present) == wanted.program) {
        return;
    }
    if (fluid_synth_program_select(synth, channel, fontId, wanted.bank, wanted.program) !=
        FLUID_OK) {
        fluid_synth_bank_select(synth, channel, wanted.bank);
        fluid_synth_program_change(synth, channel, wanted.program);
    }
}

// By message, which takes the whole range; the call for it does not.
void ChannelApply::applyBendRange() const {
    int present = 0;
    fluid_synth_get_pitch_wheel_sens(synth, channel, &present);
    if (present != wanted.bendRange) {
        send(kRpnHigh, 0);
        send(kRpnLow, 0);
        send(kDataEntry, wanted.bendRange);
    }
}

// Ends with the NRPN messages so far adding up to nrpnSelect and with the low byte as wanted. A
// data entry is what clears the sum; the generator that it sets on the way is put right later.
void ChannelApply::applyNrpnSelect() const {
    const uint8_t low = controller(kNrpnLow);
    const uint8_t select = wanted.nrpnSelect;
    const bool addsLow = low < 100;
    if (select == kNoNrpn) {
        send(kNrpnLow, 102);
    } else if (addsLow && select > low) {
        send(kNrpnLow, select - low);
    } else if (!addsLow && select > 0) {
        send(kNrpnLow, select);
    }
    send(kNrpnLow, low);
    if (select == 0 && addsLow && low > 0) {
        send(kDataEntry, controller(kDataEntry));
    }
}

void ChannelApply::applyControllers() const {
    // With no parameter chosen, data entries are only remembered.
    send(kRpnHigh, 127);
    send(kRpnLow, 127);
    for (uint8_t number = 0; number < kPlainControllers; ++number) {
        if (number >= kNrpnLow && number <= kRpnHigh) {
            continue;
        }
        int present = 0;
        fluid_synth_get_cc(synth, channel, number, &present);
        if (present != controller(number) && controller(number) != kNoPortamentoKey) {
            send(number, controller(number));
        }
    }
}

// The last one sent is the one that data entries will mean.
void ChannelApply::applyParameterNumbers() const {
    send(kRpnHigh, controller(kRpnHigh));
    send(kRpnLow, controller(kRpnLow));
    send(kNrpnHigh, controller(kNrpnHigh));
    if (controller(kNrpnHigh) == kSoundFontNrpn) {
        applyNrpnSelect();
    } else {
        send(kNrpnLow, controller(kNrpnLow));
    }
    if (!wanted.nrpnActive) {
        send(kRpnLow, controller(kRpnLow));
    }
}

void ChannelApply::applyGenerators() const {
    for (int generator = 0; generator < kGenerators; ++generator) {
        // Choosing the parameter number again may have set one of these.
        const float value =
            movesSample(generator) ? 0.0F : wanted.generators[static_cast<size_t>(generator)];
        if (fluid_synth_get_gen(synth, channel, generator) != value) {
            fluid_synth_set_gen(synth, channel, generator, value);
        }
    }
}

void ChannelApply::applyPressures() const {
    fluid_synth_channel_pressure(synth, channel, wanted.pressure);
    for (int key = 0; key < kKeys; ++key) {
        const uint8_t pressure = wanted.keyPressures[static_cast<size_t>(key)];
        if (pressure != 0) {
            fluid_synth_key_pressure(synth, channel, key, pressure);
        }
    }
}

void ChannelApply::applyAll() const {
    applyPreset();
    applyBendRange();
    applyControllers();
    applyParameterNumbers();
    applyGenerators();
    applyPressures();
    fluid_synth_pitch_bend(synth, channel, wanted.bend);
}

bool hasDefaultModes(const EngineState& wanted) {
    return wanted.channels[0].mode == FLUID_CHANNEL_MODE_OMNION_POLY &&
           wanted.channels[0].modeCount == kMidiChannels;
}

void applyModes(fluid_synth_t* synth, const EngineState& wanted) {
    if (hasDefaultModes(wanted)) {
        return;
    }
    fluid_synth_reset_basic_channel(synth, kEveryGroup);
    for (int channel = 0; channel < kMidiChannels; ++channel) {
        const ChannelState& state = wanted.channels[static_cast<size_t>(channel)];
        if (state.mode != kModeNone) {
            fluid_synth_set_basic_channel(synth, channel, state.mode, state.modeCount);
        }
    }
}

void applyReverb(fluid_synth_t* synth, const ReverbState& present, const ReverbState& wanted) {
    if (present.on != wanted.on) {
        fluid_synth_reverb_on(synth, kEveryGroup, wanted.on);
    }
    if (present.roomSize != wanted.roomSize) {
        fluid_synth_set_reverb_group_roomsize(synth, kEveryGroup, wanted.roomSize);
    }
    if (present.damping != wanted.damping) {
        fluid_synth_set_reverb_group_damp(synth, kEveryGroup, wanted.damping);
    }
    if (present.width != wanted.width) {
        fluid_synth_set_reverb_group_width(synth, kEveryGroup, wanted.width);
    }
    if (present.level != wanted.level) {
        fluid_synth_set_reverb_group_level(synth, kEveryGroup, wanted.level);
    }
}

void applyChorus(fluid_synth_t* synth, const ChorusState& present, const ChorusState& wanted) {
    if (present.on != wanted.on) {
        fluid_synth_chorus_on(synth, kEveryGroup, wanted.on);
    }
    if (present.voices != wanted.voices) {
        fluid_synth_set_chorus_group_nr(synth, kEveryGroup, wanted.voices);
    }
    if (present.level != wanted.level) {
        fluid_synth_set_chorus_group_level(synth, kEveryGroup, wanted.level);
    }
    if (present.speed != wanted.speed) {
        fluid_synth_set_chorus_group_speed(synth, kEveryGroup, wanted.speed);
    }
    if (present.depth != wanted.depth) {
        fluid_synth_set_chorus_group_depth(synth, kEveryGroup, wanted.depth);
    }
    if (present.wave != wanted.wave) {
        fluid_synth_set_chorus_group_type(synth, kEveryGroup, wanted.wave);
    }
}

} // namespace

void applyGlobals(const Synth& synth, const Globals& present,
                  const Globals& wanted) VELNOR_NONBLOCKING {
    if (present.gain != wanted.gain) {
        VELNOR_FLUID(fluid_synth_set_gain(synth.get(), wanted.gain));
    }
    if (present.polyphony != wanted.polyphony) {
        VELNOR_FLUID(fluid_synth_set_polyphony(synth.get(), wanted.polyphony));
    }
    VELNOR_FLUID(applyReverb(synth.get(), present.reverb, wanted.reverb);
                 applyChorus(synth.get(), present.chorus, wanted.chorus));
}

void applyChannels(const Synth& synth, const EngineState& wanted) VELNOR_NONBLOCKING {
    for (int channel = 0; channel < kMidiChannels; ++channel) {
        const ChannelApply apply{synth.get(), synth.fontId(), channel,
                                 wanted.channels[static_cast<size_t>(channel)]};
        VELNOR_FLUID(apply.applyAll());
    }
    VELNOR_FLUID(applyModes(synth.get(), wanted));
}

} // namespace velnor::soundfont
