#include "engines/soundfont/ParameterNumber.h"

#include <algorithm>

namespace velnor::soundfont {

namespace {

uint8_t added(uint8_t select, uint8_t value) VELNOR_NONBLOCKING {
    if (value > 102) {
        return select;
    }
    const bool isBeyondAll = value >= 100 || select + value >= kNoNrpn;
    return isBeyondAll ? kNoNrpn : static_cast<uint8_t>(select + value);
}

void resetControllers(ChannelState& channel) VELNOR_NONBLOCKING {
    channel.pressure = 0;
    channel.keyPressures = {};
    channel.nrpnActive = false;
    channel.nrpnSelect = 0;
    for (const uint8_t number : {kNrpnLow, kNrpnHigh, kRpnLow, kRpnHigh}) {
        channel.controllers[number] = 127;
    }
}

bool choosesGenerator(const ChannelState& channel) VELNOR_NONBLOCKING {
    return channel.nrpnActive && channel.controllers[kNrpnHigh] == kSoundFontNrpn &&
           channel.controllers[kNrpnLow] < 100;
}

void trackController(ChannelState& channel, uint8_t number, uint8_t value) VELNOR_NONBLOCKING {
    const bool isSoundFont = channel.controllers[kNrpnHigh] == kSoundFontNrpn;
    switch (number) {
    case kNrpnHigh:
        channel.controllers[kNrpnLow] = 0;
        channel.nrpnSelect = 0;
        channel.nrpnActive = true;
        break;
    case kNrpnLow:
        channel.nrpnSelect = isSoundFont ? added(channel.nrpnSelect, value) : channel.nrpnSelect;
        channel.nrpnActive = true;
        break;
    case kRpnLow:
    case kRpnHigh:
        channel.nrpnActive = false;
        break;
    case kDataEntry:
        if (choosesGenerator(channel)) {
            channel.nrpnSelect = 0;
        }
        break;
    case kResetAllControllers:
        resetControllers(channel);
        break;
    default:
        break;
    }
    if (number < kPlainControllers) {
        channel.controllers[number] = value;
    }
}

} // namespace

void track(ChannelState& channel, const MidiMessage& message) VELNOR_NONBLOCKING {
    switch (message.kind) {
    case MidiMessage::kController:
        trackController(channel, message.data1, message.data2);
        break;
    case MidiMessage::kChannelPressure:
        channel.pressure = message.data1;
        break;
    case MidiMessage::kKeyPressure:
        channel.keyPressures[message.data1] = message.data2;
        break;
    default:
        break;
    }
}

bool choosesTuningTable(const ChannelState& channel,
                        const MidiMessage& message) VELNOR_NONBLOCKING {
    constexpr uint8_t kTuningProgram = 3;
    constexpr uint8_t kTuningBank = 4;
    const uint8_t parameter = channel.controllers[kRpnLow];
    return message.kind == MidiMessage::kController && message.data1 == kDataEntry &&
           !channel.nrpnActive && channel.controllers[kRpnHigh] == 0 &&
           (parameter == kTuningProgram || parameter == kTuningBank);
}

bool movesSample(int generator) VELNOR_NONBLOCKING {
    switch (generator) {
    case 0: // start, end, loop start, loop end
    case 1:
    case 2:
    case 3:
    case 4: // the same in steps of 32,768 samples
    case 12:
    case 45:
    case 50:
        return true;
    default:
        return false;
    }
}

bool setsSampleMove(const ChannelState& channel, const MidiMessage& message) VELNOR_NONBLOCKING {
    return message.kind == MidiMessage::kController && message.data1 == kDataEntry &&
           choosesGenerator(channel) && movesSample(channel.nrpnSelect);
}

bool isReachableNrpn(const ChannelState& channel) {
    const uint8_t select = channel.nrpnSelect;
    const uint8_t low = channel.controllers[kNrpnLow];
    if (select == 0 || channel.controllers[kNrpnHigh] != kSoundFontNrpn) {
        return select == 0;
    }
    return select == kNoNrpn || low > 102 || (low < 100 && select >= low);
}

} // namespace velnor::soundfont
