#include "engines/soundfont/FontFile.h"

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
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

// A RIFF file's first 12 bytes: "RIFF", the size of what follows the size, the form.
constexpr size_t kRiffHeaderSize = 12;
constexpr size_t kRiffSizeEnd = 8;

uint64_t declaredSize(const unsigned char* header) {
    uint64_t size = kRiffSizeEnd;
    for (size_t i = 0; i < 4; ++i) {
        size += static_cast<uint64_t>(header[4 + i]) << (8 * i);
    }
    return size;
}

} // namespace

void checkFontFile(const std::string& path) {
    unsigned char header[kRiffHeaderSize] = {};
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("SoundFont \"" + path + "\" cannot be read");
    }
    file.read(reinterpret_cast<char*>(header), sizeof header);
    if (!file || std::memcmp(header, "RIFF", 4) != 0 ||
        std::memcmp(header + kRiffSizeEnd, "sfbk", 4) != 0) {
        throw std::runtime_error("\"" + path + "\" is not a SoundFont");
    }
    file.seekg(0, std::ios::end);
    if (static_cast<uint64_t>(file.tellg()) < declaredSize(header)) {
        throw std::runtime_error("SoundFont \"" + path + "\" is truncated");
    }
}

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
