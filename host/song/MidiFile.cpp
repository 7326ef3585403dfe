#include "host/song/MidiFile.h"

#include <cstring>
#include <optional>

namespace velnor::host {

namespace {

constexpr std::size_t kChunkHeaderSize = 8;
constexpr std::size_t kHeaderDataSize = 6;
constexpr std::uint64_t kTickLimit = 0x7FFFFFFF;
constexpr std::uint8_t kMetaEvent = 0xFF;
constexpr std::uint8_t kSysEx = 0xF0;
constexpr std::uint8_t kEscape = 0xF7;
constexpr std::uint8_t kEndOfTrack = 0x2F;
constexpr std::uint8_t kTempo = 0x51;
constexpr std::uint8_t kTimeSignature = 0x58;

// One track's events, walked from a position that is counted from the start of the file.
class TrackWalk {
public:
    TrackWalk(std::span<const std::uint8_t> bytes, std::size_t begin, std::size_t end, int number,
              const MidiFileVisitor& visit)
        : mBytes(bytes), mAt(begin), mEnd(end), mNumber(number), mVisit(visit) {}

    std::string walk() {
        while (mAt < mEnd && mProblem.empty() && !mEnded) {
            event();
        }
        return mProblem;
    }

private:
    void event() {
        const std::optional<std::uint32_t> delta = quantity();
        if (!delta) {
            return;
        }
        mTicks += *delta;
        if (mTicks > kTickLimit) {
            return fail("is longer than 2147483647 ticks");
        }
        const std::optional<std::uint8_t> first = byte();
        if (!first) {
            return;
        }
        if (*first == kMetaEvent) {
            return metaEvent();
        }
        if (*first == kSysEx || *first == kEscape) {
            if (const std::optional<std::uint32_t> length = block()) {
                visit(*first, 0, *length);
            }
            return;
        }
        if (*first > kSysEx) {
            return fail("has a message that files do not hold");
        }
        message(*first);
    }

    void metaEvent() {
        const std::optional<std::uint8_t> type = byte();
        if (!type || *type > 0x7F) {
            return fail("has a damaged meta event");
        }
        const std::optional<std::uint32_t> length = block();
        if (!length) {
            return;
        }
        mEnded = *type == kEndOfTrack;
        if ((*type == kTempo && *length != 3) || (*type == kTimeSignature && *length < 4) ||
            (mEnded && *length != 0)) {
            return fail("has a meta event of the wrong length");
        }
        visit(kMetaEvent, *type, *length);
    }

    // A length and that many bytes; meta and exclusive events end a running status.
    std::optional<std::uint32_t> block() {
        mStatus = 0;
        const std::optional<std::uint32_t> length = quantity();
        if (!length) {
            return std::nullopt;
        }
        if (*length > mEnd - mAt) {
            fail("is cut short");
            return std::nullopt;
        }
        mAt += *length;
        return length;
    }

    void message(std::uint8_t first) {
        const bool hasStatus = first >= 0x80;
        if (hasStatus) {
            mStatus = first;
        }
        if (mStatus == 0) {
            return fail("has a data byte where a message should begin");
        }
        const std::uint8_t command = mStatus & 0xF0;
        const std::uint32_t dataBytes = command == 0xC0 || command == 0xD0 ? 1 : 2;
        for (std::uint32_t i = hasStatus ? 0 : 1; i < dataBytes; ++i) {
            const std::optional<std::uint8_t> data = byte();
            if (!data) {
                return;
            }
            if (*data > 0x7F) {
                return fail("has a message with a data byte missing");
            }
        }
        visit(mStatus, 0, dataBytes);
    }

    // An event whose data end here.
    void visit(std::uint8_t status, std::uint8_t type, std::uint32_t size) {
        mVisit({static_cast<std::uint32_t>(mTicks), status, type,
                static_cast<std::uint32_t>(mAt - size), size});
    }

    std::optional<std::uint8_t> byte() {
        if (mAt >= mEnd) {
            fail("is cut short");
            return std::nullopt;
        }
        return mBytes[mAt++];
    }

