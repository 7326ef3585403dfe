#include "platform/plist/PropertyListXml.h"

#include "platform/plist/PropertyListEncoding.h"
#include "platform/plist/PropertyListSize.h"
#include "platform/plist/PropertyListXmlLeaf.h"
#include "platform/values/Unicode.h"

#include <algorithm>
#include <array>
#include <vector>

namespace velnor {
namespace {

constexpr std::string_view kSpace = " \t\n";
constexpr std::string_view kCharacterData = "<![CDATA[";
constexpr std::array<std::string_view, 11> kElements = {
    "plist", "dict", "array", "string", "key", "integer", "real", "true", "false", "date", "data"};

bool IsContainer(std::string_view element) {
    return element == "dict" || element == "array";
}

// Walks the tags of a document, checks how they stand to each other, and writes them down again
// with nothing between them but text.
class Scanner {
public:
    explicit Scanner(std::string_view text) : mText(text) {}

    bool Scan() {
        while (mAt < mText.size()) {
            if (!Step()) {
                return false;
            }
        }
        return mOpen.empty() && mRootClosed;
    }

    std::string TakePlain() { return std::move(mPlain); }

private:
    struct Element {
        std::string_view name;
        std::size_t content; // where its content starts in the plain text
        std::size_t children;
    };

    std::string_view Rest() const { return mText.substr(mAt); }

    bool Step() {
        const auto tag = std::min(mText.find('<', mAt), mText.size());
        const auto between = mText.substr(mAt, tag - mAt);
        if (!TakesText() && between.find_first_not_of(kSpace) != between.npos) {
            return false;
        }
        mPlain += between;
        mAt = tag;
        if (mAt == mText.size()) {
            return true;
        }
        if (Rest().starts_with("<!--")) {
            return SkipPast("<!--", "-->");
        }
        if (Rest().starts_with("<?")) {
            return SkipPast("<?", "?>");
        }
        if (Rest().starts_with(kCharacterData)) {
            return TakesText() && TakeCharacterData();
        }
        if (Rest().starts_with("<!")) {
            return SkipDocumentType();
        }
        return Rest().starts_with("</") ? Close() : Open();
    }

    bool TakesText() const {
        return !mOpen.empty() && mOpen.back().name != "plist" && !IsContainer(mOpen.back().name);
    }

    bool TakeCharacterData() {
        const auto start = mAt + kCharacterData.size();
        if (!SkipPast(kCharacterData, "]]>")) {
            return false;
        }
        for (const char c : mText.substr(start, mText.find("]]>", start) - start)) {
            mPlain += c == '<' ? "&lt;" : c == '&' ? "&amp;" : std::string(1, c);
        }
        return true;
    }

    bool SkipPast(std::string_view start, std::string_view end) {
        const auto found = mText.find(end, mAt + start.size());
        mAt = found + end.size();
        return found != mText.npos;
    }

    // With declarations of its own it is none of a property list.
    bool SkipDocumentType() {
        const auto head = Rest().substr(0, Rest().find('>'));
        return mOpen.empty() && head.find('[') == head.npos && SkipPast("<!", ">");
    }

    // The position after the tag's ">", those in quoted attributes left out.
    std::size_t EndOfTag() const {
        char quote = '\0';
        for (std::size_t at = mAt + 1; at < mText.size() && mText[at] != '<'; ++at) {
            const char c = mText[at];
            if (quote != '\0') {
                quote = c == quote ? '\0' : quote;
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == '>') {
                return at + 1;
            }
        }
        return mText.npos;
    }

    bool Open() {
        const auto start = mAt;
        const auto end = EndOfTag();
        if (end == mText.npos) {
            return false;
        }
        auto tag = mText.substr(start + 1, end - start - 2);
        const bool empty = tag.ends_with('/');
        if (empty) {
            tag.remove_suffix(1);
        }
        const auto name = tag.substr(0, tag.find_first_of(kSpace));
        mAt = end;
        if (!MayOpen(name)) {
            return false;
        }
        mPlain.append("<").append(name).append(">");
        mOpen.push_back({name, mPlain.size(), 0});
        return !empty || CloseTop();
    }

