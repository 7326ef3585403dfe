// A tree of controls in a window: frames, visibility, text. Nothing is drawn here; a window
// system's back end reads the tree and presents it. Thread main, exclusive, may block: all calls.
// A pointer that is no live control or window is refused with paramErr or ignored.
#ifndef VELNOR_PLATFORM_CONTROLS_H
#define VELNOR_PLATFORM_CONTROLS_H

#include "platform/CFString.h"

VELNOR_BEGIN_C

typedef struct OpaqueControlRef* ControlRef; // reference-counted: CFRetain and CFRelease take it
typedef ControlRef HIViewRef;
typedef struct OpaqueWindowRef* WindowRef;
typedef UInt32 WindowAttributes;
enum { kWindowNoAttributes = 0, kWindowCompositingAttribute = 1 << 19 };

typedef struct Rect {
    SInt16 top, left, bottom, right;
} Rect;
typedef struct HIPoint {
    Float32 x, y;
} HIPoint;
typedef struct HISize {
    Float32 width, height;
} HISize;
typedef struct HIRect {
    HIPoint origin;
    HISize size;
} HIRect;
typedef HIPoint Float32Point;

typedef struct ControlFontStyleRec {
    SInt16 flags; // which of the following count
    SInt16 font;
    SInt16 size;
    SInt16 style;
    SInt16 mode;
    SInt16 just;
    SInt16 foreColor[3];
    SInt16 backColor[3];
} ControlFontStyleRec;
enum { kControlUseFontMask = 1 };
enum { kControlFontBigSystemFont = -1, kControlFontSmallSystemFont = -2 };

// Windows. The window owns its root control. attributes: compositing or none.
VELNOR_PLATFORM_API OSStatus CreateNewWindow(WindowAttributes attributes, const Rect* bounds,
                                             WindowRef* window);
VELNOR_PLATFORM_API void DisposeWindow(WindowRef window);
VELNOR_PLATFORM_API OSStatus GetWindowAttributes(WindowRef window, WindowAttributes* attributes);
// Borrowed.
VELNOR_PLATFORM_API OSStatus GetRootControl(WindowRef window, ControlRef* root);

enum { kControlSupportsEmbedding = 1 << 1 }; // a feature; every control does

// Making controls. A control made with a window is embedded in its root and owned by it; one made
// with none has one reference, the caller's, which embedding hands over to the parent.
VELNOR_PLATFORM_API OSStatus CreateUserPaneControl(WindowRef window, const Rect* bounds,
                                                   UInt32 features, ControlRef* control);
VELNOR_PLATFORM_API OSStatus CreateStaticTextControl(WindowRef window, const Rect* bounds,
                                                     CFStringRef text,
                                                     const ControlFontStyleRec* style,
                                                     ControlRef* control);
// Takes the control and all below it out of the tree and gives the parent's reference back, or,
// where there is no parent, the maker's. A window's root only loses what is below it.
VELNOR_PLATFORM_API void DisposeControl(ControlRef control);

// The tree. Embedding moves a control from its present parent; paramErr for a cycle.
VELNOR_PLATFORM_API OSStatus EmbedControl(ControlRef control, ControlRef container);
VELNOR_PLATFORM_API OSStatus HIViewAddSubview(HIViewRef parent, HIViewRef child);
VELNOR_PLATFORM_API OSStatus GetSuperControl(ControlRef control, ControlRef* parent);
VELNOR_PLATFORM_API OSStatus CountSubControls(ControlRef control, UInt16* count);
// index from 1; borrowed.
VELNOR_PLATFORM_API OSStatus GetIndexedSubControl(ControlRef control, UInt16 index,
                                                  ControlRef* child);
// Null when the control is in no window.
VELNOR_PLATFORM_API WindowRef GetControlOwner(ControlRef control);

// Geometry, in points, y downwards. A frame (HIView calls) is in the parent's coordinates, and
// stays what it is when the control is embedded elsewhere. The integer calls show the same place,
// cut to integers: in the parent's coordinates too, but in those of the window where the window is
// not compositing. paramErr: a frame that is not finite or of a size below 0.
VELNOR_PLATFORM_API OSStatus HIViewGetFrame(HIViewRef view, HIRect* frame);
VELNOR_PLATFORM_API OSStatus HIViewSetFrame(HIViewRef view, const HIRect* frame);
VELNOR_PLATFORM_API Rect* GetControlBounds(ControlRef control, Rect* bounds);
VELNOR_PLATFORM_API void SetControlBounds(ControlRef control, const Rect* bounds);
VELNOR_PLATFORM_API void SizeControl(ControlRef control, SInt16 width, SInt16 height);
VELNOR_PLATFORM_API void MoveControl(ControlRef control, SInt16 left, SInt16 top);

// Appearance. A new control is visible and needs display.
VELNOR_PLATFORM_API OSStatus HIViewSetVisible(HIViewRef view, Boolean visible);
VELNOR_PLATFORM_API Boolean HIViewIsVisible(HIViewRef view);
VELNOR_PLATFORM_API OSStatus HIViewSetNeedsDisplay(HIViewRef view, Boolean needsDisplay);
VELNOR_PLATFORM_API Boolean HIViewGetNeedsDisplay(HIViewRef view);
VELNOR_PLATFORM_API OSStatus PlatformControlSetText(ControlRef control, CFStringRef text);
// Null for a control without text; the caller releases it.
VELNOR_PLATFORM_API CFStringRef PlatformControlCopyText(ControlRef control);
VELNOR_PLATFORM_API ControlFontStyleRec PlatformControlGetFontStyle(ControlRef control);

VELNOR_END_C

#endif
