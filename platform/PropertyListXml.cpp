#include "platform/PropertyListXml.h"

#include "platform/PropertyListLimits.h"
#include "platform/PropertyListXmlLeaf.h"
#include "platform/Unicode.h"

#include <algorithm>
#include <array>
#include <vector>

namespace velnor {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kSpace = " \t\n";
constexpr std::array<std::string_view, 11> kElements = {
    "plist", "dict", "array", "string", "key", "integer", "real", "true", "false", "date", "data"};

bool IsContainer(std::string_view element) {
    return element == "dict" || element == "array";
}

/* Walks the tags of a document and checks how they stand to each other. */
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

    /* Where each empty <key/> starts and ends, which the library refuses. */
    struct Span {
        std::size_t start;
        std::size_t end;
    };
    const std::vector<Span>& EmptyKeys() const { return mEmptyKeys; }

private:
    struct Element {
        std::string_view name;
        std::size_t content; /* where its content starts */
        std::size_t children;
    };

    std::string_view Rest() const { return mText.substr(mAt); }

    bool Step() {
        const auto tag = std::min(mText.find('<', mAt), mText.size());
        const auto between = mText.substr(mAt, tag - mAt);
        if (mOpen.empty() && between.find_first_not_of(kSpace) != between.npos) {
            return false;
        }
        mAt = tag;
        if (mAt == mText.size()) {
            return true;
        }
        if (Rest().starts_with("<!--")) {
            return SkipPast("-->");
        }
        if (Rest().starts_with("<?")) {
            return SkipPast("?>");
        }
        if (Rest().starts_with("<![CDATA[")) {
            return !mOpen.empty() && SkipPast("]]>");
        }
        if (Rest().starts_with("<!")) {
            return SkipDocumentType();
        }
        return Rest().starts_with("</") ? Close() : Open();
    }

    bool SkipPast(std::string_view end) {
        const auto found = mText.find(end, mAt + 2);
        mAt = found + end.size();
        return found != mText.npos;
    }

    /* With declarations of its own it is none of a property list. */
    bool SkipDocumentType() {
        const auto head = Rest().substr(0, Rest().find('>'));
        return mOpen.empty() && head.find('[') == head.npos && SkipPast(">");
    }

    /* The position after the tag's ">", those in quoted attributes left out. */
    std::size_t EndOfTag() const {
        char quote = '\0';
        for (std::size_t at = mAt; at < mText.size(); ++at) {
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
        mOpen.push_back({name, end, 0});
        if (!empty) {
            return true;
        }
        if (name == "key") {
            mEmptyKeys.push_back({start, end});
        }
        return CloseTop(end);
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
        return name == mOpen.back().name && CloseTop(start);
    }

    bool CloseTop(std::size_t contentEnd) {
        const Element top = mOpen.back();
        mOpen.pop_back();
        mRootClosed = mOpen.empty();
        if (top.name == "plist") {
            return top.children == 1;
        }
        if (IsContainer(top.name)) {
            --mDepth;
            return top.name == "array" || top.children % 2 == 0;
        }
        return IsXmlLeafText(top.name, mText.substr(top.content, contentEnd - top.content));
    }

    std::string_view mText;
    std::size_t mAt = 0;
    std::vector<Element> mOpen;
    std::vector<Span> mEmptyKeys;
    std::size_t mValues = 0;
    int mDepth = 0;
    bool mRootClosed = false;
};

/* Line ends as XML reads them. */
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
    if (document.starts_with(kByteOrderMark)) {
        document.remove_prefix(kByteOrderMark.size());
    }
    if (document.size() > kMaxPropertyListBytes || document.find('\0') != document.npos ||
        !Utf16Length(document)) {
        return std::nullopt;
    }
    std::string text = WithLineFeeds(document);
    Scanner scanner(text);
    if (!scanner.Scan()) {
        return std::nullopt;
    }
    if (scanner.EmptyKeys().empty()) {
        return text;
    }
    std::string prepared;
    std::size_t done = 0;
    for (const auto& [start, end] : scanner.EmptyKeys()) {
        prepared.append(text, done, start - done).append("<key></key>");
        done = end;
    }
    return prepared.append(text, done);
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
