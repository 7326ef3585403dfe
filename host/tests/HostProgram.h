/* The built velnor-host as a person runs it, in a home of its own. */
#ifndef VELNOR_HOST_TESTS_HOSTPROGRAM_H
#define VELNOR_HOST_TESTS_HOSTPROGRAM_H

#include "platform/tests/TempHome.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velnor::test {

struct Outcome {
    int status; /* exit status; minus the signal that ended it */
    std::string out;
    std::string error;
};

/* A song of quarter notes at 120 beats a minute, 480 ticks each: note numbers as given, a tempo
 * change to 60 after the fourth. */
std::string songOf(const std::vector<int>& notes);

class HostProgram {
public:
    HostProgram();

    TempHome home;

    Outcome run(const std::vector<std::string>& arguments, const std::string& input = "") const;
    /* Starts and sends the signal after so many milliseconds. */
    Outcome runInterrupted(const std::vector<std::string>& arguments, int signal, int after) const;
    /* Installs the component with this engine of the build ("SoundFont", "Probe", "Odd"). */
    Outcome install(const std::string& engine) const;

    std::string path(const std::string& name) const { return home.Root() + "/" + name; }
    std::string song(const std::string& bytes, const std::string& name = "song.mid") const;
    /* Names in the work folder that begin so. */
    std::vector<std::string> filesLike(const std::string& start) const;
};

} // namespace velnor::test

#endif
