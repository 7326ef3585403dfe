#include "platform/plist/ForeignPropertyList.h"

#include "platform/plist/PropertyListEncoding.h"

namespace velnor {
namespace {

constexpr std::string_view kMagicOfEveryVersion = "bplist0";

} // namespace

bool IsForeignPropertyList(std::string_view file) {
    if (file.starts_with(kMagicOfEveryVersion)) {
        return IsForeignBinary(file);
    }
    const auto text = UnmarkedText(file);
    return text && (IsForeignXml(*text) || IsForeignText(*text));
}

} // namespace velnor
