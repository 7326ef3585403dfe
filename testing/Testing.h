// What the tests of every layer start from.
#ifndef VELNOR_TESTING_TESTING_H
#define VELNOR_TESTING_TESTING_H

#include "testing/TempHome.h"
#include "testing/Values.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <initializer_list>
#include <thread>
#include <tuple>

namespace velnor::testing {

using namespace ::testing;
using Texts = std::vector<std::string>;

// A table of cases: for (const auto& [in, out] : Rows<int, int>{{1, 2}, {3, 4}}).
template <typename... Columns>
using Rows = std::initializer_list<std::tuple<Columns...>>;

// A test with a folder of its own.
struct InFolder : Test {
    const TempFolder folder;
};

// Bytes from hexadecimal digits; blanks between bytes do not count.
inline std::string FromHex(std::string_view hex) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += hex[i] == ' ' ? 1 : 2) {
        if (hex[i] != ' ') {
            bytes += static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
        }
    }
    return bytes;
}

// Runs work(0), work(1), ... in threads of their own, to their ends.
template <typename Work>
void InThreads(int count, const Work& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&work, i] { work(i); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

inline bool IsLoaded(const std::string& image) {
    void* const found = dlopen(image.c_str(), RTLD_NOLOAD | RTLD_NOW);
    return found != nullptr && dlclose(found) == 0;
}

} // namespace velnor::testing

#endif
