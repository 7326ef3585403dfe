#include "engines/soundfont/Editor.h"

#include <algorithm>

namespace velnor::soundfont {

namespace {

constexpr SInt16 kWidth = 320;
constexpr SInt16 kLineHeight = 16;
constexpr SInt16 kMargin = 8;
constexpr size_t kVoicesLine = kMidiChannels;

Rect lineBounds(size_t line) {
    const auto top = static_cast<SInt16>(kMargin + kLineHeight * static_cast<SInt16>(line));
    return {top, kMargin, static_cast<SInt16>(top + kLineHeight),
            static_cast<SInt16>(kWidth - kMargin)};
}

// A SoundFont's names may be in any encoding: what is not ASCII is shown as a question mark, unless
// the whole is UTF-8.
CFRef<CFStringRef> makeString(std::string text) {
    CFRef<CFStringRef> string(
        CFStringCreateWithCString(nullptr, text.c_str(), kCFStringEncodingUTF8));
    if (!string) {
        std::replace_if(
            text.begin(), text.end(), [](char c) { return static_cast<signed char>(c) < 0; }, '?');
        string.Reset(CFStringCreateWithCString(nullptr, text.c_str(), kCFStringEncodingASCII));
    }
    return string;
}

std::string programLine(size_t channel, const InstanceStatus* status) {
    const bool isKnown = status != nullptr && !status->programs[channel].empty();
    return "Channel " + std::to_string(channel + 1) + ": " +
           (isKnown ? status->programs[channel] : "-");
}

std::string voicesLine(const InstanceStatus* status) {
    return "Voices: " + (status != nullptr ? std::to_string(status->activeVoices) : "-");
}

} // namespace

Editor::~Editor() {
    ControlRef container = nullptr;
    if (mRoot) {
        GetSuperControl(mRoot.Get(), &container);
    }
    // A root that was handed out and is in no container any more has no creator's reference left.
    if (container != nullptr || (mRoot && !mWasHandedOut)) {
        DisposeControl(mRoot.Get());
    }
}

bool Editor::open() {
    const Rect bounds{0, 0, static_cast<SInt16>(2 * kMargin + kLineHeight * SInt16{kLines}),
                      kWidth};
    ControlRef root = nullptr;
    if (mRoot || CreateUserPaneControl(nullptr, &bounds, 0, &root) != noErr) {
        return static_cast<bool>(mRoot);
    }
    mRoot = CFRef<ControlRef>::Retained(root);
    for (size_t line = 0; line < kLines; ++line) {
        if (!addLine(line)) {
            return false;
        }
    }
    show(nullptr);
    return true;
}

bool Editor::addLine(size_t line) {
    const ControlFontStyleRec style{
        kControlUseFontMask, kControlFontSmallSystemFont, 0, 0, 0, 0, {}, {}};
    const Rect bounds = lineBounds(line);
    const CFRef<CFStringRef> empty = makeString("");
    ControlRef control = nullptr;
    if (CreateStaticTextControl(nullptr, &bounds, empty.Get(), &style, &control) != noErr) {
        return false;
    }
    mLines[line] = CFRef<ControlRef>::Retained(control);
    if (EmbedControl(control, mRoot.Get()) != noErr) {
        DisposeControl(control);
        return false;
    }
    return true;
}

ControlRef Editor::view() {
    mWasHandedOut = static_cast<bool>(mRoot);
    return mRoot.Get();
}

void Editor::show(const InstanceStatus* status) {
    for (size_t channel = 0; channel < kMidiChannels; ++channel) {
        setLine(channel, programLine(channel, status));
    }
    setLine(kVoicesLine, voicesLine(status));
}

void Editor::setLine(size_t line, const std::string& text) {
    if (!mLines[line] || mTexts[line] == text) {
        return;
    }
    mTexts[line] = text;
    const CFRef<CFStringRef> string = makeString(text);
    PlatformControlSetText(mLines[line].Get(), string.Get());
    HIViewSetNeedsDisplay(mLines[line].Get(), true);
}

} // namespace velnor::soundfont
