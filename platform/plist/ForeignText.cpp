#include "platform/plist/ForeignPropertyList.h"

#include <algorithm>
#include <string>

namespace velnor {
namespace {

constexpr std::string_view kSpace = " \t\n\v\f\r";

enum class Kind { end, open, close, relation, separator, word, quoted, data, wrong };

struct Token {
    Kind kind;
    char mark; // the first character
};

bool IsWordCharacter(char c) {
    const char lower = static_cast<char>(c | 0x20);
    return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') ||
           std::string_view("_$/:.-+").find(c) != std::string_view::npos;
}

bool IsHexDigit(char c) {
    const char lower = static_cast<char>(c | 0x20);
    return (c >= '0' && c <= '9') || (lower >= 'a' && lower <= 'f');
}

class Tokens {
public:
    explicit Tokens(std::string_view text) : mText(text) {}

    Token Next() {
        if (!SkipBetween()) {
            return {Kind::wrong, '\0'};
        }
        if (mAt == mText.size()) {
            return {Kind::end, '\0'};
        }
        const char c = mText[mAt];
        switch (c) {
        case '{':
        case '(':
        case '[':
            return Take(Kind::open);
        case '}':
        case ')':
        case ']':
            return Take(Kind::close);
        case ':':
        case '=':
            return Take(Kind::relation);
        case ';':
        case ',':
            return Take(Kind::separator);
        case '"':
        case '\'':
            return {TakeQuoted() ? Kind::quoted : Kind::wrong, c};
        case '<':
            return {TakeData() ? Kind::data : Kind::wrong, c};
        default:
            return {TakeWord() ? Kind::word : Kind::wrong, c};
        }
    }

private:
    Token Take(Kind kind) { return {kind, mText[mAt++]}; }

    bool SkipPast(std::string_view end, std::size_t from) {
        const auto found = mText.find(end, mAt + from);
        mAt = found == mText.npos ? mText.size() : found + end.size();
        return found != mText.npos;
    }

    // White space and comments; false when one has no end.
    bool SkipBetween() {
        for (;;) {
            mAt = std::min(mText.find_first_not_of(kSpace, mAt), mText.size());
            const auto rest = mText.substr(mAt);
            if (rest.starts_with("//")) {
                mAt = std::min(mText.find_first_of("\r\n", mAt), mText.size());
            } else if (!rest.starts_with("/*")) {
                return true;
            } else if (!SkipPast("*/", 2)) {
                return false;
            }
        }
    }

    bool TakeQuoted() {
        const char quote = mText[mAt];
        for (++mAt; mAt < mText.size(); ++mAt) {
            if (mText[mAt] == '\\') {
                ++mAt;
            } else if (mText[mAt] == quote) {
                ++mAt;
                return true;
            }
        }
        return false;
    }

    // Bytes in hexadecimal digits, or a value whose kind a mark tells.
    bool TakeData() {
        const auto start = mAt + 1;
        if (!SkipPast(">", 1)) {
            return false;
        }
        const auto content = mText.substr(start, mAt - 1 - start);
        if (content.starts_with('*') || content.starts_with('[')) {
            return true;
        }
        const auto digits = std::count_if(content.begin(), content.end(), IsHexDigit);
        return digits % 2 == 0 && std::all_of(content.begin(), content.end(), [](char c) {
                   return IsHexDigit(c) || kSpace.find(c) != kSpace.npos;
               });
    }

    bool TakeWord() {
        const auto start = mAt;
        while (mAt < mText.size() && IsWordCharacter(mText[mAt])) {
            ++mAt;
        }
        return mAt > start;
    }

    std::string_view mText;
    std::size_t mAt = 0;
};

// Takes one token after another.
class Grammar {
public:
    // False when the token cannot stand here.
    bool Take(const Token& token) {
        switch (mDue) {
        case Due::value:
            return TakeValue(token);
        case Due::item:
            return token.kind == Kind::close ? Close(token.mark) : TakeValue(token);
        case Due::key:
            return TakeKey(token);
        case Due::relation:
            return TakeRelation(token);
        case Due::separator:
            return token.kind == Kind::close ? Close(token.mark) : TakeSeparator(token);
        case Due::tableOrEnd:
            return token.mark == '=' ? OpenTable() : End(token);
        default:
            return End(token);
        }
    }
    bool IsWhole() const { return mDue == Due::nothing; }

private:
    enum class Due { value, item, key, relation, separator, tableOrEnd, end, nothing };

    static constexpr char kTable = '\0'; // entries of a dictionary without its braces

    bool IsDictionary() const { return mOpen.back() == '{' || mOpen.back() == kTable; }

    bool TakeValue(const Token& token) {
        if (token.kind == Kind::open) {
            mOpen.push_back(token.mark);
            mDue = token.mark == '{' ? Due::key : Due::item;
            return true;
        }
        if (token.kind != Kind::word && token.kind != Kind::quoted && token.kind != Kind::data) {
            return false;
        }
        // A word alone is any text, not a property list.
        mIsWordAlone = mOpen.empty() && token.kind == Kind::word;
        mDue = mOpen.empty() ? Due::tableOrEnd : Due::separator;
        return true;
    }

    bool TakeKey(const Token& token) {
        if (token.kind == Kind::close) {
            return Close(token.mark);
        }
        if (token.kind == Kind::end) {
            return mOpen.size() == 1 && mOpen.back() == kTable && End(token);
        }
        mDue = Due::relation;
        return token.kind == Kind::word || token.kind == Kind::quoted;
    }

    // A key alone stands for its own value.
    bool TakeRelation(const Token& token) {
        mDue = token.kind == Kind::relation ? Due::value : Due::key;
        return token.kind == Kind::relation || token.mark == ';';
    }

    bool TakeSeparator(const Token& token) {
        mDue = IsDictionary() ? Due::key : Due::item;
        return token.kind == Kind::separator && (IsDictionary() || token.mark == ',') &&
               (mOpen.back() != kTable || token.mark == ';');
    }

    bool OpenTable() {
        mOpen.push_back(kTable);
        mIsWordAlone = false;
        mDue = Due::value;
        return true;
    }

    bool Close(char mark) {
        if (mark != (mOpen.back() == '{'   ? '}'
                     : mOpen.back() == '(' ? ')'
                                           : ']') ||
            mOpen.back() == kTable) {
            return false;
        }
        mOpen.pop_back();
        mDue = mOpen.empty() ? Due::end : Due::separator;
        return true;
    }

    bool End(const Token& token) {
        mDue = Due::nothing;
        return token.kind == Kind::end && !mIsWordAlone;
    }

    Due mDue = Due::value;
    std::string mOpen; // the marks of the open containers
    bool mIsWordAlone = false;
};

} // namespace

bool IsForeignText(std::string_view text) {
    if (text.find('\0') != text.npos) {
        return false;
    }
    Tokens tokens(text);
    Grammar grammar;
    while (!grammar.IsWhole()) {
        if (!grammar.Take(tokens.Next())) {
            return false;
        }
    }
    return true;
}

} // namespace velnor
