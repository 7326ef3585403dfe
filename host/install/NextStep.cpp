#include "host/install/NextStep.h"

#include "bridge/OrmoEngine.h"
#include "host/install/Installation.h"
#include "host/install/ProductFile.h"
#include "host/job/JobError.h"
#include "host/job/ShellWord.h"

#include <algorithm>
#include <filesystem>
#include <vector>

namespace velnor::host {

namespace {

namespace fs = std::filesystem;

std::string firstEngine() {
    std::vector<std::string> folders = sharedFolders("Engines");
    folders.push_back(enginesFolder());
    for (const std::string& folder : folders) {
        std::vector<std::string> engines;
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(folder, error)) {
            if (entry.path().extension() == ".engine") {
                engines.push_back(entry.path());
            }
        }
        if (!engines.empty()) {
            return *std::min_element(engines.begin(), engines.end());
        }
    }
    return "BUNDLE";
}

} // namespace

bool isSetUp(const std::string& component) {
    try {
        return !searchPreference(productOfBundle(component).domain(), ORMO_DATA_DIR_KEY).empty() &&
               !searchPreference(ORMO_ENGINE_DOMAIN, ORMO_ENGINE_PATH_KEY).empty();
    } catch (const JobError&) {
        return true;
    }
}

std::string setUpCommand(const std::string& component) {
    return "velnor-host install " + shellWord(component) + " --engine " + shellWord(firstEngine()) +
           " --data DIR --write-setup";
}

} // namespace velnor::host
