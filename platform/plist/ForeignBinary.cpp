#include "platform/plist/ForeignPropertyList.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace velnor {
namespace {

constexpr std::size_t kTrailerSize = 32;

// Goes through all objects that the top one leads to, each once. PropertyListBinary.h tells the
// form.
class Search {
public:
    explicit Search(std::string_view file) : mFile(file) {}

    bool Run() {
        if (!ReadTrailer() || !Want(mTop)) {
            return false;
        }
        while (!mWanted.empty()) {
            // Objects that do not overlap hold fewer references than the file has bytes.
            if (mFollowed > mFile.size()) {
                return true;
            }
            const std::uint32_t number = mWanted.back();
            mWanted.pop_back();
            if (!Visit(number)) {
                return false;
            }
        }
        return true;
    }

private:
    struct Place {
        std::size_t at;     // of what follows the head
        unsigned head;      // the first byte
        std::uint64_t size; // as the head gives it
    };

    // Nothing when the bytes do not all lie in the file or the number is beyond 64 bits.
    std::optional<std::uint64_t> Number(std::uint64_t at, std::uint64_t size) const {
        if (at > mFile.size() || size > mFile.size() - at) {
            return std::nullopt;
        }
        std::uint64_t value = 0;
        for (const char c :
             mFile.substr(static_cast<std::size_t>(at), static_cast<std::size_t>(size))) {
            if (value >> 56 != 0) {
                return std::nullopt;
            }
            value = value << 8 | static_cast<unsigned char>(c);
        }
        return value;
    }

    bool ReadTrailer() {
        if (mFile.size() < kTrailerSize) {
            return false;
        }
        const auto start = mFile.size() - kTrailerSize;
        mOffsetSize = Number(start + 6, 1).value_or(0);
        mReferenceSize = Number(start + 7, 1).value_or(0);
        mObjects = Number(start + 8, 8).value_or(0);
        mTop = Number(start + 16, 8).value_or(0);
        mTable = Number(start + 24, 8).value_or(0);
        if (mOffsetSize == 0 || mTable > mFile.size() ||
            mObjects > (mFile.size() - mTable) / mOffsetSize) {
            return false;
        }
        mIsKnown.resize(static_cast<std::size_t>(mObjects));
        return true;
    }

    bool Want(std::uint64_t number) {
        if (number >= mObjects) {
            return false;
        }
        const auto index = static_cast<std::size_t>(number);
        if (!mIsKnown[index]) {
            mIsKnown[index] = true;
            mWanted.push_back(static_cast<std::uint32_t>(number));
        }
        return true;
    }

    // Data, texts and containers: a count that does not fit the head follows it.
    static bool HasCount(std::uint64_t kind) {
        return (kind >= 0x4 && kind <= 0x6) || (kind >= 0xA && kind <= 0xD);
    }

    std::optional<Place> Find(std::uint32_t number) const {
        const auto offset = Number(mTable + number * mOffsetSize, mOffsetSize);
        const auto head = offset ? Number(*offset, 1) : std::nullopt;
        if (!head) {
            return std::nullopt;
        }
        Place place{static_cast<std::size_t>(*offset) + 1, static_cast<unsigned>(*head),
                    *head & 0xFU};
        if (place.size != 0xF || !HasCount(*head >> 4U)) {
            return place;
        }
        const auto width = Number(place.at, 1);
        const std::size_t bytes = width ? std::size_t{1} << (*width & 3U) : 0;
        const auto size = Number(place.at + 1, bytes);
        if (!width || !size) {
            return std::nullopt;
        }
        place.at += 1 + bytes;
        place.size = *size;
        return place;
    }

    bool Visit(std::uint32_t number) {
        const auto place = Find(number);
        if (!place) {
            return false;
        }
        const std::uint64_t left = mFile.size() - place->at;
        switch (place->head >> 4U) {
        case 0x0: // none, false, true, addresses, identifiers and filling
            return place->head == 0 || place->head == 8 || place->head == 9 || place->head >= 0xC;
        case 0x1: // an integer
        case 0x8: // a reference in an archive
            return true;
        case 0x2: // a real number
            return (place->size == 2 && left >= 4) || (place->size == 3 && left >= 8);
        case 0x3: // a date
            return place->size == 3 && left >= 8;
        case 0x4: // data
        case 0x5: // ASCII
            return place->size <= left;
        case 0x6: // UTF-16
            return place->size <= left / 2;
        case 0xA: // an array
        case 0xB: // sets
        case 0xC:
            return Follow(*place, 1);
        case 0xD: // a dictionary
            return Follow(*place, 2);
        default:
            return false;
        }
    }

    bool Follow(const Place& place, unsigned lists) {
        const std::uint64_t room =
            mReferenceSize == 0 ? 0 : (mFile.size() - place.at) / mReferenceSize;
        if (place.size > room / lists) {
            return false;
        }
        const std::uint64_t count = lists * place.size;
        mFollowed += count * mReferenceSize;
        bool isSound = true;
        for (std::uint64_t i = 0; isSound && i < count; ++i) {
            const auto number = Number(place.at + i * mReferenceSize, mReferenceSize);
            isSound = number && Want(*number) &&
                      (lists == 1 || i >= place.size || IsKey(static_cast<std::uint32_t>(*number)));
        }
        return isSound;
    }

    bool IsKey(std::uint32_t number) const {
        const auto place = Find(number);
        return place && place->head < 0xA0;
    }

    std::string_view mFile;
    std::uint64_t mOffsetSize = 0;
    std::uint64_t mReferenceSize = 0;
    std::uint64_t mObjects = 0;
    std::uint64_t mTop = 0;
    std::uint64_t mTable = 0;
    std::uint64_t mFollowed = 0; // bytes of references
    std::vector<bool> mIsKnown;
    std::vector<std::uint32_t> mWanted;
};

} // namespace

bool IsForeignBinary(std::string_view file) {
    return Search(file).Run();
}

} // namespace velnor
