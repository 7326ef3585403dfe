// The bytes in which a saved state holds parameter values.
//
// Element records end to end, no header, no padding; every field is a big-endian u32.
//
//   0   scope    0 global, 1 input, 2 output
//   4   element  index within the scope
//   8   count    entries that follow
//   12  count times: id (or index), then the value as the bits of an IEEE-754 single
//
// Example: the global element with parameters 0 = 1.0 and 5 = 0.5
//   00000000 00000000 00000002 00000000 3F800000 00000005 3F000000
#ifndef VELNOR_FRAMEWORK_PARAMETERBLOB_H
#define VELNOR_FRAMEWORK_PARAMETERBLOB_H

#include "platform/AudioUnitTypes.h"
#include "platform/CFData.h"

namespace velnor {

struct ParameterBlobEntry {
    AudioUnitParameterID id;
    AudioUnitParameterValue value;
};

void AppendBlobWord(CFMutableDataRef ioBlob, UInt32 inWord);
void AppendBlobEntry(CFMutableDataRef ioBlob, const ParameterBlobEntry& inEntry);

/// Reads a blob from hostile hands: never past its end.
class ParameterBlobReader {
public:
    ParameterBlobReader(const UInt8* inPosition, const UInt8* inEnd)
        : mPosition(inPosition), mEnd(inEnd) {}

    const UInt8* GetPosition() const { return mPosition; }
    const UInt8* GetEnd() const { return mEnd; }

    /// Whether inWords words, and then inEntries entries, are still to come.
    bool Holds(UInt64 inWords, UInt64 inEntries = 0) const;

    /// Only when Holds(1), or Holds(0, 1).
    UInt32 ReadWord();
    ParameterBlobEntry ReadEntry();

private:
    const UInt8* mPosition;
    const UInt8* mEnd;
};

} // namespace velnor

#endif