    bool MayOpen(std::string_view name) {
        if (std::find(kElements.begin(), kElements.end(), name) == kElements.end()) {
            return false;
        }
        if (mOpen.empty()) {
            return name == "plist" && !mRootClosed;
        }
        Element& parent = mOpen.back();
        const auto position = parent.children++;
        if (++mValues > kMaxPropertyListValues ||
            (IsContainer(name) && ++mDepth > kMaxPropertyListDepth)) {
            return false;
        }
        if (parent.name == "plist") {
            return position == 0 && name != "key" && name != "plist";
        }
        const bool keyIsDue = parent.name == "dict" && position % 2 == 0;
        return IsContainer(parent.name) && name != "plist" && (name == "key") == keyIsDue;
    }

    bool Close() {
        const auto start = mAt;
        const auto end = mText.find('>', start);
        if (end == mText.npos || mOpen.empty()) {
            return false;
        }
        auto name = mText.substr(start + 2, end - start - 2);
        name = name.substr(0, name.find_first_of(kSpace));
        mAt = end + 1;
        return name == mOpen.back().name && CloseTop();
    }

    bool CloseTop() {
        const Element top = mOpen.back();
        mOpen.pop_back();
        mRootClosed = mOpen.empty();
        const bool isWhole = IsWhole(top);
        mPlain.append("</").append(top.name).append(">");
        return isWhole;
    }

    bool IsWhole(const Element& top) {
        if (top.name == "plist") {
            return top.children == 1;
        }
        if (IsContainer(top.name)) {
            --mDepth;
            return top.name == "array" || top.children % 2 == 0;
        }
        return IsXmlLeafText(top.name, std::string_view(mPlain).substr(top.content));
    }

    std::string_view mText;
    std::size_t mAt = 0;
    std::string mPlain;
    std::vector<Element> mOpen;
    std::size_t mValues = 0;
    int mDepth = 0;
    bool mRootClosed = false;
};

// Line ends as XML reads them.
std::string WithLineFeeds(std::string_view document) {
    std::string text;
    text.reserve(document.size());
    for (std::size_t i = 0; i < document.size(); ++i) {
        if (document[i] != '\r') {
            text.push_back(document[i]);
        } else if (i + 1 == document.size() || document[i + 1] != '\n') {
            text.push_back('\n');
        }
    }
    return text;
}

bool IsXmlCharacter(char32_t c) {
    return (c >= 0x20 && c != 0xFFFE && c != 0xFFFF) || c == '\t' || c == '\n' || c == '\r';
}

} // namespace

std::optional<std::string> PreparedXml(std::string_view document) {
    const bool isMarked = document.starts_with(kUtf8Mark);
    document.remove_prefix(isMarked ? kUtf8Mark.size() : 0);
    if (document.size() > kMaxPropertyListBytes || document.find('\0') != document.npos) {
        return std::nullopt;
    }
    const auto units = Utf16Length(document);
    const bool isAscii = units == document.size();
    if (!units || (!isAscii && !isMarked && !DeclaresUtf8(document))) {
        return std::nullopt;
    }
    const std::string text = WithLineFeeds(document);
    Scanner scanner(text);
    return scanner.Scan() ? std::optional(scanner.TakePlain()) : std::nullopt;
}

bool FitsXml(std::string_view text) {
    while (!text.empty()) {
        const auto next = DecodeUtf8(text);
        if (!next || !IsXmlCharacter(next->scalar)) {
            return false;
        }
        text.remove_prefix(next->length);
    }
    return true;
}

std::string FinishedXml(std::string_view document) {
    std::string text;
    text.reserve(document.size());
    for (const char c : document) {
        if (c == '\r') {
            text += "&#13;";
        } else {
            text.push_back(c);
        }
    }
    return text;
}

} // namespace velnor
