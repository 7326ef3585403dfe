// What the test component and its tests share.
#ifndef VELNOR_PLATFORM_TESTS_COMPONENT_TESTCOMPONENT_H
#define VELNOR_PLATFORM_TESTS_COMPONENT_TESTCOMPONENT_H

#include "platform/Components.h"

inline constexpr SInt16 kSumSelect = 100;
inline constexpr SInt16 kCloseSelect = 101;
inline constexpr SInt32 kTestVersion = 0x00020001;
inline constexpr SInt32 kClosedAnswer = 4711;

// When set, the open selector answers this number.
inline constexpr const char* kOpenStatusVariable = "VELNOR_TEST_OPEN_STATUS";

#endif
