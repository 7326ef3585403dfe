#include "support/XmlExtent.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string>
#include <tinyxml.h>

namespace velnor {

namespace {

constexpr std::string_view kDeclaration = "<?xml";
constexpr std::size_t kLongestDeclaration = 1024;
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kComment = "<!--";
constexpr std::string_view kCharacterData = "<![CDATA[";
constexpr std::array<std::string_view, 3> kDeclared = {"version", "encoding", "standalone"};

bool isQuote(char c) {
    return c == '"' || c == '\'';
}

// As TinyXML has it, in whatever locale.
bool isSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

bool isLetter(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 127 || std::isalpha(byte) != 0 || c == '_';
}

bool isNameCharacter(char c) {
    return isLetter(c) || std::isdigit(static_cast<unsigned char>(c)) != 0 || c == '-' ||
           c == '.' || c == ':';
}

// A declaration that names none means UTF-8.
bool declaresUtf8(std::string_view text) {
    TiXmlDocument document;
    document.Parse(std::string(text.substr(0, kLongestDeclaration)).c_str());
    const TiXmlNode* first = document.FirstChild();
    const TiXmlDeclaration* declaration = first == nullptr ? nullptr : first->ToDeclaration();
    if (declaration == nullptr) {
        return false;
    }
    std::string name = declaration->Encoding();
    std::transform(name.begin(), name.end(), name.begin(), [](char c) {
        return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    });
    return name.empty() || name.starts_with("UTF-8") || name.starts_with("UTF8");
}

// Goes through a document as TinyXML does. Where TinyXML gives up it goes on: no tree comes of the
// rest.
class Walk {
public:
    explicit Walk(std::string_view text)
        : mText(text), mIsUtf8(text.starts_with(kUtf8Mark)), mIsEncodingKnown(mIsUtf8) {}

    XmlExtent measure() {
        for (skipText(); mAt < mText.size(); skipText()) {
            readMarkup();
        }
        return mExtent;
    }

private:
    char now() const { return mAt < mText.size() ? mText[mAt] : '\0'; }
    bool isNext(std::string_view token) const { return mText.substr(mAt).starts_with(token); }
    bool isNextInAnyCase(std::string_view token) const {
        const std::string_view next = mText.substr(mAt, token.size());
        return std::equal(next.begin(), next.end(), token.begin(), token.end(), [](char a, char b) {
            return std::tolower(static_cast<unsigned char>(a)) == b;
        });
    }

    template <class Predicate>
    void skipWhile(Predicate holds) {
        while (mAt < mText.size() && holds(mText[mAt])) {
            ++mAt;
        }
    }
    void skipSpace() {
        for (bool isMark = true; isMark;) {
            skipWhile(isSpace);
            isMark = mIsUtf8 &&
                     (isNext("\xEF\xBB\xBF") || isNext("\xEF\xBF\xBE") || isNext("\xEF\xBF\xBF"));
            mAt += isMark ? 3 : 0;
        }
    }
    void skipPast(std::string_view end, std::size_t from) {
        const std::size_t found = mText.find(end, mAt + from);
        mAt = found == std::string_view::npos ? mText.size() : found + end.size();
    }

    // Over one character, whose first byte alone says how long it is.
    void skipCharacter() {
        if (isNext("&#") && mAt + 2 < mText.size()) {
            return skipReference();
        }
        const auto first = static_cast<unsigned char>(mText[mAt]);
        mAt += mIsUtf8 ? static_cast<std::size_t>(TiXmlBase::utf8ByteTable[first]) : 1;
        mExtent.isCut = mExtent.isCut || mAt > mText.size();
    }

    // A number is read backwards from the next ";", to the next mark of its base: what stands
    // before that is passed over. TinyXML gives up at anything else.
    void skipReference() {
        const bool isHex = mText[mAt + 2] == 'x';
        const std::size_t end = mText.find(';', mAt + (isHex ? 3 : 2));
        std::size_t digit = end == std::string_view::npos ? mAt : end - 1;
        while (isHex ? std::isxdigit(static_cast<unsigned char>(mText[digit])) != 0
                     : mText[digit] >= '0' && mText[digit] <= '9') {
            --digit;
        }
        const bool isNumber = mText[digit] == (isHex ? 'x' : '#');
        mAt = isNumber ? end + 1 : mText.size();
    }
    void skipCharactersTo(char end) {
        while (mAt < mText.size() && mText[mAt] != end) {
            skipCharacter();
        }
    }

    // Between elements outside the root nothing but white space counts.
    void skipText() {
        if (mDepth == 0) {
            skipWhile([](char c) { return c != '<'; });
        } else {
            skipCharactersTo('<');
        }
    }

    void readMarkup() {
        if (mDepth > 0 && isNext("</")) {
            --mDepth;
            return skipPast(">", 0);
        }
        ++mExtent.nodes;
        if (isNextInAnyCase(kDeclaration)) {
            readDeclaration();
        } else if (isNext(kComment)) {
            skipPast("-->", kComment.size());
        } else if (isNext(kCharacterData)) {
            skipPast("]]>", kCharacterData.size());
        } else if (mAt + 1 < mText.size() && isLetter(mText[mAt + 1])) {
            readTag();
        } else {
            skipPast(">", 0);
        }
    }

    void readTag() {
        mExtent.depth = std::max(mExtent.depth, ++mDepth);
        std::size_t attributes = 0;
        std::size_t names = 0;
        for (++mAt; mAt < mText.size() && now() != '>'; ++mAt, ++names) {
            if (const char quote = now(); isQuote(quote)) {
                ++mAt;
                skipCharactersTo(quote);
            }
            attributes += now() == '=';
        }
        if (now() == '>' && mText[mAt - 1] == '/') {
            --mDepth;
        }
        ++mAt;
        mExtent.nodes += attributes;
        mExtent.attributes = std::max(mExtent.attributes, attributes);
        mExtent.compared += attributes * names;
    }

    // A quote counts only where one of three attributes has its value.
    void readDeclaration() {
        const std::size_t begin = mAt;
        mAt += kDeclaration.size();
        while (mAt < mText.size() && now() != '>') {
            skipSpace();
            const bool isKnown =
                std::any_of(kDeclared.begin(), kDeclared.end(),
                            [this](std::string_view name) { return isNextInAnyCase(name); });
            if (isKnown) {
                readDeclared();
            } else {
                skipWhile([](char c) { return c != '>' && !isSpace(c); });
            }
        }
        ++mAt;
        if (mDepth == 0 && !mIsEncodingKnown) {
            mIsUtf8 = declaresUtf8(mText.substr(begin, mAt - begin));
            mIsEncodingKnown = true;
        }
    }

    void readDeclared() {
        skipWhile(isNameCharacter);
        skipSpace();
        if (now() != '=') {
            return;
        }
        ++mAt;
        skipSpace();
        if (const char quote = now(); isQuote(quote)) {
            ++mAt;
            skipCharactersTo(quote);
            ++mAt;
        } else {
            skipWhile([](char c) { return c != '/' && c != '>' && !isSpace(c); });
        }
    }

    std::string_view mText;
    bool mIsUtf8;
    bool mIsEncodingKnown; // by a mark or the first declaration outside the root
    std::size_t mAt = 0;
    std::size_t mDepth = 0;
    XmlExtent mExtent;
};

} // namespace

XmlExtent measureXml(std::string_view text) {
    return Walk(text).measure();
}

} // namespace velnor
