// Every test of this program, successes and failures of the library alike, gives back each platform
// object that it came by.
#include "platform/CFBase.h"

#include <gtest/gtest.h>

namespace {

class LiveObjects : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override { mBefore = PlatformLiveObjectCount(); }
    void OnTestEnd(const testing::TestInfo& info) override {
        EXPECT_EQ(PlatformLiveObjectCount(), mBefore) << info.name() << " leaves objects behind";
    }

    CFIndex mBefore = 0;
};

const bool gListens = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new LiveObjects);
    return true;
}();

} // namespace
