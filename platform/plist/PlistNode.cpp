#include "platform/plist/PlistNode.h"

#include "platform/plist/PropertyListBinary.h"

#include <bit>
#include <type_traits>

namespace velnor {
namespace {

constexpr char kDateMark = 0x33;
constexpr char kWideIntegerMark = 0x14; // 16 bytes

void AppendBigEndian(std::string& bytes, std::uint64_t value) {
    for (int shift = 56; shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<char>(value >> shift & 0xFF));
    }
}

// A binary list of one object.
PlistNode NodeOfObject(std::string_view object) {
    std::string file(kBinaryPropertyListMagic);
    const auto position = static_cast<char>(file.size());
    file += object;
    const std::size_t table = file.size();
    file.push_back(position);
    file.append(6, '\0');
    file.append(2, '\1'); // one byte to an offset and to a reference
    AppendBigEndian(file, 1);
    AppendBigEndian(file, 0);
    AppendBigEndian(file, table);
    plist_t node = nullptr;
    plist_from_bin(file.data(), static_cast<std::uint32_t>(file.size()), &node);
    return PlistNode(node);
}

// The first byte of the object, and what follows it.
std::string ObjectOfNode(plist_t node) {
    return BinaryOf(node).substr(kBinaryPropertyListMagic.size());
}

std::string TakeText(char* bytes, std::uint32_t length, void (*release)(char*)) {
    const std::unique_ptr<char, void (*)(char*)> owner(bytes, release);
    return bytes == nullptr ? std::string() : std::string(bytes, length);
}

} // namespace

PlistNode DateNode(double secondsSince2001) {
    std::string object(1, kDateMark);
    AppendBigEndian(object, std::bit_cast<std::uint64_t>(secondsSince2001));
    return NodeOfObject(object);
}

double DateOf(plist_t node) {
    const std::string object = ObjectOfNode(node);
    std::uint64_t bits = 0;
    for (std::size_t i = 1; i <= sizeof bits; ++i) {
        bits = bits << 8 | static_cast<unsigned char>(object.at(i));
    }
    return std::bit_cast<double>(bits);
}

PlistNode UnsignedNode(std::uint64_t value) {
    std::string object(1, kWideIntegerMark);
    AppendBigEndian(object, 0);
    AppendBigEndian(object, value);
    return NodeOfObject(object);
}

bool IsUnsigned(plist_t node) {
    return ObjectOfNode(node).starts_with(kWideIntegerMark);
}

std::string XmlOf(plist_t root) {
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(root, &bytes, &length);
    return TakeText(bytes, length, plist_to_xml_free);
}

std::string BinaryOf(plist_t root) {
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    return TakeText(bytes, length, plist_to_bin_free);
}

PointLocale::PointLocale()
    : mPoint(newlocale(LC_NUMERIC_MASK, "C", static_cast<locale_t>(nullptr))),
      mBefore(uselocale(mPoint)) {}

PointLocale::~PointLocale() {
    uselocale(mBefore);
    freelocale(mPoint);
}

} // namespace velnor
