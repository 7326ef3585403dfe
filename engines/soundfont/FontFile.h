// Which SoundFont of a data directory is played.
#ifndef VELNOR_SOUNDFONT_FONTFILE_H
#define VELNOR_SOUNDFONT_FONTFILE_H

#include <string>

namespace velnor::soundfont {

// The path of the file in `folder` whose name ends in .sf2 or .sf3 (in any case) and is the first
// of them in byte order; links are followed. Throws std::runtime_error with the reason when there
// is none. Thread any, concurrent, may block.
std::string chooseFontFile(const std::string& folder);

} // namespace velnor::soundfont

#endif
