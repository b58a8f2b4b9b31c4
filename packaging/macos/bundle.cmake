# Makes the program a Mac application that `cmake --install` completes with Qt's frameworks and
# plug-ins. Included by src/CMakeLists.txt on macOS alone.

set(QUILLMERE_BUNDLE_IDENTIFIER "org.example.quillmere" CACHE STRING
    "Bundle identifier; a reserved name that belongs to nobody unless the deployer sets it")
option(QUILLMERE_QUARANTINE_DOWNLOADS
    "Mark what Quillmere downloads, so that Gatekeeper examines it before it is opened" ON)

# What the template Info.plist.in takes besides the target's properties.
string(TIMESTAMP bundle_year "%Y" UTC)
string(REPLACE "_" " " bundle_author "${QUILLMERE_AUTHOR}")
string(REPLACE "&" "&amp;" bundle_author "${bundle_author}")
string(REPLACE "<" "&lt;" bundle_author "${bundle_author}")
set(bundle_quarantine "<false/>")
if(QUILLMERE_QUARANTINE_DOWNLOADS)
    set(bundle_quarantine "<true/>")
endif()

set(bundle_icon ${PROJECT_SOURCE_DIR}/resources/images/AppIcon.icns)
target_sources(quillmere PRIVATE ${bundle_icon})
set_source_files_properties(${bundle_icon} PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
set_target_properties(quillmere PROPERTIES
    OUTPUT_NAME Quillmere
    MACOSX_BUNDLE TRUE
    MACOSX_BUNDLE_INFO_PLIST ${CMAKE_CURRENT_LIST_DIR}/Info.plist.in
    MACOSX_BUNDLE_BUNDLE_NAME ${PROJECT_NAME}
    MACOSX_BUNDLE_GUI_IDENTIFIER ${QUILLMERE_BUNDLE_IDENTIFIER}
    MACOSX_BUNDLE_ICON_FILE AppIcon
    # Both spelled out: Qt's default drops a version's last number.
    MACOSX_BUNDLE_BUNDLE_VERSION ${PROJECT_VERSION}
    MACOSX_BUNDLE_SHORT_VERSION_STRING ${PROJECT_VERSION})

install(TARGETS quillmere BUNDLE DESTINATION .)
if(Qt6_VERSION VERSION_LESS 6.5)
    qt_generate_deploy_app_script(TARGET quillmere FILENAME_VARIABLE deploy_script)
else()
    qt_generate_deploy_app_script(TARGET quillmere OUTPUT_SCRIPT deploy_script)
endif()
install(SCRIPT ${deploy_script})
