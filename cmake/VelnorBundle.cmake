# velnor_add_bundle(TARGET NAME EXTENSION INFO_PLIST)
#
# Makes the module target's file the executable of a bundle:
#   <VELNOR_BUNDLE_DIR>/NAME.EXTENSION/Contents/Info.plist
#   <VELNOR_BUNDLE_DIR>/NAME.EXTENSION/Contents/<platform folder>/NAME
# In the Info.plist @PROJECT_VERSION@ stands for the version and @VELNOR_VERSION_CODE@ for the same as
# a component's version number.
# The target property VELNOR_BUNDLE holds the bundle's path.
function(velnor_add_bundle target name extension info_plist)
    set(bundle "${VELNOR_BUNDLE_DIR}/${name}.${extension}")
    set_target_properties(${target} PROPERTIES
        PREFIX "" SUFFIX "" OUTPUT_NAME "${name}"
        LIBRARY_OUTPUT_DIRECTORY "${bundle}/Contents/${VELNOR_PLATFORM_FOLDER}"
        VELNOR_BUNDLE "${bundle}")
    configure_file("${info_plist}" "${bundle}/Contents/Info.plist" @ONLY)
endfunction()
