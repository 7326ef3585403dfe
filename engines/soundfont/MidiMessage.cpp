#include "engines/soundfont/MidiMessage.h"

namespace velnor::soundfont {

namespace {

bool hasOneDataByte(MidiMessage::Kind kind) VELNOR_NONBLOCKING {
    return kind == MidiMessage::kProgramChange || kind == MidiMessage::kChannelPressure;
}

} // namespace

MidiMessage parseMidi(const MIDIEvent& event, bool compatSlots) VELNOR_NONBLOCKING {
    const uint8_t status = event.data[0];
    MidiMessage message;
    if (status >= 0xF0) {
        message.kind = status == 0xFF ? MidiMessage::kSystemReset : MidiMessage::kIgnored;
        return message;
    }
    const auto kind = static_cast<MidiMessage::Kind>(status & 0xF0);
    const uint8_t data2 = hasOneDataByte(kind) ? uint8_t{0} : event.data[2];
    if (status < 0x80 || event.data[1] > 127 || data2 > 127) {
        return message;
    }
    message.kind = kind;
    message.channel = compatSlots ? uint8_t{0} : static_cast<uint8_t>(status & 0x0F);
    message.data1 = event.data[1];
    message.data2 = data2;
    return message;
}

} // namespace velnor::soundfont
