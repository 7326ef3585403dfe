#include "platform/preferences/PreferenceDomain.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <string_view>
#include <unordered_map>

namespace velnor {
namespace {

// The variables that decide where files lie, as they were at one moment.
class Environment {
public:
    bool IsAsNow() const {
        return std::all_of(mVariables.begin(), mVariables.end(), [](const Variable& variable) {
            const char* value = std::getenv(variable.name);
            return variable.isSet == (value != nullptr) && (!value || variable.value == value);
        });
    }
    void Update() {
        for (Variable& variable : mVariables) {
            const char* value = std::getenv(variable.name);
            variable.value = value ? value : "";
            variable.isSet = value != nullptr;
        }
    }

private:
    struct Variable {
        const char* name;
        bool isSet = false;
        std::string value{};
    };
    std::array<Variable, 3> mVariables{{{"HOME"}, {"XDG_CONFIG_HOME"}, {"XDG_CONFIG_DIRS"}}};
};

// The domains used since the environment changed last.
struct Table {
    std::mutex mutex;
    Environment environment;
    std::unordered_map<std::string, std::shared_ptr<const PreferenceDomain>> domains;
};

Table& TheTable() {
    static Table& table = *new Table;
    return table;
}

} // namespace

PreferenceDomain::PreferenceDomain(const std::string& name) {
    for (const bool anyUser : {false, true}) {
        for (const bool anyHost : {false, true}) {
            Files& files = mFiles[anyUser][anyHost];
            for (const std::string& path : PreferencePaths(name, {anyUser, anyHost})) {
                files.push_back(&PreferencesAt(path));
            }
            mSearch.insert(mSearch.end(), files.begin(), files.end());
        }
    }
}

std::shared_ptr<const PreferenceDomain> FindPreferenceDomain(const std::string& name) {
    Table& table = TheTable();
    const std::lock_guard lock(table.mutex);
    if (!table.environment.IsAsNow()) {
        table.domains.clear();
        table.environment.Update();
    }
    auto& domain = table.domains[name];
    if (!domain) {
        domain = std::make_shared<const PreferenceDomain>(name);
    }
    return domain;
}

} // namespace velnor
