#include "platform/plist/ForeignPropertyList.h"
#include "platform/plist/ForeignXmlValues.h"
#include "platform/plist/PropertyListEncoding.h"
#include "platform/values/Unicode.h"

#include <algorithm>
#include <cstdint>
#include <stack>

namespace velnor {
namespace {

constexpr std::string_view kSpace = " \t\r\n";

bool IsNameCharacter(char c) {
    const char lower = static_cast<char>(c | 0x20);
    return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == ':' ||
           c == '-' || c == '.' || static_cast<unsigned char>(c) >= 0x80;
}

// Goes through a document to the end of its root: there are readers that look no further.
class Walk {
public:
    explicit Walk(std::string_view text) : mText(text) {}

    bool Run() {
        while (!mIsWhole) {
            if (!TakeText() || !TakeMarkup()) {
                return false;
            }
        }
        return mValues.HasRoot() && IsText(mText.substr(0, mAt));
    }

private:
    static bool IsText(std::string_view part) {
        return part.find('\0') == part.npos && (!DeclaresUtf8(part) || Utf16Length(part));
    }

    bool IsNext(std::string_view token) const { return mText.substr(mAt).starts_with(token); }

    bool SkipPast(std::string_view end, std::size_t from) {
        const auto found = mText.find(end, mAt + from);
        mAt = found == mText.npos ? mText.size() : found + end.size();
        return found != mText.npos;
    }

    // Up to the next "<", which must come.
    bool TakeText() {
        const auto start = mAt;
        mAt = std::min(mText.find('<', start), mText.size());
        const auto text = mText.substr(start, mAt - start);
        if (mOpen.empty() && text.find_first_not_of(kSpace) != text.npos) {
            return false;
        }
        mValues.AddText(text);
        return mAt < mText.size() && HasSoundReferences(text);
    }

    static bool HasSoundReferences(std::string_view text) {
        for (auto at = text.find('&'); at != text.npos; at = text.find('&', at + 1)) {
            const auto start = at + 1 + (text.substr(at + 1).starts_with('#') ? 1 : 0);
            auto end = start;
            while (end < text.size() && IsNameCharacter(text[end])) {
                ++end;
            }
            if (end == start || end == text.size() || text[end] != ';') {
                return false;
            }
        }
        return true;
    }

    bool TakeMarkup() {
        if (IsNext("<!--")) {
            return SkipPast("-->", 4);
        }
        if (IsNext("<?")) {
            return SkipPast("?>", 2);
        }
        if (IsNext("<![CDATA[")) {
            const auto start = mAt + 9;
            const bool isClosed = SkipPast("]]>", 9);
            mValues.AddText(mText.substr(start, isClosed ? mAt - 3 - start : 0));
            return isClosed && !mOpen.empty();
        }
        if (IsNext("<!")) {
            return mOpen.empty() && SkipDocumentType();
        }
        return IsNext("</") ? Close() : Open();
    }

    // With what is declared between its brackets.
    bool SkipDocumentType() {
        bool isInside = false;
        for (mAt += 2; mAt < mText.size();) {
            const char c = mText[mAt];
            if (IsNext("<!--")) {
                if (!SkipPast("-->", 4)) {
                    return false;
                }
            } else if (IsNext("<?")) {
                if (!SkipPast("?>", 2)) {
                    return false;
                }
            } else if (c == '"' || c == '\'') {
                if (!SkipPast(std::string_view(&c, 1), 1)) {
                    return false;
                }
            } else {
                ++mAt;
                if (c == '>' && !isInside) {
                    return true;
                }
                isInside = c == '[' || (isInside && c != ']');
            }
        }
        return false;
    }

    std::string_view NameAt(std::size_t start) const {
        auto end = start;
        while (end < mText.size() && IsNameCharacter(mText[end])) {
            ++end;
        }
        return mText.substr(start, end - start);
    }

    bool Open() {
        const auto start = mAt + 1;
        const auto name = NameAt(start);
        if (name.empty() || !SkipTag()) {
            return false;
        }
        const bool isEmpty = mText[mAt - 2] == '/';
        if (!mValues.Open(name)) {
            return false;
        }
        if (isEmpty) {
            mIsWhole = mOpen.empty();
            return mValues.Close(name);
        }
        mOpen.push(static_cast<std::uint32_t>(start));
        return true;
    }

    // Past the tag's ">", which does not stand in quotes. No "<" comes before it.
    bool SkipTag() {
        char quote = '\0';
        for (++mAt; mAt < mText.size() && mText[mAt] != '<'; ++mAt) {
            const char c = mText[mAt];
            if (quote != '\0') {
                quote = c == quote ? '\0' : quote;
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == '>') {
                ++mAt;
                return true;
            }
        }
        return false;
    }

    bool Close() {
        const auto name = NameAt(mAt + 2);
        mAt += 2 + name.size();
        mAt = std::min(mText.find_first_not_of(kSpace, mAt), mText.size());
        if (!IsNext(">") || mOpen.empty() || NameAt(mOpen.top()) != name) {
            return false;
        }
        ++mAt;
        mOpen.pop();
        mIsWhole = mOpen.empty();
        return mValues.Close(name);
    }

    std::string_view mText;
    std::size_t mAt = 0;
    std::stack<std::uint32_t> mOpen; // where the names of the open elements stand
    bool mIsWhole = false;
    ForeignXmlValues mValues;
};

} // namespace

bool IsForeignXml(std::string_view document) {
    return Walk(document).Run();
}

} // namespace velnor
