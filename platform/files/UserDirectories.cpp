#include "platform/files/UserDirectories.h"

#include "platform/files/FileSystem.h"
#include "platform/files/XdgFolders.h"

#include <algorithm>

namespace velnor {
namespace {

constexpr std::size_t kMaximumFileSize = 65536;

void SkipBlanks(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
}

bool Skip(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) {
        return false;
    }
    text.remove_prefix(prefix.size());
    return true;
}

// The text up to the closing quotation mark; nothing when there is none.
std::optional<std::string> Unquote(std::string_view text) {
    std::string value;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"') {
            return value;
        }
        if (text[i] == '\\') {
            ++i;
        }
        if (i == text.size()) {
            return std::nullopt;
        }
        value += text[i];
    }
    return std::nullopt;
}

std::optional<std::string> ValueOfLine(std::string_view line, std::string_view key,
                                       const std::string& home) {
    SkipBlanks(line);
    if (!Skip(line, key)) {
        return std::nullopt;
    }
    SkipBlanks(line);
    if (!Skip(line, "=")) {
        return std::nullopt;
    }
    SkipBlanks(line);
    if (!Skip(line, "\"")) {
        return std::nullopt;
    }
    const bool belowHome = Skip(line, "$HOME");
    const auto path = Unquote(line);
    if (!path || !(path->starts_with('/') || (belowHome && path->empty()))) {
        return std::nullopt;
    }
    return belowHome ? home + *path : *path;
}

} // namespace

std::optional<std::string> UserDirectory(std::string_view content, std::string_view key,
                                         const std::string& home) {
    std::optional<std::string> value;
    while (!content.empty()) {
        const auto end = std::min(content.find('\n'), content.size());
        if (auto found = ValueOfLine(content.substr(0, end), key, home)) {
            value = std::move(found);
        }
        content.remove_prefix(std::min(end + 1, content.size()));
    }
    return value;
}

std::optional<std::string> DesktopFolder() {
    const auto home = HomeFolder();
    const auto config = ConfigHomeFolder();
    if (!home || !config) {
        return std::nullopt;
    }
    const auto content = ReadRegularFile(*config + "/user-dirs.dirs", kMaximumFileSize);
    auto named = UserDirectory(content.value_or(""), "XDG_DESKTOP_DIR", *home);
    return named ? std::move(named) : *home + "/Desktop";
}

} // namespace velnor
