#include "host/MidiSong.h"

#include "host/InputFile.h"
#include "host/JobError.h"
#include "host/MidiFileCheck.h"

#include <algorithm>
#include <memory>

#include <smf.h>

namespace velnor::host {

namespace {

struct SmfDelete {
    void operator()(smf_t* smf) const { smf_delete(smf); }
};
using SmfPointer = std::unique_ptr<smf_t, SmfDelete>;

constexpr unsigned char kMetaEvent = 0xFF;
constexpr unsigned char kTempo = 0x51;
constexpr unsigned char kTimeSignature = 0x58;

/* The reader reports what it repairs; a person who plays a song does not want to read that. */
void dropLogLine(const gchar*, GLogLevelFlags, const gchar*, gpointer) {}

SmfPointer loadSmf(std::span<const std::uint8_t> bytes) {
    g_log_set_handler("libsmf", static_cast<GLogLevelFlags>(G_LOG_LEVEL_MASK | G_LOG_FLAG_FATAL),
                      dropLogLine, nullptr);
    return SmfPointer(smf_load_from_memory(bytes.data(), static_cast<int>(bytes.size())));
}

TempoMap startMap(const smf_t& smf) {
    if (smf.ppqn > 0)
        return TempoMap::forQuarterNotes(smf.ppqn);
    const double frames = smf.frames_per_second == 29 ? 30000.0 / 1001.0 : smf.frames_per_second;
    return TempoMap::forFrames(frames * smf.resolution);
}

/* A meta event's type and payload; its length is a number of one to four bytes. */
void addMetaEvent(const smf_event_t& event, TempoMap& map) {
    const std::span<const unsigned char> bytes(
        event.midi_buffer, static_cast<std::size_t>(std::max(event.midi_buffer_length, 0)));
    if (bytes.size() < 3)
        return;
    std::size_t at = 2;
    while (at < bytes.size() && (bytes[at] & 0x80u) != 0)
        ++at;
    const auto payload = bytes.subspan(std::min(at + 1, bytes.size()));
    if (bytes[1] == kTempo && payload.size() >= 3)
        map.addTempo(event.time_pulses, payload[0] << 16 | payload[1] << 8 | payload[2]);
    if (bytes[1] == kTimeSignature && payload.size() >= 2 && payload[1] < 16)
        map.addMeter(event.time_pulses, payload[0], 1 << payload[1]);
}

void addMessage(const smf_event_t& event, std::vector<SongMessage>& messages) {
    const unsigned char* bytes = event.midi_buffer;
    const int length = event.midi_buffer_length;
    if (length < 2 || bytes[0] < 0x80 || bytes[0] >= 0xF0)
        return;
    messages.push_back({event.time_pulses, bytes[0], bytes[1],
                        length > 2 ? bytes[2] : static_cast<unsigned char>(0)});
}

} // namespace

MidiSong parseMidiSong(std::span<const std::uint8_t> bytes, const std::string& name) {
    if (const std::string problem = checkMidiFile(bytes); !problem.empty())
        throw JobError(name + ": not a playable MIDI file: " + problem);
    const SmfPointer smf = loadSmf(bytes);
    if (!smf)
        throw JobError(name + ": not a playable MIDI file: the reader refuses it");
    MidiSong song{{}, startMap(*smf), 0};
    while (const smf_event_t* event = smf_get_next_event(smf.get())) {
        song.lengthTicks = std::max<std::int64_t>(song.lengthTicks, event->time_pulses);
        if (event->midi_buffer_length > 0 && event->midi_buffer[0] == kMetaEvent)
            addMetaEvent(*event, song.tempoMap);
        else
            addMessage(*event, song.messages);
    }
    return song;
}

MidiSong readMidiSong(const std::string& path) {
    return parseMidiSong(readInputFile(path, kMidiFileSizeLimit), path);
}

} // namespace velnor::host
