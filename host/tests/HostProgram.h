// The built velnor-host as a person runs it, in a home of its own.
#ifndef VELNOR_HOST_TESTS_HOSTPROGRAM_H
#define VELNOR_HOST_TESTS_HOSTPROGRAM_H

#include "testing/TempHome.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velnor::testing {

struct Outcome {
    int status; // exit status; minus the signal that ended it
    std::string out;
    std::string error;
};

// A MIDI file of tracks, whose events are hexadecimal digits; "00FF2F00" ends one.
std::string midiFile(const std::vector<std::string>& tracks, int division = 480);
// A song of quarter notes at 120 beats a minute, 480 ticks each: note numbers as given, a tempo
// change to 60 after the fourth.
std::string songOf(const std::vector<int>& notes);

class HostProgram {
public:
    HostProgram();

    TempHome home;

    // output: a descriptor that is standard output; closed: a standard stream that is closed.
    Outcome run(const std::vector<std::string>& arguments, const std::string& input = "",
                int output = -1, int closed = -1) const;
    // Starts and sends the signal after so many milliseconds.
    Outcome runInterrupted(const std::vector<std::string>& arguments, int signal, int after) const;
    // At a terminal of so many columns; out is all that it shows.
    Outcome runAtTerminal(const std::vector<std::string>& arguments, unsigned short columns) const;
    // Installs the component with this engine of the build ("SoundFont", "Probe", "Odd").
    Outcome install(const std::string& engine, const std::string& component = "") const;
    // A copy of the component, the bytes of whose product record are others from the offset on.
    std::string patchedComponent(std::size_t offset, const std::string& bytes) const;

    std::string path(const std::string& name) const { return home.Root() + "/" + name; }
    std::string song(const std::string& bytes, const std::string& name = "song.mid") const;
    // Names in the work folder that begin so.
    std::vector<std::string> filesLike(const std::string& start) const;

private:
    Outcome runToEnd(const std::vector<std::string>& arguments, int signal, int after, int output,
                     int closed) const;
};

} // namespace velnor::testing

#endif
