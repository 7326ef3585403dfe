#include "host/tests/RenderFixture.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

namespace velnor::testing {
namespace {

namespace fs = std::filesystem;

// The document's commands, run as they stand there in a copy of the folder that they name.
struct EngineMaker : RenderFixture {
    int runDocument() const {
        for (const char* folder : {"engines", "bridge", "examples"}) {
            fs::create_symlink(fs::path(VELNOR_SOURCE_DIR) / folder, program.path(folder));
        }
        fs::create_directory(program.path("build"));
        fs::create_symlink(VELNOR_BUNDLE_DIR, program.path("build/release-bundles"));
        const std::string document = ReadFile(VELNOR_SOURCE_DIR "/engines/soundfont/README.md");
        const std::string begin = "\n```sh\n";
        const std::size_t at = document.find(begin) + begin.size();
        WriteFile(program.path("commands"), document.substr(at, document.find("```\n", at) - at));
        const std::string programs = fs::path(VELNOR_HOST_PROGRAM).parent_path();
        const ScopedEnv path("PATH", (programs + ":" + std::getenv("PATH")).c_str());
        return std::system(
            ("cd '" + home() + "' && sh -eu commands >out 2>&1 || { cat out; false; }").c_str());
    }
    const std::string& home() const { return program.home.Root(); }
};

TEST_F(EngineMaker, FollowsTheDocumentAndHearsHisEngine) {
    ASSERT_EQ(runDocument(), 0);
    for (const auto& [folder, elfClass] :
         Rows<std::string, char>{{"i386-linux", 1}, {"x86_64-linux", 2}}) {
        EXPECT_EQ(ReadFile(program.path("build/Tone.engine/Contents/" + folder + "/Tone")).at(4),
                  elfClass);
    }
    const std::string out = program.path("a.raw");
    ASSERT_EQ(
        program.run({"render", program.song(songOf({69})), "-o", out, "--bits", "float"}).status,
        0);
    const std::string bytes = ReadFile(out);
    std::vector<float> samples(bytes.size() / sizeof(float));
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
    int crossings = 0;
    for (std::size_t frame = 4410; frame < 4410 + 17640; ++frame) { // four tenths of a second
        crossings += std::signbit(samples[2 * frame]) != std::signbit(samples[2 * frame + 2]);
    }
    EXPECT_NEAR(crossings, 352, 1) << "440 Hz";
}

} // namespace
} // namespace velnor::testing
