#include "platform/CFPreferences.h"
#include "support/BundleVersion.h"
#include "support/InstallationRegistry.h"
#include "testing/LogFile.h"
#include "testing/Testing.h"

#include <dlfcn.h>

namespace velnor::testing {
namespace {

namespace fs = std::filesystem;

constexpr const char* kVendor = "Tavo";
constexpr const char* kProduct = "Tarn 12";
const std::string kDomain = "com.Tavo.Tarn 12";

std::string text(const std::string& key, const std::string& value) {
    return "<key>" + key + "</key><string>" + value + "</string>";
}

std::string number(const std::string& key) {
    return "<key>" + key + "</key><integer>7</integer>";
}

std::string dict(const std::string& key, const std::string& entries) {
    return "<key>" + key + "</key><dict>" + entries + "</dict>";
}

std::string entry(const std::string& slot, const std::string& path, const std::string& version) {
    return dict(slot, text("path", path) + text("version", version));
}

class Registry : public ::testing::Test {
protected:
    Registry() {
        setVersion(text("CFBundleVersion", "1.0.3"));
        fs::create_directories(mBundle + "/Contents/platform");
        fs::copy_file(SUPPORT_TEST_MODULE, mExecutable);
    }
    ~Registry() override {
        if (mModule != nullptr) {
            dlclose(mModule);
        }
    }

    void setVersion(const std::string& info) const {
        WriteFile(mBundle + "/Contents/Info.plist", PlistFile(info));
    }

    // The registry as the user's preferences hold it.
    void store(const std::string& plugins, CFStringRef host = kCFPreferencesAnyHost) const {
        const CFRef<CFStringRef> path(
            PlatformPreferencesCopyPath(String(kDomain).Get(), kCFPreferencesCurrentUser, host));
        WriteFile(Text(path.Get()), PlistFile(plugins));
    }

    // What the bundle answers when it registers itself; mLines are its log messages then.
    bool registerBundle(const char* type = "AU") {
        if (mModule == nullptr) {
            mModule = dlopen(mExecutable.c_str(), RTLD_NOW | RTLD_LOCAL);
        }
        using Register = bool(const char*, const char*, const char*, const char*);
        auto* call = reinterpret_cast<Register*>(dlsym(mModule, "moduleRegister"));
        const std::string log = mHome.Root() + "/module.log";
        const bool result = call(kVendor, kProduct, type, log.c_str());
        const Texts lines = logMessages(log);
        mLines.assign(lines.begin() + 3, lines.end() - 3);
        return result;
    }

    // "slot path version" for each entry.
    static Texts entries(const std::string& type = "AU") {
        std::vector<PluginInfo> list;
        const bool found = listPluginPathVersion(kVendor, kProduct, list, type);
        EXPECT_EQ(found, !list.empty());
        Texts out;
        for (const PluginInfo& info : list) {
            out.push_back(info.slot + " " + info.path + " " + info.version);
        }
        return out;
    }

