# The packaged libraries as imported targets velnor::NAME, for either width.
#
# The 64-bit libraries are the system's. The 32-bit ones are unpacked by scripts/i386-libraries.sh
# under build/i386/sysroot; their headers are the system's too.
set(VELNOR_I386_ROOT "${CMAKE_SOURCE_DIR}/build/i386/sysroot" CACHE PATH "Root of the 32-bit packages")

find_package(PkgConfig REQUIRED)

function(velnor_import name module library)
    if(VELNOR_WIDTH STREQUAL lp64)
        pkg_check_modules(${name}_pc REQUIRED IMPORTED_TARGET ${module})
        add_library(velnor::${name} ALIAS PkgConfig::${name}_pc)
        return()
    endif()
    set(folder "${VELNOR_I386_ROOT}/usr/lib/i386-linux-gnu")
    if(NOT EXISTS "${folder}/${library}")
        message(FATAL_ERROR "${folder}/${library} is missing; run scripts/i386-libraries.sh")
    endif()
    pkg_check_modules(${name}_pc QUIET ${module})
    add_library(velnor_${name} INTERFACE)
    target_include_directories(velnor_${name} SYSTEM INTERFACE ${${name}_pc_INCLUDE_DIRS})
    target_link_libraries(velnor_${name} INTERFACE "${folder}/${library}" ${ARGN})
    # RPATH, not RUNPATH: it must hold for the libraries' own libraries too.
    target_link_options(velnor_${name} INTERFACE -Wl,--disable-new-dtags
        "-Wl,-rpath,${folder}:${folder}/pulseaudio:${VELNOR_I386_ROOT}/lib/i386-linux-gnu"
        "-Wl,-rpath-link,${folder}:${folder}/pulseaudio:${VELNOR_I386_ROOT}/lib/i386-linux-gnu")
    add_library(velnor::${name} ALIAS velnor_${name})
endfunction()

velnor_import(plist libplist-2.0 libplist-2.0.so.3)
velnor_import(tinyxml tinyxml libtinyxml.so.2.6.2)
# The 32-bit libpulse, which FluidSynth needs, looks for its private library under /usr alone: what
# links FluidSynth brings that library along, so that it is there already.
if(VELNOR_WIDTH STREQUAL ilp32)
    file(GLOB pulse_private "${VELNOR_I386_ROOT}/usr/lib/i386-linux-gnu/pulseaudio/libpulsecommon-*.so")
    set(fluidsynth_private -Wl,--push-state,--no-as-needed ${pulse_private} -Wl,--pop-state)
endif()
velnor_import(fluidsynth fluidsynth libfluidsynth.so.3 ${fluidsynth_private})
velnor_import(sndfile sndfile libsndfile.so.1)
