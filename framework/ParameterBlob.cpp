#include "framework/ParameterBlob.h"

#include <bit>
#include <limits>

namespace velnor {

namespace {

constexpr UInt64 kBytesPerWord = 4;
constexpr UInt64 kWordsPerEntry = 2;

static_assert(sizeof(AudioUnitParameterValue) == kBytesPerWord &&
              std::numeric_limits<AudioUnitParameterValue>::is_iec559);

} // namespace

void AppendBlobWord(CFMutableDataRef ioBlob, UInt32 inWord) {
    const UInt8 bytes[kBytesPerWord] = {
        static_cast<UInt8>(inWord >> 24), static_cast<UInt8>(inWord >> 16),
        static_cast<UInt8>(inWord >> 8), static_cast<UInt8>(inWord)};
    CFDataAppendBytes(ioBlob, bytes, sizeof(bytes));
}

void AppendBlobEntry(CFMutableDataRef ioBlob, const ParameterBlobEntry& inEntry) {
    AppendBlobWord(ioBlob, inEntry.id);
    AppendBlobWord(ioBlob, std::bit_cast<UInt32>(inEntry.value));
}

bool ParameterBlobReader::Holds(UInt64 inWords, UInt64 inEntries) const {
    const UInt64 words = static_cast<UInt64>(mEnd - mPosition) / kBytesPerWord;
    return inWords + inEntries * kWordsPerEntry <= words;
}

UInt32 ParameterBlobReader::ReadWord() {
    UInt32 word = 0;
    for (UInt64 i = 0; i < kBytesPerWord; ++i) {
        word = (word << 8) | *mPosition++;
    }
    return word;
}

ParameterBlobEntry ParameterBlobReader::ReadEntry() {
    const AudioUnitParameterID id = ReadWord();
    return {id, std::bit_cast<AudioUnitParameterValue>(ReadWord())};
}

} // namespace velnor
