#include "host/job/TemporaryNames.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <limits.h>
#include <unistd.h>

namespace velnor::host {

namespace {

// In use while its flag is set; its name is written before that.
struct Slot {
    std::atomic<bool> used{false};
    std::array<char, PATH_MAX> name{};
};

constexpr int kMostFiles = 64;
std::array<Slot, kMostFiles> sSlots;

} // namespace

int takeTemporaryName(const std::string& name) {
    for (int i = 0; i < kMostFiles; ++i) {
        Slot& slot = sSlots[static_cast<std::size_t>(i)];
        if (slot.used || name.size() >= slot.name.size()) {
            continue;
        }
        std::memcpy(slot.name.data(), name.c_str(), name.size() + 1);
        slot.used = true;
        return i;
    }
    return -1;
}

void giveTemporaryName(int slot) {
    if (slot >= 0) {
        sSlots[static_cast<std::size_t>(slot)].used = false;
    }
}

void removeTemporaryFiles() {
    for (Slot& slot : sSlots) {
        if (slot.used) {
            unlink(slot.name.data());
        }
    }
}

} // namespace velnor::host
