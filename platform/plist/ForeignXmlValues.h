// The values in the elements of an XML document, as the most lenient reader takes them.
#ifndef VELNOR_PLATFORM_PLIST_FOREIGNXMLVALUES_H
#define VELNOR_PLATFORM_PLIST_FOREIGNXMLVALUES_H

#include <string>
#include <string_view>
#include <vector>

namespace velnor {

// Elements of other names are passed over, with no regard to what they stand in. Each function says
// false when the values no longer make a property list.
class ForeignXmlValues {
public:
    bool Open(std::string_view element);
    bool Close(std::string_view element);
    // Text of the element, references and all.
    void AddText(std::string_view text) { mText += text; }

    bool HasRoot() const { return mHasRoot; }

private:
    enum class Key { none, empty, some };

    bool AddValue();
    bool TakeKey();
    bool CloseContainer();
    std::string TakeText();

    std::string mText;               // since the last tag that opened an element or closed a leaf
    std::vector<bool> mIsDictionary; // the open containers
    Key mKey = Key::none;            // that has no value yet
    bool mHasRoot = false;
};

} // namespace velnor

#endif
