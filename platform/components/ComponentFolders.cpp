#include "platform/components/ComponentFolders.h"

#include "platform/files/XdgFolders.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <sstream>

namespace velnor {
namespace {

constexpr const char* kPathVariable = "VELNOR_COMPONENT_PATH";
constexpr const char* kFolder = "/velnor/Components";
constexpr const char* kExtension = ".component";

std::vector<std::string> ComponentFolders() {
    std::vector<std::string> folders;
    const char* list = std::getenv(kPathVariable);
    std::istringstream parts(list != nullptr ? list : "");
    for (std::string part; std::getline(parts, part, ':');) {
        folders.push_back(part);
    }
    if (const auto home = DataHomeFolder()) {
        folders.push_back(*home + kFolder);
    }
    for (const std::string& folder : DataFolders()) {
        folders.push_back(folder + kFolder);
    }
    return folders;
}

std::vector<std::string> BundlesIn(const std::string& folder) {
    std::vector<std::string> bundles;
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        std::error_code unreadable;
        if (entry->path().extension() == kExtension && entry->is_directory(unreadable)) {
            bundles.push_back(entry->path().string());
        }
    }
    std::sort(bundles.begin(), bundles.end());
    return bundles;
}

} // namespace

std::vector<std::string> FindComponentBundles() {
    std::vector<std::string> all;
    for (const std::string& folder : ComponentFolders()) {
        std::vector<std::string> bundles = BundlesIn(folder);
        std::move(bundles.begin(), bundles.end(), std::back_inserter(all));
    }
    return all;
}

} // namespace velnor
