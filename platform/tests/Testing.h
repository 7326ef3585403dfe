/* What the tests of every layer start from. */
#ifndef VELNOR_PLATFORM_TESTS_TESTING_H
#define VELNOR_PLATFORM_TESTS_TESTING_H

#include "platform/tests/TempHome.h"
#include "platform/tests/Values.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <thread>
#include <tuple>

namespace velnor::test {

using namespace testing;
using Texts = std::vector<std::string>;

/* A table of cases: for (const auto& [in, out] : Rows<int, int>{{1, 2}, {3, 4}}). */
template <typename... Columns>
using Rows = std::initializer_list<std::tuple<Columns...>>;

} // namespace velnor::test

#endif
