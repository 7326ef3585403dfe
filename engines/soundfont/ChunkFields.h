// The order, widths and limits of the chunk's fields, once for writing and for reading.
//
// An archive has integer(field, width, limits) and real(field, limits).
#ifndef VELNOR_ENGINES_SOUNDFONT_CHUNKFIELDS_H
#define VELNOR_ENGINES_SOUNDFONT_CHUNKFIELDS_H

#include "engines/soundfont/EngineState.h"
#include "engines/soundfont/Limits.h"

#include <cstddef>

namespace velnor::soundfont {

template <class Archive, class GlobalFields>
void visitGlobals(Archive& archive, GlobalFields& globals) {
    archive.real(globals.gain, kGainLimits);
    archive.integer(globals.polyphony, 2, kPolyphonyLimits);
    archive.integer(globals.reverb.on, 1, kSwitchLimits);
    archive.real(globals.reverb.roomSize, kRoomSizeLimits);
    archive.real(globals.reverb.damping, kDampingLimits);
    archive.real(globals.reverb.width, kReverbWidthLimits);
    archive.real(globals.reverb.level, kReverbLevelLimits);
    archive.integer(globals.chorus.on, 1, kSwitchLimits);
    archive.integer(globals.chorus.voices, 1, kChorusVoicesLimits);
    archive.real(globals.chorus.level, kChorusLevelLimits);
    archive.real(globals.chorus.speed, kChorusSpeedLimits);
    archive.real(globals.chorus.depth, kChorusDepthLimits);
    archive.integer(globals.chorus.wave, 1, kSwitchLimits);
}

template <class Archive, class Controllers>
void visitControllers(Archive& archive, Controllers& controllers) {
    constexpr Limits<int32_t> kPortamentoLimits{0, kNoPortamentoKey};
    for (size_t number = 0; number < controllers.size(); ++number) {
        archive.integer(controllers[number], 1, number == 84 ? kPortamentoLimits : kDataLimits);
    }
}

template <class Archive, class Channel>
void visitChannel(Archive& archive, Channel& channel) {
    archive.integer(channel.bank, 2, kBankLimits);
    archive.integer(channel.program, 2, kProgramLimits);
    visitControllers(archive, channel.controllers);
    archive.integer(channel.bend, 2, kBendLimits);
    archive.integer(channel.bendRange, 1, kDataLimits);
    archive.integer(channel.pressure, 1, kDataLimits);
    for (auto& pressure : channel.keyPressures) {
        archive.integer(pressure, 1, kDataLimits);
    }
    archive.integer(channel.nrpnActive, 1, kSwitchLimits);
    archive.integer(channel.nrpnSelect, 1, kNrpnLimits);
    archive.integer(channel.mode, 1, Limits<int32_t>{0, kModeNone});
    archive.integer(channel.modeCount, 1, Limits<int32_t>{0, kMidiChannels});
    for (auto& generator : channel.generators) {
        archive.real(generator, kGeneratorLimits);
    }
}

template <class Archive, class State>
void visitState(Archive& archive, State& state) {
    visitGlobals(archive, state.globals);
    for (auto& channel : state.channels) {
        visitChannel(archive, channel);
    }
}

} // namespace velnor::soundfont

#endif
