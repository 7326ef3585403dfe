#include "platform/plist/PropertyListBinary.h"

#include "platform/plist/PropertyListSize.h"

#include <cstdint>
#include <optional>

namespace velnor {
namespace {

constexpr std::size_t kTrailerSize = 32;

// The high half of an object's first byte.
enum Kind : unsigned {
    kSimple = 0x0,
    kInteger = 0x1,
    kReal = 0x2,
    kDate = 0x3,
    kData = 0x4,
    kAscii = 0x5,
    kUtf16 = 0x6,
    kUid = 0x8,
    kArray = 0xA,
    kDictionary = 0xD
};

struct Object {
    unsigned kind;
    unsigned low;             // the low half of the first byte
    std::uint64_t count;      // bytes, characters, units, elements or pairs
    std::string_view content; // from the first byte after the head to the end of the objects
};

class Walker {
public:
    explicit Walker(std::string_view file) : mFile(file) {}

    bool Walk() { return ReadTrailer() && Visit(mTop, 0); }

private:
    static std::uint64_t BigEndian(std::string_view bytes) {
        std::uint64_t value = 0;
        for (const char c : bytes) {
            value = value << 8 | static_cast<unsigned char>(c);
        }
        return value;
    }

    bool ReadTrailer() {
        const auto head = kBinaryPropertyListMagic.size();
        if (mFile.size() > kMaxPropertyListBytes || mFile.size() < head + kTrailerSize ||
            !mFile.starts_with(kBinaryPropertyListMagic)) {
            return false;
        }
        const auto trailer = mFile.substr(mFile.size() - kTrailerSize);
        mOffsetSize = BigEndian(trailer.substr(6, 1));
        mReferenceSize = BigEndian(trailer.substr(7, 1));
        mObjects = BigEndian(trailer.substr(8, 8));
        mTop = BigEndian(trailer.substr(16, 8));
        const auto table = BigEndian(trailer.substr(24, 8));
        const auto end = mFile.size() - kTrailerSize;
        if (mOffsetSize < 1 || mOffsetSize > 8 || mReferenceSize < 1 || mReferenceSize > 8 ||
            table < head || table > end || mObjects == 0 ||
            mObjects > (end - table) / mOffsetSize) {
            return false;
        }
        mTable = static_cast<std::size_t>(table);
        return true;
    }

    std::optional<Object> ReadObject(std::uint64_t number) const {
        if (number >= mObjects) {
            return std::nullopt;
        }
        const auto entry = mTable + static_cast<std::size_t>(number * mOffsetSize);
        const auto offset = BigEndian(mFile.substr(entry, static_cast<std::size_t>(mOffsetSize)));
        if (offset < kBinaryPropertyListMagic.size() || offset >= mTable) {
            return std::nullopt;
        }
        auto rest = mFile.substr(0, mTable).substr(static_cast<std::size_t>(offset));
        const auto first = static_cast<unsigned char>(rest[0]);
        rest.remove_prefix(1);
        Object object{first / 16U, first % 16U, first % 16U, rest};
        if (HasCount(object.kind) && object.low == 0xF && !ReadLongCount(object)) {
            return std::nullopt;
        }
        return object;
    }

    static bool HasCount(unsigned kind) {
        return kind == kData || kind == kAscii || kind == kUtf16 || kind == kArray ||
               kind == kDictionary;
    }

    // A count that does not fit the first byte follows it as an integer object.
    static bool ReadLongCount(Object& object) {
        if (object.content.empty() || (object.content[0] & 0xF0) != kInteger << 4U) {
            return false;
        }
        const unsigned power = static_cast<unsigned char>(object.content[0]) & 0xFU;
        const std::size_t size = std::size_t{1} << power;
        if (power > 3 || object.content.size() <= size) {
            return false;
        }
        object.count = BigEndian(object.content.substr(1, size));
        object.content.remove_prefix(1 + size);
        return true;
    }