    // A variable-length quantity: seven bits a byte, four bytes at most.
    std::optional<std::uint32_t> quantity() {
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i) {
            const std::optional<std::uint8_t> next = byte();
            if (!next) {
                return std::nullopt;
            }
            value = (value << 7) | (*next & 0x7Fu);
            if ((*next & 0x80u) == 0) {
                return value;
            }
        }
        fail("has a number of more than four bytes");
        return std::nullopt;
    }

    void fail(const char* what) {
        if (mProblem.empty()) {
            mProblem =
                "track " + std::to_string(mNumber) + " " + what + " at byte " + std::to_string(mAt);
        }
    }

    std::span<const std::uint8_t> mBytes;
    std::size_t mAt;
    std::size_t mEnd;
    int mNumber;
    std::uint64_t mTicks = 0;
    std::uint8_t mStatus = 0;
    bool mEnded = false;
    std::string mProblem;
    const MidiFileVisitor& mVisit;
};

std::uint32_t bigEndian(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t width) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < width; ++i) {
        value = (value << 8) | bytes[at + i];
    }
    return value;
}

bool chunkIs(std::span<const std::uint8_t> bytes, std::size_t at, const char* type) {
    return std::memcmp(bytes.data() + at, type, 4) == 0;
}

std::string checkHeader(std::span<const std::uint8_t> bytes) {
    if (bytes.size() < kChunkHeaderSize || !chunkIs(bytes, 0, "MThd")) {
        return "it does not begin with a MIDI file header";
    }
    const std::uint32_t size = bigEndian(bytes, 4, 4);
    if (size < kHeaderDataSize || size > bytes.size() - kChunkHeaderSize) {
        return "its header is cut short";
    }
    if (bigEndian(bytes, 8, 2) > 1) {
        return "it is of format " + std::to_string(bigEndian(bytes, 8, 2)) +
               "; formats 0 and 1 can be played";
    }
    if (bigEndian(bytes, 10, 2) == 0) {
        return "it has no tracks";
    }
    const std::uint32_t division = bigEndian(bytes, 12, 2);
    if ((division & 0x8000u) == 0) {
        return division == 0 ? "its time division is 0" : "";
    }
    const int framesPerSecond = 256 - static_cast<int>(division >> 8);
    const bool known = framesPerSecond == 24 || framesPerSecond == 25 || framesPerSecond == 29 ||
                       framesPerSecond == 30;
    return known && (division & 0xFFu) != 0 ? "" : "its time division is not one that files have";
}

} // namespace

std::string visitMidiFile(std::span<const std::uint8_t> bytes, const MidiFileVisitor& visit) {
    if (bytes.size() > kMidiFileSizeLimit) {
        return "it is larger than 64 MiB";
    }
    if (std::string problem = checkHeader(bytes); !problem.empty()) {
        return problem;
    }
    const int expected = static_cast<int>(bigEndian(bytes, 10, 2));
    std::size_t at = kChunkHeaderSize + bigEndian(bytes, 4, 4);
    int track = 0;
    while (track < expected) {
        if (bytes.size() - at < kChunkHeaderSize) {
            return "it ends after " + std::to_string(track) + " of " + std::to_string(expected) +
                   " tracks";
        }
        const std::size_t size = bigEndian(bytes, at + 4, 4);
        const bool isTrack = chunkIs(bytes, at, "MTrk");
        at += kChunkHeaderSize;
        track += isTrack ? 1 : 0;
        if (size > bytes.size() - at) {
            return (isTrack ? "track " + std::to_string(track) : std::string("a chunk")) +
                   " is cut short: " + std::to_string(bytes.size() - at) + " of " +
                   std::to_string(size) + " bytes are there";
        }
        if (isTrack) {
            if (std::string problem = TrackWalk(bytes, at, at + size, track, visit).walk();
                !problem.empty()) {
                return problem;
            }
        }
        at += size;
    }
    return "";
}

} // namespace velnor::host
