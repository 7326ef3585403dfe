// Song files from anywhere: a clear refusal, or the messages that the file holds, in order, and a
// tempo map that only ever goes forward.
#include "fuzz/FuzzCheck.h"
#include "host/job/JobError.h"
#include "host/song/MidiSong.h"

#include <algorithm>
#include <cmath>
#include <fuzzer/FuzzedDataProvider.h>
#include <map>

namespace {

using namespace velnor::host;

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kChunkHeaderSize = 8;
constexpr std::int64_t kLongest = 0x7FFFFFFF;

void append(Bytes& bytes, std::size_t value, int width) {
    for (int i = width - 1; i >= 0; --i) {
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
}

void appendChunk(Bytes& file, const char* type, const Bytes& content) {
    file.insert(file.end(), type, type + 4);
    append(file, content.size(), 4);
    file.insert(file.end(), content.begin(), content.end());
}

// A good header and good chunks around any events.
Bytes wrapped(FuzzedDataProvider& input) {
    const int tracks = input.ConsumeIntegralInRange(1, 4);
    Bytes header;
    append(header, tracks > 1 ? 1 : 0, 2);
    append(header, static_cast<std::size_t>(tracks), 2);
    append(header, input.ConsumeIntegral<std::uint16_t>(), 2);
    Bytes file;
    appendChunk(file, "MThd", header);
    for (int i = 1; i <= tracks; ++i) {
        const std::size_t size = i == tracks ? input.remaining_bytes()
                                             : input.ConsumeIntegralInRange<std::size_t>(0, 256);
        Bytes events = input.ConsumeBytes<std::uint8_t>(size);
        if (i % 2 == 1) {
            events.insert(events.end(), {0, 0xFF, 0x2F, 0});
        }
        appendChunk(file, "MTrk", events);
    }
    return file;
}

// Reads a file that is known to be good, as the format says and with nothing else in mind.
class PlainReader {
public:
    explicit PlainReader(const Bytes& file) : mFile(file) {}

    // In the order of ticks; those of one tick in the order of the file.
    std::multimap<std::int64_t, SongMessage> messages() {
        const std::size_t tracks = number(10, 2);
        mAt = kChunkHeaderSize + number(4, 4);
        for (std::size_t track = 0; track < tracks;) {
            const std::size_t end = mAt + kChunkHeaderSize + number(mAt + 4, 4);
            if (std::equal(mFile.begin() + static_cast<std::ptrdiff_t>(mAt),
                           mFile.begin() + static_cast<std::ptrdiff_t>(mAt) + 4, "MTrk")) {
                ++track;
                mAt += kChunkHeaderSize;
                readTrack(end);
            }
            mAt = end;
        }
        return mMessages;
    }

private:
    void readTrack(std::size_t end) {
        std::int64_t tick = 0;
        std::uint8_t status = 0;
        while (mAt < end) {
            tick += quantity();
            const std::uint8_t first = mFile[mAt];
            if (first >= 0xF0) {
                const bool isMeta = first == 0xFF;
                const bool isEnd = isMeta && mFile[mAt + 1] == 0x2F;
                mAt += isMeta ? 2 : 1;
                const std::int64_t length = quantity();
                mAt += static_cast<std::size_t>(length);
                if (isEnd) {
                    return;
                }
                continue;
            }
            if (first >= 0x80) {
                status = first;
                ++mAt;
            }
            const bool isShort = (status & 0xE0) == 0xC0;
            const std::uint8_t data1 = mFile[mAt++];
            const std::uint8_t data2 = isShort ? std::uint8_t{0} : mFile[mAt++];
            mMessages.insert({tick, {tick, status, data1, data2}});
        }
    }

    std::int64_t quantity() {
        std::int64_t value = 0;
        do {
            value = value * 128 + (mFile[mAt] & 0x7F);
        } while (mFile[mAt++] >= 0x80);
        return value;
    }

    std::size_t number(std::size_t at, std::size_t width) const {
        std::size_t value = 0;
        for (std::size_t i = 0; i < width; ++i) {
            value = value * 256 + mFile[at + i];
        }
        return value;
    }

    const Bytes& mFile;
    std::size_t mAt = 0;
    std::multimap<std::int64_t, SongMessage> mMessages;
};

bool isSame(const SongMessage& a, const std::pair<const std::int64_t, SongMessage>& expected) {
    const SongMessage& b = expected.second;
    return a.tick == b.tick && a.status == b.status && a.data1 == b.data1 && a.data2 == b.data2;
}

void checkPosition(const TempoMap& map, double seconds) {
    const MusicalPosition position = map.positionAtSeconds(seconds);
    FUZZ_CHECK(std::isfinite(position.beats) && position.beats >= 0);
    FUZZ_CHECK(std::isfinite(position.beatsPerMinute) && position.beatsPerMinute > 0);
    FUZZ_CHECK(std::isfinite(position.barStart) && position.barStart <= position.beats);
    FUZZ_CHECK(position.numerator > 0 && position.denominator > 0);
}

void checkSong(const MidiSong& song, const Bytes& file) {
    const std::multimap<std::int64_t, SongMessage> expected = PlainReader(file).messages();
    FUZZ_CHECK(std::equal(song.messages.begin(), song.messages.end(), expected.begin(),
                          expected.end(), isSame));
    FUZZ_CHECK(song.lengthTicks >= 0 && song.lengthTicks <= kLongest);
    std::int64_t tick = 0;
    double seconds = 0;
    for (const SongMessage& message : song.messages) {
        FUZZ_CHECK(message.tick >= tick && message.tick <= song.lengthTicks);
        FUZZ_CHECK(message.status >= 0x80 && message.status < 0xF0);
        FUZZ_CHECK(message.data1 < 0x80 && message.data2 < 0x80);
        tick = message.tick;
        const double next = song.tempoMap.secondsAtTick(tick);
        FUZZ_CHECK(std::isfinite(next) && next >= seconds);
        seconds = next;
        checkPosition(song.tempoMap, seconds);
    }
    for (std::int64_t step = 0; step <= 64; ++step) {
        const double at = song.tempoMap.secondsAtTick(song.lengthTicks * step / 64);
        const double next = song.tempoMap.secondsAtTick(song.lengthTicks * step / 64 + 1);
        FUZZ_CHECK(std::isfinite(at) && at >= 0 && next >= at);
        checkPosition(song.tempoMap, at);
    }
    FUZZ_CHECK(song.lengthSeconds() >= seconds);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const bool isWhole = input.ConsumeBool();
    const Bytes file = isWhole ? input.ConsumeRemainingBytes<std::uint8_t>() : wrapped(input);
    try {
        checkSong(parseMidiSong(file, "song"), file);
    } catch (const JobError& error) {
        const std::string line = error.what();
        FUZZ_CHECK(line.starts_with("song: not a playable MIDI file: "));
        FUZZ_CHECK(line.find('\n') == std::string::npos && !line.ends_with("."));
    }
    return 0;
}
