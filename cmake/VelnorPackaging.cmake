# What an installation holds besides the host: the platform library, the contract for engine makers,
# and the bundles, where instruments are found. `cmake --install` and `cpack` use it. Both widths fit
# into one prefix: they share the bundles, and have a library each in a folder of its own.
include(GNUInstallDirs)
set(libraries "${CMAKE_INSTALL_LIBDIR}/velnor/${VELNOR_PLATFORM_FOLDER}")
set(components "${CMAKE_INSTALL_DATADIR}/velnor/Components/Velnor.component/Contents")
set(engines "${CMAKE_INSTALL_DATADIR}/velnor/Engines/SoundFont.engine/Contents")

# The host of this machine's own width is velnor-host, the other one velnor-host-32.
if(VELNOR_WIDTH STREQUAL lp64)
    set(programs "${CMAKE_INSTALL_BINDIR}")
else()
    set(programs "${CMAKE_INSTALL_LIBEXECDIR}/velnor/${VELNOR_PLATFORM_FOLDER}")
    file(RELATIVE_PATH program "/${CMAKE_INSTALL_BINDIR}" "/${programs}/velnor-host")
    file(CREATE_LINK "${program}" "${CMAKE_BINARY_DIR}/velnor-host-32" SYMBOLIC)
    install(FILES "${CMAKE_BINARY_DIR}/velnor-host-32" DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()

# Wherever the installation lies, its binaries find the platform library.
function(velnor_find_libraries_from folder module)
    file(RELATIVE_PATH path "/${folder}" "/${libraries}")
    set_target_properties(${module} PROPERTIES INSTALL_RPATH "$ORIGIN/${path}")
endfunction()
velnor_find_libraries_from("${components}/${VELNOR_PLATFORM_FOLDER}" velnor_component)
velnor_find_libraries_from("${engines}/${VELNOR_PLATFORM_FOLDER}" soundfont_engine)
velnor_find_libraries_from("${programs}" velnor-host)

install(TARGETS velnor_platform LIBRARY DESTINATION "${libraries}" NAMELINK_SKIP)
install(TARGETS velnor-host RUNTIME DESTINATION "${programs}")
install(FILES bridge/OrmoEngine.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/velnor)
install(FILES README.md LICENSE docs/architecture.md docs/formats.md docs/performance.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(TARGETS velnor_component LIBRARY DESTINATION "${components}/${VELNOR_PLATFORM_FOLDER}")
install(FILES "${VELNOR_BUNDLE_DIR}/Velnor.component/Contents/Info.plist" DESTINATION "${components}")
install(TARGETS soundfont_engine LIBRARY DESTINATION "${engines}/${VELNOR_PLATFORM_FOLDER}")
install(FILES "${VELNOR_BUNDLE_DIR}/SoundFont.engine/Contents/Info.plist" DESTINATION "${engines}")

set(CPACK_GENERATOR TGZ)
set(CPACK_PACKAGE_NAME velnor-bridge)
set(CPACK_STRIP_FILES ON)
include(CPack)
