#include "host/install/SetupFileCheck.h"

#include "support/SetupFile.h"

#include <filesystem>

namespace velnor::host {

std::string checkSetupFile(const std::string& path, const ProductNames& names) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status)) {
        return "missing (install --write-setup makes one)";
    }
    if (!std::filesystem::is_regular_file(status)) {
        return "it is no regular file; remove it";
    }
    std::string problem;
    return verifyOrmoSetup(names.vendor, names.product, path, problem) ? "" : problem;
}

} // namespace velnor::host
