#include "support/Alerts.h"
#include "support/Browser.h"
#include "support/BundleVersion.h"
#include "support/ConfigStore.h"
#include "support/ConsoleLogger.h"
#include "support/FileCopy.h"
#include "support/Files.h"
#include "support/Folders.h"
#include "support/InstallationRegistry.h"
#include "support/Listing.h"
#include "support/SetupFile.h"

#include "platform/tests/TempHome.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using namespace velnor;

using Path = std::vector<std::string>;

const std::string kDomain = "com.Tavo.Tarn 12";
const std::string kBad = "\xFF";

std::string readText(const std::string& key) {
    std::string out;
    readConfigStringValue(kDomain, key, out, CONFIG_LEVEL_SEARCH);
    return out;
}

void readAndList(const Path& path) {
    std::string out;
    Path list;
    for (const CONFIG_LEVEL level : {CONFIG_LEVEL_USER, CONFIG_LEVEL_SEARCH}) {
        readConfigStringValue(kDomain, path, out, level);
        listConfigKeys(kDomain, path, list, level);
        listConfigKeys(kBad, path, list, level);
    }
}

void writePath(const Path& path, const std::string& value) {
    writeConfigStringValue(kDomain, path, value, CONFIG_LEVEL_USER);
}

void list(const std::string& root) {
    std::set<std::string> out;
    DirectoryLister(root, out);
    FileLister(root, "*", out, true);
}

TEST(LiveObjects, ReturnToTheirNumberAfterEveryOperation) {
    const test::TempHome home;
    const test::AlertRecorder alerts;
    const test::ScopedEnv noOpener("PATH", "");
    const std::string file = test::WriteFile(home.Root() + "/" + kBad + "x", "text");
    int number = 0;
    std::string message;
    std::vector<PluginInfo> plugins;
    const std::pair<const char*, std::function<void()>> operations[] = {
        {"write int", [&] { writeConfigIntValue(kDomain, "n", 1, CONFIG_LEVEL_USER); }},
        {"write int, bad key", [&] { writeConfigIntValue(kDomain, kBad, 1, CONFIG_LEVEL_USER); }},
        {"read int", [&] { readConfigIntValue(kDomain, "n", number, CONFIG_LEVEL_USER); }},
        {"read text of int", [&] { readText("n"); }},
        {"read nothing", [&] { readText("none"); }},
        {"read bad key", [&] { readText(kBad); }},
        {"write text", [&] { writeConfigStringValue(kDomain, "t", "text", CONFIG_LEVEL_USER); }},
        {"write bad text", [&] { writeConfigStringValue(kDomain, "t", kBad, CONFIG_LEVEL_USER); }},
        {"read text", [&] { readText("t"); }},
        {"read int of text", [&] { readConfigIntValue(kDomain, "t", number, CONFIG_LEVEL_USER); }},
        {"write tree", [&] { writePath({"Plugins", "AU", "000", "path"}, "/p"); }},
        {"write in tree", [&] { writePath({"Plugins", "AU", "000", "version"}, "1"); }},
        {"write long text",
         [&] { writePath({"Plugins", "AU", "001", "path"}, std::string(3000, 'x')); }},
        {"write over a dictionary", [&] { writePath({"Plugins", "AU"}, "x"); }},
        {"write below text", [&] { writePath({"t", "a", "b"}, "x"); }},
        {"write bad element", [&] { writePath({"Plugins", "new", kBad, "x"}, "x"); }},
        {"write short path", [&] { writePath({"none"}, "x"); }},
        {"read and list leaf", [&] { readAndList({"Plugins", "AU", "000", "path"}); }},
        {"read and list dictionary", [&] { readAndList({"Plugins", "AU"}); }},
        {"read and list nothing", [&] { readAndList({"Plugins", "none", "x"}); }},
        {"read and list bad element", [&] { readAndList({"Plugins", kBad, "x"}); }},
        {"read and list key", [&] { readAndList({"Plugins"}); }},
        {"read and list domain", [&] { readAndList({}); }},
        {"list plug-ins", [&] { listAUPathVersion("Tavo", "Tarn 12", plugins); }},
        {"list no plug-ins", [&] { listVSTPathVersion("Tavo", "Tarn 12", plugins); }},
        {"register the program", [&] { registerOrmoPlugin("Tavo", "Tarn 12", "AU"); }},
        {"delete", [&] { deleteConfigValue(kDomain, "t", CONFIG_LEVEL_USER); }},
        {"delete bad key", [&] { deleteConfigValue(kDomain, kBad, CONFIG_LEVEL_USER); }},
        {"version of no bundle", [&] { MacGetBundleVersion(home.Root()); }},
        {"version at bad path", [&] { MacGetBundleVersion(kBad); }},
        {"verify", [&] { verifyOrmoSetup("a", "b", file, message); }},
        {"user folders", [&] { setUserPathVendorProduct("a", "b"), getUserPath(); }},
        {"bad user folder", [&] { setUserPathVendorProduct("a", kBad), getUserDesktop(); }},
        {"names", [&] { getUserName(), PGetCurrentApplicationPath(nullptr); }},
        {"copy", [&] { PCopyFile(file, home.Root() + "/copy", true); }},
        {"copy onto", [&] { PCopyFile(file, home.Root() + "/copy", false); }},
        {"copy to bad name", [&] { PCopyFile(file, home.Root() + "/" + kBad, false); }},
        {"exists", [&] { fileExists(file, true), directoryExists(home.Root() + "/none"); }},
        {"convert", [&] { localToFileSystem(file), localToFileSystem(std::string(3000, 'x')); }},
        {"alert", [&] { popupModalMessageWindow(nullptr, "title", "message"); }},
        {"question", [&] { popupModalYesNoWindow(nullptr, "title", "message"); }},
        {"browser", [&] { startBrowser("http://example.invalid"), startBrowser(kBad); }},
        {"log", [&] { ConsoleLogger().init(file); }},
        {"list", [&] { list(home.Root()), list(kBad); }},
    };
    for (const auto& [name, operation] : operations) {
        const CFIndex before = PlatformLiveObjectCount();
        operation();
        EXPECT_EQ(PlatformLiveObjectCount(), before) << name;
    }
    EXPECT_EQ(plugins.size(), 1U);
}

} // namespace
