# Makes Vestigo.app, which also contains vestigo-scan.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
find_program(RSVG_CONVERT rsvg-convert REQUIRED)

# The keys of Info.plist that the Sparkle framework reads, if the build has it.
set(VESTIGO_UPDATE_KEY "" CACHE STRING "Public EdDSA key that Sparkle checks new versions with")
if(VESTIGO_UPDATE_FEED AND SPARKLE)
    string(REPLACE "&" "&amp;" feed "${VESTIGO_UPDATE_FEED}")
    string(CONFIGURE [[
	<key>SUFeedURL</key>
	<string>@feed@</string>
	<key>SUPublicEDKey</key>
	<string>@VESTIGO_UPDATE_KEY@</string>
]] UPDATER_KEYS @ONLY)
    if(NOT VESTIGO_UPDATE_KEY)
        message(FATAL_ERROR "Sparkle is given a feed: VESTIGO_UPDATE_KEY must be its public key")
    endif()
endif()

configure_file(${CMAKE_CURRENT_LIST_DIR}/Info.plist.in ${CMAKE_BINARY_DIR}/Info.plist @ONLY)
set_target_properties(vestigo PROPERTIES
    MACOSX_BUNDLE ON
    MACOSX_BUNDLE_INFO_PLIST ${CMAKE_BINARY_DIR}/Info.plist
    OUTPUT_NAME Vestigo)

set(drawing ${CMAKE_SOURCE_DIR}/packaging/vestigo.svg)
set(icon ${CMAKE_BINARY_DIR}/vestigo.icns)
add_custom_command(OUTPUT ${icon}
    COMMAND Python3::Interpreter ${CMAKE_CURRENT_LIST_DIR}/make_icns.py
            --renderer ${RSVG_CONVERT} ${drawing} ${icon}
    DEPENDS ${drawing} ${CMAKE_CURRENT_LIST_DIR}/make_icns.py VERBATIM)
set(contents $<TARGET_BUNDLE_CONTENT_DIR:vestigo>)
add_custom_target(vestigo-bundle ALL
    COMMAND ${CMAKE_COMMAND} -E make_directory ${contents}/Resources
    COMMAND ${CMAKE_COMMAND} -E copy_if_different ${icon} ${contents}/Resources
    COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:vestigo-scan> ${contents}/MacOS
    DEPENDS ${icon} VERBATIM)
add_dependencies(vestigo-bundle vestigo vestigo-scan)

if(UPDATER_KEYS)
    # ditto keeps the links within the framework.
    set_target_properties(vestigo PROPERTIES
        BUILD_RPATH @executable_path/../Frameworks INSTALL_RPATH @executable_path/../Frameworks)
    add_custom_command(TARGET vestigo-bundle POST_BUILD
        COMMAND ditto ${SPARKLE} ${contents}/Frameworks/Sparkle.framework VERBATIM)
endif()

install(TARGETS vestigo BUNDLE DESTINATION .)
