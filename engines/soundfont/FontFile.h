// Which SoundFont of a data directory is played.
#ifndef VELNOR_ENGINES_SOUNDFONT_FONTFILE_H
#define VELNOR_ENGINES_SOUNDFONT_FONTFILE_H

#include <string>

namespace velnor::soundfont {

// The path of the file in `folder` whose name ends in .sf2 or .sf3 (in any case) and is the first
// of them in byte order; links are followed. Throws std::runtime_error with the reason when there
// is none. Thread any, concurrent, may block.
std::string chooseFontFile(const std::string& folder);

// Throws std::runtime_error when the file is no SoundFont or ends early. FluidSynth would find that
// too, but then tries the file in other formats, and a library of those prints its own complaints.
// Thread any, concurrent, may block.
void checkFontFile(const std::string& path);

} // namespace velnor::soundfont

#endif
