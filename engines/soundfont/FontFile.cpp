#include "engines/soundfont/FontFile.h"

#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace velnor::soundfont {

namespace {

// ASCII only: a file name has no locale.
char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isFontName(const std::string& name) {
    if (name.size() < 5) {
        return false;
    }
    std::string ending = name.substr(name.size() - 4);
    for (char& c : ending) {
        c = lower(c);
    }
    return ending == ".sf2" || ending == ".sf3";
}

} // namespace

std::string chooseFontFile(const std::string& folder) {
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    std::string first;
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        std::error_code unreadable;
        if (isFontName(name) && entry->is_regular_file(unreadable) &&
            (first.empty() || name < first)) {
            first = name;
        }
    }
    if (error) {
        throw std::runtime_error("data directory \"" + folder +
                                 "\" cannot be read: " + error.message());
    }
    if (first.empty()) {
        throw std::runtime_error("data directory \"" + folder + "\" holds no .sf2 or .sf3 file");
    }
    return folder + "/" + first;
}

} // namespace velnor::soundfont
