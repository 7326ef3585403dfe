// What machine and system this is. Thread any, concurrent, may block.
#ifndef VELNOR_PLATFORM_SYSTEMQUERIES_H
#define VELNOR_PLATFORM_SYSTEMQUERIES_H

#include "platform/Types.h"

VELNOR_BEGIN_C

// 0, or -1 with errno set (ENOENT: unknown or unavailable; ENOMEM: *oldLength too small; EPERM:
// newValue, which must be null). *oldLength becomes the value's size; a null old asks only for it.
//   hw.cpufrequency  u64, Hz: nominal, else highest, else present clock of the first processor
//   hw.activecpu     i32, processors switched on
//   hw.optional.mmx, .sse, .sse2, .sse3  i32, 0 or 1
VELNOR_PLATFORM_API int sysctlbyname(const char* name, void* old, size_t* oldLength, void* newValue,
                                     size_t newLength);

enum {
    gestaltSystemVersionMajor = VELNOR_FOUR_CHAR_CODE('s', 'y', 's', '1'),
    gestaltSystemVersionMinor = VELNOR_FOUR_CHAR_CODE('s', 'y', 's', '2'),
    gestaltSystemVersionBugFix = VELNOR_FOUR_CHAR_CODE('s', 'y', 's', '3'),
    gestaltUndefSelectorErr = -5551
};
// The kernel release's first three numbers (6.1.0). *response is 0 on failure.
VELNOR_PLATFORM_API OSErr Gestalt(OSType selector, SInt32* response);

typedef UInt32 mach_port_t;
typedef int kern_return_t;
typedef int host_flavor_t;
typedef UInt32 mach_msg_type_number_t;
enum { KERN_SUCCESS = 0, KERN_FAILURE = 5 };
enum { HOST_BASIC_INFO = 1, HOST_VM_INFO = 2 };

typedef struct host_basic_info {
    SInt32 avail_cpus;
    UInt64 max_mem; // physical memory, bytes
} host_basic_info_data_t;

typedef struct vm_statistics {
    UInt64 free_count; // pages that nothing uses, the kernel's file cache neither
} vm_statistics_data_t;

enum {
    HOST_BASIC_INFO_COUNT = sizeof(host_basic_info_data_t) / sizeof(SInt32),
    HOST_VM_INFO_COUNT = sizeof(vm_statistics_data_t) / sizeof(SInt32)
};

VELNOR_PLATFORM_API mach_port_t mach_host_self(void);
// flavor HOST_VM_INFO; *count is the record's room in 32-bit words, then what was written.
// KERN_FAILURE for another host or flavor, too little room, or a kernel that does not say.
VELNOR_PLATFORM_API kern_return_t host_statistics(mach_port_t host, host_flavor_t flavor,
                                                  void* info, mach_msg_type_number_t* count);
// The same for flavor HOST_BASIC_INFO.
VELNOR_PLATFORM_API kern_return_t host_info(mach_port_t host, host_flavor_t flavor, void* info,
                                            mach_msg_type_number_t* count);
// Bytes of a page.
VELNOR_PLATFORM_API extern const size_t vm_page_size;

VELNOR_END_C

#endif
