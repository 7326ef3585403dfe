// The component manager: registrations, instances, and the way into a component's entry.
//
// A component bundle's Info.plist lists its components under "VelnorComponents", an array of
// dictionaries with "type", "subtype", "manufacturer" (strings of four characters), "entry" (the
// exported function's name), "name" (text) and "version" (integer). An entry whose codes or
// function are missing or of the wrong type is no registration; a name or version that is counts as
// the function's name or 0. Bundles named *.component are found, in this order, in each folder of
// $VELNOR_COMPONENT_PATH (colon-separated), in $XDG_DATA_HOME/velnor/Components (default
// ~/.local/share) and in DIR/velnor/Components for each DIR of $XDG_DATA_DIRS (default
// /usr/local/share:/usr/share). What the program registers itself comes before them. Of several
// components with the same codes, a search finds the first.
//
// A component's bundle is held while it has instances. The last close gives it back, after code of
// a component that is still running on this thread has returned.
#ifndef VELNOR_PLATFORM_COMPONENTS_H
#define VELNOR_PLATFORM_COMPONENTS_H

#include "platform/CFBase.h"
#include "platform/CFURL.h"

VELNOR_BEGIN_C

typedef struct OpaqueComponent* Component;                 // a registration; lives as the process
typedef struct OpaqueComponentInstance* ComponentInstance; // an open component
typedef SInt32 ComponentResult;
typedef char** Handle; // only ever null

typedef struct ComponentDescription {
    OSType componentType;
    OSType componentSubType;
    OSType componentManufacturer;
    UInt32 componentFlags;
    UInt32 componentFlagsMask;
} ComponentDescription;
VELNOR_ASSERT_OFFSET(ComponentDescription, componentType, 0);
VELNOR_ASSERT_OFFSET(ComponentDescription, componentSubType, 4);
VELNOR_ASSERT_OFFSET(ComponentDescription, componentManufacturer, 8);
VELNOR_ASSERT_OFFSET(ComponentDescription, componentFlags, 12);
VELNOR_ASSERT_OFFSET(ComponentDescription, componentFlagsMask, 16);
VELNOR_ASSERT_SIZE(ComponentDescription, 20);

// What a component's entry is called with. Arguments stand in words of pointer width, the last
// argument of the call first; narrower arguments are sign- or zero-extended as their type says, a
// Float32 stands as its bits in the low half.
typedef struct ComponentParameters {
    UInt8 flags;
    UInt8 paramSize; // bytes of all arguments
    SInt16 what;     // the selector
    uintptr_t params[1];
} ComponentParameters;
VELNOR_ASSERT_OFFSET(ComponentParameters, flags, 0);
VELNOR_ASSERT_OFFSET(ComponentParameters, paramSize, 1);
VELNOR_ASSERT_OFFSET(ComponentParameters, what, 2);
VELNOR_ASSERT_OFFSET(ComponentParameters, params, VELNOR_BY_WIDTH(4, 8));
VELNOR_ASSERT_SIZE(ComponentParameters, VELNOR_BY_WIDTH(8, 16));

// storage is what the component stored for this instance; null before.
typedef ComponentResult (*ComponentEntry)(ComponentParameters* params, void* storage);

enum {
    kComponentOpenSelect = -1,  // (ComponentInstance self)
    kComponentCloseSelect = -2, // (ComponentInstance self)
    kComponentCanDoSelect = -3, // (SInt16 selector)
    kComponentVersionSelect = -4
};
enum {
    badComponentSelector = (SInt32)0x80008002,
    badComponentInstance = (SInt32)0x80008001,
    invalidComponentID = -3000,
    validInstancesExist = -3001,
    componentNotCaptured = -3002,
    couldNotOpenComponent = -3010 // the bundle does not load or lacks the entry
};

// For the host. Thread main, exclusive, may block.

// The registration after previous (null: the first) that matches: a zero code matches any. The
// folders are read on the first call, and again by PlatformRescanComponents.
VELNOR_PLATFORM_API Component FindNextComponent(Component previous,
                                                ComponentDescription* description);
