// Listing an installation registry, against reading and parsing its file once. Both start from a
// file that changed, so neither is answered out of a cache.
#include "platform/CFData.h"
#include "platform/CFPropertyList.h"
#include "platform/CFRef.h"
#include "platform/tests/TempHome.h"
#include "support/InstallationRegistry.h"

#include <benchmark/benchmark.h>

namespace {

using velnor::CFRef;

constexpr const char* kVendor = "Tavo";
constexpr const char* kProduct = "Tarn 12";

std::string slot(int index) {
    std::string text = std::to_string(index);
    return std::string(text.size() < 3 ? 3 - text.size() : 0, '0') + text;
}

std::string registryFile(int entries) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                       "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                       "<plist version=\"1.0\">\n<dict>\n\t<key>Plugins</key>\n\t<dict>\n"
                       "\t\t<key>AU</key>\n\t\t<dict>\n";
    for (int i = 0; i < entries; ++i)
        text += "\t\t\t<key>" + slot(i) +
                "</key>\n\t\t\t<dict>\n\t\t\t\t<key>path</key>\n\t\t\t\t<string>"
                "/usr/lib/velnor/Components/Plug-in " +
                std::to_string(i) +
                ".component</string>\n\t\t\t\t<key>version</key>\n\t\t\t\t<string>1.0." +
                std::to_string(i) + "</string>\n\t\t\t</dict>\n";
    return text + "\t\t</dict>\n\t</dict>\n</dict>\n</plist>\n";
}

class RegistryOnDisk {
public:
    explicit RegistryOnDisk(int entries)
        : mContent(registryFile(entries)),
          mPath(mHome.ConfigHome() + "/velnor/com." + kVendor + "." + kProduct + ".plist") {}

    // A cache that compares contents sees a change too.
    void change() {
        velnor::test::WriteFile(mPath, mContent + "<!-- " + std::to_string(++mChanges) + " -->\n");
    }
    const std::string& path() const { return mPath; }

private:
    const velnor::test::TempHome mHome;
    const std::string mContent;
    const std::string mPath;
    int mChanges = 0;
};

bool readAndParse(const std::string& path) {
    const std::string text = velnor::test::ReadFile(path);
    const CFRef<CFDataRef> data(CFDataCreate(kCFAllocatorDefault,
                                             reinterpret_cast<const UInt8*>(text.data()),
                                             static_cast<CFIndex>(text.size())));
    const CFRef<CFPropertyListRef> tree(CFPropertyListCreateWithData(
        kCFAllocatorDefault, data.Get(), kCFPropertyListImmutable, nullptr, nullptr));
    return static_cast<bool>(tree);
}

void ReadAndParse(benchmark::State& state) {
    RegistryOnDisk registry(static_cast<int>(state.range(0)));
    for ([[maybe_unused]] auto unused : state) {
        state.PauseTiming();
        registry.change();
        state.ResumeTiming();
        if (!readAndParse(registry.path()))
            state.SkipWithError("the file does not parse");
    }
}

void ListRegistry(benchmark::State& state) {
    RegistryOnDisk registry(static_cast<int>(state.range(0)));
    for ([[maybe_unused]] auto unused : state) {
        state.PauseTiming();
        registry.change();
        std::vector<velnor::PluginInfo> entries;
        state.ResumeTiming();
        velnor::listAUPathVersion(kVendor, kProduct, entries);
        if (entries.size() != static_cast<std::size_t>(state.range(0)))
            state.SkipWithError("entries are missing");
    }
}

BENCHMARK(ReadAndParse)->Arg(1)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(ListRegistry)->Arg(1)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
