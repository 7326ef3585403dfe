# What an installation holds besides the host: the platform library, the contract for engine makers,
# and the bundles, where instruments are found. `cmake --install` and `cpack` use it.
include(GNUInstallDirs)
set(components "${CMAKE_INSTALL_DATADIR}/velnor/Components/Velnor.component/Contents")
set(engines "${CMAKE_INSTALL_DATADIR}/velnor/Engines/SoundFont.engine/Contents")

# Wherever the installation lies, its bundles find the platform library.
function(velnor_find_libraries_from folder module)
    file(RELATIVE_PATH libraries "/${folder}/${VELNOR_PLATFORM_FOLDER}" "/${CMAKE_INSTALL_LIBDIR}")
    set_target_properties(${module} PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries}")
endfunction()
velnor_find_libraries_from("${components}" velnor_component)
velnor_find_libraries_from("${engines}" soundfont_engine)

install(TARGETS velnor_platform LIBRARY NAMELINK_SKIP)
install(FILES bridge/OrmoEngine.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/velnor)
install(FILES README.md LICENSE docs/architecture.md docs/formats.md docs/performance.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(TARGETS velnor_component LIBRARY DESTINATION "${components}/${VELNOR_PLATFORM_FOLDER}")
install(FILES bridge/Info.plist DESTINATION "${components}")
install(TARGETS soundfont_engine LIBRARY DESTINATION "${engines}/${VELNOR_PLATFORM_FOLDER}")
install(FILES engines/soundfont/Info.plist DESTINATION "${engines}")

set(CPACK_GENERATOR TGZ)
set(CPACK_PACKAGE_NAME velnor-bridge)
set(CPACK_STRIP_FILES ON)
include(CPack)
