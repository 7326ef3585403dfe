#include "platform/files/FolderMaking.h"

#include "platform/UniqueFd.h"
#include "platform/files/FileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velnor {

bool TakeOwner(int fd, const std::string& model) {
    struct stat info;
    return geteuid() != 0 ||
           (stat(model.c_str(), &info) == 0 && fchown(fd, info.st_uid, info.st_gid) == 0);
}

bool MakeFolders(const std::string& path, mode_t mode) {
    for (std::size_t end = 1; end != std::string::npos && !IsFolder(path);) {
        end = path.find('/', end + 1);
        const std::string folder = path.substr(0, end);
        if (mkdir(folder.c_str(), mode) == 0) {
            const UniqueFd made(
                open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
            if (made) {
                TakeOwner(made.Get(), folder + "/..");
            }
        }
    }
    return IsFolder(path);
}

} // namespace velnor
