// Listing an installation registry, against reading and parsing its file once. The file has
// changed, so that no cache answers, and some time ago, so that its date tells of every change.
#include "bench/Measure.h"
#include "bench/ReadAndParse.h"
#include "support/InstallationRegistry.h"
#include "testing/TempHome.h"

#include <chrono>
#include <thread>

namespace {

using namespace velnor::bench;

constexpr const char* kVendor = "Tavo";
constexpr const char* kProduct = "Tarn 12";
constexpr const char* kOtherProduct = "Tarn 13";

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
    for (int i = 0; i < entries; ++i) {
        text += "\t\t\t<key>" + slot(i) +
                "</key>\n\t\t\t<dict>\n\t\t\t\t<key>path</key>\n\t\t\t\t<string>"
                "/usr/lib/velnor/Components/Plug-in " +
                std::to_string(i) +
                ".component</string>\n\t\t\t\t<key>version</key>\n\t\t\t\t<string>1.0." +
                std::to_string(i) + "</string>\n\t\t\t</dict>\n";
    }
    return text + "\t\t</dict>\n\t</dict>\n</dict>\n</plist>\n";
}

// Of two products, each in a file of its own.
class RegistriesOnDisk {
public:
    explicit RegistriesOnDisk(int entries) : mContent(registryFile(entries)) {}

    std::string path(const char* product) const {
        return mHome.ConfigHome() + "/velnor/com." + kVendor + "." + product + ".plist";
    }
    void change() {
        ++mChanges;
        for (const char* product : {kProduct, kOtherProduct}) {
            velnor::testing::WriteFile(path(product),
                                       mContent + "<!-- " + std::to_string(mChanges) + " -->\n");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }

private:
    const velnor::testing::TempHome mHome;
    const std::string mContent;
    int mChanges = 0;
};

// Whoever comes first pays for cold memory: the other product's registry does.
void ListRegistry(benchmark::State& state) {
    const auto count = static_cast<std::size_t>(state.range(0));
    RegistriesOnDisk registries(static_cast<int>(count));
    Best ours, peer;
    for ([[maybe_unused]] auto unused : state) {
        registries.change();
        bool parses = readAndParse(registries.path(kOtherProduct));
        peer.add(processorNanoseconds([&] { parses &= readAndParse(registries.path(kProduct)); }));
        std::vector<velnor::PluginInfo> others, entries;
        velnor::listAUPathVersion(kVendor, kOtherProduct, others);
        ours.add(
            processorNanoseconds([&] { velnor::listAUPathVersion(kVendor, kProduct, entries); }));
        if (others.size() != count || entries.size() != count || !parses) {
            state.SkipWithError("entries are missing");
        }
    }
    report(state, ours, peer, 1);
}
BENCHMARK(ListRegistry)->Arg(1)->Iterations(rounds(200));
BENCHMARK(ListRegistry)->Arg(100)->Iterations(rounds(100));
BENCHMARK(ListRegistry)->Arg(1000)->Iterations(rounds(60));

} // namespace

BENCHMARK_MAIN();
