// The setup check on any file content: no crash, and a message exactly when it fails.
#include "fuzz/FuzzCheck.h"
#include "support/SetupFile.h"

#include <sys/mman.h>
#include <unistd.h>

namespace {

bool isKnown(const std::string& message) {
    for (const char* start : {"Could not load file", "Could not find OrmoSetup element",
                              "incorrect vendor in file ", "incorrect product in file "}) {
        if (message.starts_with(start))
            return true;
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    static const int file = memfd_create("setup", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    FUZZ_CHECK(ftruncate(file, 0) == 0);
    FUZZ_CHECK(pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
    std::string message;
    const bool good = velnor::verifyOrmoSetup("Tavo", "Tarn 12", path, message);
    FUZZ_CHECK(good ? message.empty() : isKnown(message));
    return 0;
}