VELNOR_PLATFORM_API SInt32 CountComponents(ComponentDescription* description);
// What to open for a description that an open instance gave, as those of its editors: the match in
// the instance's own bundle, whether a search would come to it or not, else the first that a search
// finds. Products of one plug-in share the codes of their view, and a search knows only the first
// of them. Null for no instance.
VELNOR_PLATFORM_API Component PlatformFindComponentFor(ComponentInstance instance,
                                                       const ComponentDescription* description);
VELNOR_PLATFORM_API void PlatformRescanComponents(void);
// Registers what the bundle at this path lists, and puts up to maximum of its components, in its
// order, into components; *count is how many it lists. fnfErr: no bundle; paramErr: no readable
// registrations; memFullErr. The same bundle registers once.
VELNOR_PLATFORM_API OSStatus PlatformRegisterComponentBundle(const char* path,
                                                             Component* components, UInt32 maximum,
                                                             UInt32* count);
// Null when the bundle does not load or its open selector fails; PlatformOpenComponent says why.
VELNOR_PLATFORM_API ComponentInstance OpenComponent(Component component);
// couldNotOpenComponent also for a status that does not fit 16 bits.
VELNOR_PLATFORM_API OSErr OpenAComponent(Component component, ComponentInstance* instance);
// As OpenComponent, with the full 32-bit status: what the open selector answered,
// couldNotOpenComponent, memFullErr, or invalidComponentID for a pointer that is no component.
VELNOR_PLATFORM_API OSStatus PlatformOpenComponent(Component component,
                                                   ComponentInstance* instance);
// Sends the close selector and frees the instance, whatever the selector answers; the answer is
// the selector's. badComponentInstance: no instance, or one whose open or close selector is still
// running.
VELNOR_PLATFORM_API ComponentResult CloseComponent(ComponentInstance instance);
VELNOR_PLATFORM_API SInt32 CountComponentInstances(Component component);
// 1 or 0; the version as the component answers it.
VELNOR_PLATFORM_API ComponentResult ComponentFunctionImplemented(ComponentInstance instance,
                                                                 SInt16 selector);
VELNOR_PLATFORM_API ComponentResult GetComponentVersion(ComponentInstance instance);
// The registration of an instance.
VELNOR_PLATFORM_API Component PlatformComponentOfInstance(ComponentInstance instance);
// The caller releases: the registered name; the bundle's path; the loader's words on the last
// failed open (null when none failed).
VELNOR_PLATFORM_API CFStringRef PlatformComponentCopyName(Component component);
VELNOR_PLATFORM_API CFStringRef PlatformComponentCopyBundlePath(Component component);
VELNOR_PLATFORM_API CFStringRef PlatformComponentCopyOpenError(Component component);
VELNOR_PLATFORM_API SInt32 PlatformComponentRegisteredVersion(Component component);

// Any selector, for hosts that know more selectors than these headers: builds nothing, enters with
// these parameters. badComponentInstance for null. Thread, concurrency and real-time class are the
// selector's.
VELNOR_PLATFORM_API ComponentResult CallComponentDispatch(ComponentInstance instance,
                                                          ComponentParameters* params);

// For the component.

// component may be a Component or, cast, a ComponentInstance. invalidComponentID for neither;
// paramErr when description is null or name, info or icon is not.
VELNOR_PLATFORM_API OSErr GetComponentInfo(Component component, ComponentDescription* description,
                                           Handle name, Handle info, Handle icon);
// Does nothing for a pointer that is no instance.
VELNOR_PLATFORM_API void SetComponentInstanceStorage(ComponentInstance instance, void* storage);
// Null for null. Thread any, concurrent, nonblocking.
VELNOR_PLATFORM_API void* GetComponentInstanceStorage(ComponentInstance instance);

// A registration without a bundle, for entries that are linked into the program (tests, static
// hosts). Lives as the process.
VELNOR_PLATFORM_API Component
PlatformRegisterComponentEntry(const ComponentDescription* description, ComponentEntry entry,
                               const char* name, SInt32 version);

VELNOR_END_C

#endif
