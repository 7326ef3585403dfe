// The engine's editor: a pane with one line for each MIDI channel's program and one for the voices
// that sound.
#ifndef VELNOR_ENGINES_SOUNDFONT_EDITOR_H
#define VELNOR_ENGINES_SOUNDFONT_EDITOR_H

#include "bridge/OrmoEngine.h"
#include "engines/soundfont/Instance.h"
#include "platform/CFRef.h"
#include "platform/Controls.h"

#include <array>
#include <cstddef>
#include <string>

namespace velnor::soundfont {

// Thread main, exclusive, may block: all calls.
class Editor {
public:
    explicit Editor(OrmoEngineHandle engine) : mEngine(engine) {}
    ~Editor();
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;

    // Builds the controls, in no window yet. False when they cannot be made.
    bool open();
    // The control to embed; null before open. Its one reference goes to the container that embeds
    // it.
    ControlRef view();

    OrmoEngineHandle engine() const { return mEngine; }
    void setAttached(bool isAttached) { mIsAttached = isAttached; }
    bool isAttached() const { return mIsAttached; }

    // Null when there is nothing to show.
    void show(const InstanceStatus* status);

private:
    static constexpr size_t kLines = kMidiChannels + 1;

    bool addLine(size_t line);
    void setLine(size_t line, const std::string& text);

    OrmoEngineHandle mEngine;
    bool mIsAttached = false;
    bool mWasHandedOut = false;
    CFRef<ControlRef> mRoot; // beside the creator's reference, which view() gives away
    std::array<CFRef<ControlRef>, kLines> mLines;
    std::array<std::string, kLines> mTexts;
};

} // namespace velnor::soundfont

#endif
