// A folder for the length of a scope, and short ways to write and read files.
#ifndef VELNOR_TESTING_TEMPFOLDER_H
#define VELNOR_TESTING_TEMPFOLDER_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <sys/stat.h>

namespace velnor::testing {

// Gives the user back the folders below the path that are closed to him.
inline void OpenFolders(const std::filesystem::path& path) {
    std::error_code ignored;
    const auto kind = std::filesystem::symlink_status(path, ignored).type();
    if (kind != std::filesystem::file_type::directory) {
        return;
    }
    std::filesystem::permissions(path, std::filesystem::perms::owner_all, ignored);
    for (const auto& entry : std::filesystem::directory_iterator(path, ignored)) {
        OpenFolders(entry.path());
    }
}

// Removes what stands there with all that it holds.
inline void RemoveTree(const std::filesystem::path& path) {
    OpenFolders(path);
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

// Made by mkdtemp, resolved (no link in its path), removed with all that it holds.
class TempFolder {
public:
    TempFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "velnor-XXXXXX").string();
        if (!mkdtemp(name.data())) {
            throw std::runtime_error("mkdtemp failed for " + name);
        }
        mPath = std::filesystem::canonical(name).string();
    }
    ~TempFolder() { RemoveTree(mPath); }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::string& Path() const { return mPath; }
    std::string operator/(const std::string& child) const { return mPath + "/" + child; }

private:
    std::string mPath;
};

// Makes the folders on the way and replaces what was there. Returns the path.
inline std::string WriteFile(const std::string& path, const std::string& content) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
    return path;
}

// Empty when there is no such file.
inline std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// 0 when there is no such entry.
inline mode_t ModeOf(const std::string& path) {
    struct stat info{};
    return lstat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
}

} // namespace velnor::testing

#endif
