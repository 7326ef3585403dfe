// An installed host program of its own for each test of rendering, and a song to play.
#ifndef VELNOR_HOST_TESTS_RENDERFIXTURE_H
#define VELNOR_HOST_TESTS_RENDERFIXTURE_H

#include "host/tests/HostProgram.h"
#include "testing/Testing.h"

#include <string>
#include <vector>

namespace velnor::testing {

inline const std::vector<int> kTune = {60, 64, 67, 72, 71, 67, 64, 60};

class RenderFixture : public ::testing::Test {
protected:
    HostProgram program;
    std::string tune = program.song(songOf(kTune));
};

} // namespace velnor::testing

#endif