    bool Visit(std::uint64_t number, int depth) {
        const auto object = ReadObject(number);
        if (!object) {
            return false;
        }
        switch (object->kind) {
        case kArray:
            return depth < kMaxPropertyListDepth && Count(0) &&
                   VisitAll(*object, object->count, depth);
        case kDictionary:
            return depth < kMaxPropertyListDepth && Count(0) && object->count <= mFile.size() &&
                   HasTextKeys(*object) && VisitAll(*object, 2 * object->count, depth);
        default:
            return VisitLeaf(*object);
        }
    }

    std::uint64_t Reference(const Object& object, std::uint64_t index) const {
        const auto at = static_cast<std::size_t>(index * mReferenceSize);
        return BigEndian(object.content.substr(at, static_cast<std::size_t>(mReferenceSize)));
    }

    bool VisitAll(const Object& object, std::uint64_t count, int depth) {
        if (count > object.content.size() / mReferenceSize) {
            return false;
        }
        for (std::uint64_t i = 0; i < count; ++i) {
            if (!Visit(Reference(object, i), depth + 1)) {
                return false;
            }
        }
        return true;
    }

    bool HasTextKeys(const Object& object) const {
        if (object.count > object.content.size() / mReferenceSize / 2) {
            return false;
        }
        for (std::uint64_t i = 0; i < object.count; ++i) {
            const auto key = ReadObject(Reference(object, i));
            if (!key || (key->kind != kAscii && key->kind != kUtf16)) {
                return false;
            }
        }
        return true;
    }

    bool VisitLeaf(const Object& object) {
        switch (object.kind) {
        case kSimple:
            return (object.low == 8 || object.low == 9) && Count(0);
        case kInteger:
            return object.low <= 4 && HasNumber(object, std::uint64_t{1} << object.low) &&
                   (object.low < 4 || BigEndian(object.content.substr(0, 8)) == 0);
        case kReal:
            return (object.low == 2 || object.low == 3) &&
                   HasNumber(object, std::uint64_t{1} << object.low);
        case kDate:
            return object.low == 3 && HasNumber(object, 8);
        case kUid:
            return (object.low == 0 || object.low == 1 || object.low == 3 || object.low == 7) &&
                   HasNumber(object, object.low + 1U);
        case kData:
        case kAscii:
            return object.count <= object.content.size() && Count(object.count) &&
                   (object.kind == kData || !HasZero(object));
        case kUtf16:
            return object.count <= object.content.size() / 2 && Count(2 * object.count) &&
                   IsUtf16(object);
        default:
            return false;
        }
    }

    bool HasNumber(const Object& object, std::uint64_t size) {
        return size <= object.content.size() && Count(0);
    }

    bool Count(std::uint64_t content) {
        mSize.Add(static_cast<std::size_t>(content));
        return mSize.IsBearable();
    }

    static bool HasZero(const Object& text) {
        return text.content.substr(0, static_cast<std::size_t>(text.count)).find('\0') !=
               std::string_view::npos;
    }

    // True for text whose surrogates come in pairs and that holds no zero character: the library
    // drops the one and ends at the other.
    static bool IsUtf16(const Object& text) {
        bool isLowDue = false;
        for (std::size_t i = 0; i < text.count; ++i) {
            const auto unit = BigEndian(text.content.substr(2 * i, 2));
            if (unit == 0 || isLowDue != (unit >= 0xDC00 && unit < 0xE000)) {
                return false;
            }
            isLowDue = unit >= 0xD800 && unit < 0xDC00;
        }
        return !isLowDue;
    }

    std::string_view mFile;
    std::uint64_t mOffsetSize = 0;
    std::uint64_t mReferenceSize = 0;
    std::uint64_t mObjects = 0;
    std::uint64_t mTop = 0;
    std::size_t mTable = 0;
    PropertyListSize mSize;
};

} // namespace

bool IsSoundBinaryPropertyList(std::string_view file) {
    return Walker(file).Walk();
}

} // namespace velnor
