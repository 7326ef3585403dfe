#include "host/song/MidiSong.h"

#include "host/job/InputFile.h"
#include "host/job/JobError.h"
#include "host/song/MidiFile.h"

#include <algorithm>
#include <tuple>

namespace velnor::host {

namespace {

constexpr std::uint8_t kMetaEvent = 0xFF;
constexpr std::uint8_t kFirstSystemMessage = 0xF0;
constexpr std::uint8_t kTempo = 0x51;
constexpr std::uint8_t kTimeSignature = 0x58;
constexpr std::size_t kDivision = 12;

// Of a file that is in order.
TempoMap startMap(std::span<const std::uint8_t> bytes) {
    const int high = bytes[kDivision];
    const int low = bytes[kDivision + 1];
    if ((high & 0x80) == 0) {
        return TempoMap::forQuarterNotes(high << 8 | low);
    }
    const int frames = 256 - high;
    return TempoMap::forFrames((frames == 29 ? 30000.0 / 1001.0 : frames) * low);
}

// The tracks' events together: those of one tick in track order, then file order, which both are
// the order of their bytes.
void sortByTick(std::vector<MidiFileEvent>& events) {
    std::sort(events.begin(), events.end(), [](const auto& a, const auto& b) {
        return std::tie(a.tick, a.offset) < std::tie(b.tick, b.offset);
    });
}

bool matters(const MidiFileEvent& event) {
    return event.status < kFirstSystemMessage ||
           (event.status == kMetaEvent && (event.type == kTempo || event.type == kTimeSignature));
}

void addEvent(const MidiFileEvent& event, std::span<const std::uint8_t> data, MidiSong& song) {
    if (event.status < kFirstSystemMessage) {
        song.messages.push_back(
            {event.tick, event.status, data[0], data.size() > 1 ? data[1] : std::uint8_t{0}});
    } else if (event.type == kTempo) {
        song.tempoMap.addTempo(event.tick, data[0] << 16 | data[1] << 8 | data[2]);
    } else if (data[1] < 16) {
        song.tempoMap.addMeter(event.tick, data[0], 1 << data[1]);
    }
}

} // namespace

MidiSong parseMidiSong(std::span<const std::uint8_t> bytes, const std::string& name) {
    std::vector<MidiFileEvent> events;
    std::int64_t length = 0;
    const std::string problem = visitMidiFile(bytes, [&](const MidiFileEvent& event) {
        length = std::max<std::int64_t>(length, event.tick);
        if (matters(event)) {
            events.push_back(event);
        }
    });
    if (!problem.empty()) {
        throw JobError(name + ": not a playable MIDI file: " + problem);
    }
    sortByTick(events);
    MidiSong song{{}, startMap(bytes), length};
    for (const MidiFileEvent& event : events) {
        addEvent(event, bytes.subspan(event.offset, event.size), song);
    }
    return song;
}

MidiSong readMidiSong(const std::string& path) {
    return parseMidiSong(readInputFile(path, kMidiFileSizeLimit), shownInput(path));
}

} // namespace velnor::host