    const TempHome mHome;
    const std::string mFile = mHome.ConfigHome() + "/velnor/" + kDomain + ".plist";
    const std::string mBundle = mHome.Root() + "/T\xC3\xA4rn.component";
    const std::string mExecutable = mBundle + "/Contents/platform/Tarn";
    const std::string mFound = "I: " + mBundle + "(1.0.3)";
    void* mModule = nullptr;
    Texts mLines;
};

TEST_F(Registry, RecordsOnceAndThenOnlyNewVersions) {
    EXPECT_TRUE(registerBundle());
    EXPECT_THAT(mLines, ElementsAre(mFound));
    EXPECT_THAT(entries(), ElementsAre("000 " + mBundle + " 1.0.3"));
    const auto written = fs::last_write_time(mFile);
    EXPECT_TRUE(registerBundle());
    EXPECT_EQ(fs::last_write_time(mFile), written);

    setVersion(text("CFBundleVersion", "1.1"));
    EXPECT_TRUE(registerBundle());
    EXPECT_THAT(mLines,
                ElementsAre("I: " + mBundle + "(1.1)", "I: version updated from 1.0.3 to 1.1"));
    EXPECT_THAT(entries(), ElementsAre("000 " + mBundle + " 1.1"));
    EXPECT_THAT(entries("VST"), IsEmpty());
    EXPECT_TRUE(registerBundle("VST"));
    std::vector<PluginInfo> both;
    EXPECT_TRUE(listVSTPathVersion(kVendor, kProduct, both));
    EXPECT_TRUE(listAUPathVersion(kVendor, kProduct, both));
    EXPECT_EQ(both.size(), 2U);
}

TEST_F(Registry, ANewPathGoesBehindTheLastListedSlot) {
    for (const auto& [slots, expected] :
         Rows<Texts, std::string>{{{"000", "001"}, "002"},
                                  {{"099"}, "100"},
                                  {{"999", "1000"}, "1001"},
                                  {{"12x"}, "013"},
                                  {{"other"}, "001"},
                                  {{"99999999999999999999"}, "1000000000000000000"}}) {
        std::string list;
        for (const std::string& slot : slots) {
            list += entry(slot, "/p" + slot, "1");
        }
        store(dict("Plugins", dict("AU", list)));
        EXPECT_TRUE(registerBundle());
        EXPECT_THAT(entries(), Contains(expected + " " + mBundle + " 1.0.3"));
    }
}

TEST_F(Registry, IncompleteEntriesAreNotListedAndMatchNothing) {
    store(dict("Plugins", dict("AU", dict("000", text("path", mBundle)) + entry("001", "/p", "1") +
                                         dict("002", text("version", "1")) + text("003", "x") +
                                         entry("004", std::string(3000, 'p'), "1"))));
    EXPECT_TRUE(registerBundle());
    EXPECT_THAT(entries(), ElementsAre("001 /p 1", "002 " + mBundle + " 1.0.3"));
}

TEST_F(Registry, EachFailedWriteHasItsMessageAndResult) {
    const std::string head = "E: writeConfigStringValue(" + kDomain + ", Plugins";
    const std::string a = head + ", " + mBundle + ", 1) failed!";
    const std::string b = head + ",1.0.3, 1) failed!";
    const std::string one = entry("000", "/p", "1");
    for (const auto& [plugins, message, result] : Rows<std::string, std::string, bool>{
             {text("Plugins", "x"), a, false},
             {dict("Plugins", dict("AU", dict("000", number("path")))), a, false},
             {dict("Plugins", dict("AU", dict("000", number("version")))), b, false},
             {dict("Plugins", dict("AU", one + dict("001", number("path")))), a, false},
             {dict("Plugins", dict("AU", one + dict("001", number("version")))), b, true}}) {
        store(plugins);
        EXPECT_EQ(registerBundle(), result) << plugins;
        EXPECT_THAT(mLines, ElementsAre(mFound, message)) << plugins;
    }
}

TEST_F(Registry, AVersionThatCannotBeUpdatedIsReportedAndCountsAsDone) {
    WriteFile(mHome.ConfigDirs() + "/velnor/" + kDomain + ".plist",
              PlistFile(dict("Plugins", dict("VST", entry("000", "/all", "1")))));
    EXPECT_THAT(entries("VST"), IsEmpty());
    store(dict("Plugins", dict("AU", entry("000", mBundle, "0.9"))), kCFPreferencesCurrentHost);
    store(dict("Plugins", dict("AU", dict("000", number("version")))));
    EXPECT_THAT(entries(), ElementsAre("000 " + mBundle + " 0.9"))
        << "slots are the user's own, fields come from the search list";
    EXPECT_TRUE(registerBundle());
    EXPECT_THAT(mLines, ElementsAre(mFound, "I: version updated from 0.9 to 1.0.3",
                                    "E: Error writing Module version"));
}

TEST_F(Registry, BundlesWithoutAReadableVersionSaySo) {
    EXPECT_EQ(MacGetBundleVersion(mBundle), "1.0.3");
    for (const std::string& path : {mHome.Root(), std::string(), std::string("\xFF")}) {
        EXPECT_EQ(MacGetBundleVersion(path), "Can't get version.");
    }
    for (const std::string& info : {std::string(), number("CFBundleVersion"),
                                    text("CFBundleVersion", std::string(1024, '1'))}) {
        setVersion(info);
        EXPECT_EQ(MacGetBundleVersion(mBundle), "Can't get version.");
    }
    setVersion(text("CFBundleVersion", ""));
    EXPECT_EQ(MacGetBundleVersion(mBundle), "");
    setVersion("");
    EXPECT_TRUE(registerBundle());
    EXPECT_THAT(entries(), ElementsAre("000 " + mBundle + " Can't get version."));
    EXPECT_FALSE(registerOrmoPlugin(kVendor, kProduct, "AU")) << "a program is no bundle";
}

} // namespace
} // namespace velnor::testing
