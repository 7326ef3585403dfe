// The configuration store on any domain file: no crash, no object left behind, a write that
// succeeds is read back, and the neighbours of a written key stay.
#include "fuzz/FuzzCheck.h"
#include "platform/CFBase.h"
#include "platform/tests/TempHome.h"
#include "support/ConfigStore.h"
#include "support/InstallationRegistry.h"

#include <algorithm>
#include <filesystem>

namespace {

using namespace velnor;

using Texts = std::vector<std::string>;

const std::string kDomain = "com.Tavo.Tarn 12";

Texts keysOf(const Texts& path) {
    Texts keys;
    listConfigKeys(kDomain, path, keys, CONFIG_LEVEL_USER);
    std::sort(keys.begin(), keys.end());
    return keys;
}

void readEverything(const Texts& path, int depth) {
    for (const std::string& key : keysOf(path)) {
        Texts inner = path;
        inner.push_back(key);
        std::string text;
        int number = 0;
        readConfigStringValue(kDomain, inner, text, CONFIG_LEVEL_SEARCH);
        readConfigIntValue(kDomain, key, number, CONFIG_LEVEL_SEARCH);
        if (depth < 6)
            readEverything(inner, depth + 1);
    }
}

void writeAndReadBack(const Texts& path) {
    const Texts before = keysOf({});
    const bool written = writeConfigStringValue(kDomain, path, "new", CONFIG_LEVEL_USER);
    std::string text;
    const bool found = readConfigStringValue(kDomain, path, text, CONFIG_LEVEL_USER);
    FUZZ_CHECK(!written || (found && text == "new"));
    Texts after = keysOf({});
    FUZZ_CHECK(std::includes(after.begin(), after.end(), before.begin(), before.end()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    static const test::TempHome home;
    const std::string folder = home.ConfigHome() + "/velnor";
    std::filesystem::remove_all(folder);
    test::WriteFile(folder + "/" + kDomain + ".plist",
                    std::string(reinterpret_cast<const char*>(data), size));
    const CFIndex objects = PlatformLiveObjectCount();
    {
        std::vector<PluginInfo> plugins;
        listAUPathVersion("Tavo", "Tarn 12", plugins);
        readEverything({}, 0);
        writeAndReadBack({"Plugins", "AU", "000", "path"});
        writeAndReadBack({"a", "b"});
        writeConfigIntValue(kDomain, "n", 1, CONFIG_LEVEL_USER);
        deleteConfigValue(kDomain, "n", CONFIG_LEVEL_USER);
    }
    FUZZ_CHECK(PlatformLiveObjectCount() == objects);
    return 0;
}
