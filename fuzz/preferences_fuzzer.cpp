// The configuration store on any files of a domain, the user's and all users', for this host and
// for any: no crash, no object left behind, the search finds the first value, a write is read back
// where the file is one to write to, and the neighbours of a written key stay.
#include "fuzz/FuzzCheck.h"
#include "fuzz/PreferenceFiles.h"
#include "platform/CFBase.h"
#include "support/ConfigStore.h"
#include "support/InstallationRegistry.h"

#include <algorithm>
#include <fuzzer/FuzzedDataProvider.h>

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
        if (depth < 6) {
            readEverything(inner, depth + 1);
        }
    }
}

void writeAndReadBack(const fuzz::PreferenceFiles& files, const Texts& path) {
    const bool isWritable = files.IsWritable(fuzz::PreferenceFiles::kUser);
    const Texts before = keysOf({});
    const bool written = writeConfigStringValue(kDomain, path, "new", CONFIG_LEVEL_USER);
    std::string text;
    const bool found = readConfigStringValue(kDomain, path, text, CONFIG_LEVEL_USER);
    FUZZ_CHECK(!written || found == isWritable);
    FUZZ_CHECK(!written || !found || text == "new");
    Texts after = keysOf({});
    FUZZ_CHECK(std::includes(after.begin(), after.end(), before.begin(), before.end()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    static fuzz::PreferenceFiles files(kDomain);
    FuzzedDataProvider input(data, size);
    const auto scope =
        input.PickValueInArray({fuzz::PreferenceFiles::kUserHost, fuzz::PreferenceFiles::kUser,
                                fuzz::PreferenceFiles::kAllHost, fuzz::PreferenceFiles::kAll});
    // Two contents, each in any of the places.
    const auto places = input.ConsumeIntegral<uint8_t>();
    const auto otherPlaces = input.ConsumeIntegral<uint8_t>();
    const auto cut = input.ConsumeIntegral<uint16_t>();
    files.Remove();
    files.Write(places, input.ConsumeBytesAsString(cut));
    files.Write(otherPlaces, input.ConsumeRemainingBytesAsString());
    const CFIndex objects = PlatformLiveObjectCount();
    {
        files.CheckReading();
        std::vector<PluginInfo> plugins;
        listAUPathVersion("Tavo", "Tarn 12", plugins);
        readEverything({}, 0);
        writeAndReadBack(files, {"Plugins", "AU", "000", "path"});
        writeAndReadBack(files, {"a", "b"});
        writeConfigIntValue(kDomain, "n", 1, CONFIG_LEVEL_USER);
        deleteConfigValue(kDomain, "n", CONFIG_LEVEL_USER);
        files.CheckWriting(scope);
        files.CheckReading();
    }
    FUZZ_CHECK(PlatformLiveObjectCount() == objects);
    return 0;
}
