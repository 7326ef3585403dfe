#include "platform/LoadedImages.h"

#include "platform/system/MappedFile.h"

#include <functional>
#include <link.h>
#include <string>

namespace velnor {
namespace {

using ImageVisitor = std::function<bool(const dl_phdr_info&)>;

// Calls visit for the images in load order until it returns true.
void VisitImages(ImageVisitor visit) {
    dl_iterate_phdr(
        [](dl_phdr_info* info, size_t, void* context) {
            return static_cast<int>((*static_cast<ImageVisitor*>(context))(*info));
        },
        &visit);
}

// Calls visit for one image; false when there is none of that index.
bool VisitImage(UInt32 index, const std::function<void(const dl_phdr_info&)>& visit) {
    bool found = false;
    UInt32 position = 0;
    VisitImages([&](const dl_phdr_info& info) {
        found = position++ == index;
        if (found) {
            visit(info);
        }
        return found;
    });
    return found;
}

const mach_header* HeaderAt(uintptr_t address) {
    return reinterpret_cast<const mach_header*>(address);
}

// The address of the image's first loaded byte.
uintptr_t FirstByte(const dl_phdr_info& info) {
    for (int i = 0; i < info.dlpi_phnum; ++i) {
        const auto& segment = info.dlpi_phdr[i];
        if (segment.p_type == PT_LOAD) {
            return info.dlpi_addr + segment.p_vaddr - segment.p_offset;
        }
    }
    return info.dlpi_addr;
}

bool Holds(const dl_phdr_info& info, uintptr_t address) {
    for (int i = 0; i < info.dlpi_phnum; ++i) {
        const auto& segment = info.dlpi_phdr[i];
        const uintptr_t start = info.dlpi_addr + segment.p_vaddr;
        if (segment.p_type == PT_LOAD && address >= start && address - start < segment.p_memsz) {
            return true;
        }
    }
    return false;
}

} // namespace
} // namespace velnor

UInt32 _dyld_image_count(void) {
    UInt32 count = 0;
    velnor::VisitImages([&](const dl_phdr_info&) {
        ++count;
        return false;
    });
    return count;
}

const mach_header* _dyld_get_image_header(UInt32 index) {
    const mach_header* header = nullptr;
    velnor::VisitImage(index, [&](const dl_phdr_info& info) {
        header = velnor::HeaderAt(velnor::FirstByte(info));
    });
    return header;
}

const char* _dyld_get_image_name(UInt32 index) {
    thread_local std::string name;
    uintptr_t address = 0;
    const bool found = velnor::VisitImage(index, [&](const dl_phdr_info& info) {
        name = info.dlpi_name ? info.dlpi_name : "";
        address = velnor::FirstByte(info);
    });
    if (!found) {
        return nullptr;
    }
    // The loader keeps no name for the program, and a relative one as it was given.
    if (!name.starts_with('/')) {
        name = velnor::MappedFilePath(address).value_or(name);
    }
    return name.c_str();
}

const mach_header* PlatformImageHeaderForAddress(const void* address) {
    const mach_header* header = nullptr;
    velnor::VisitImages([&](const dl_phdr_info& info) {
        if (!velnor::Holds(info, reinterpret_cast<uintptr_t>(address))) {
            return false;
        }
        header = velnor::HeaderAt(velnor::FirstByte(info));
        return true;
    });
    return header;
}
