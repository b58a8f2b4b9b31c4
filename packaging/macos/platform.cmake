# Which macOS a build needs, and which Xcode cannot build it; functions only, so that a script can
# ask them too.

# quillmere_least_macos(<variable> <Qt's version> <the least macOS that Qt itself names, or "">)
# Quillmere's own least is 12; newer Qt needs newer, and builds for older ones without a word.
function(quillmere_least_macos result qt_version qt_least)
    set(least 12.0)
    if(qt_least)
        set(wanted ${qt_least})
    elseif(qt_version VERSION_GREATER_EQUAL 6.12)
        set(wanted 14.4)
    elseif(qt_version VERSION_GREATER_EQUAL 6.10)
        set(wanted 13.0)
    else()
        set(wanted 12.0)
    endif()
    if(NOT wanted MATCHES "\\.")
        string(APPEND wanted ".0")
    endif()
    if(wanted VERSION_GREATER least)
        set(least ${wanted})
    endif()
    set(${result} ${least} PARENT_SCOPE)
endfunction()

# quillmere_sdk_trouble(<variable> <Qt's version> <macOS SDK's version>)
# Why this pair cannot build, or "". An SDK has the version of its Xcode since 26.
function(quillmere_sdk_trouble result qt_version sdk_version)
    set(trouble "")
    if(sdk_version VERSION_GREATER_EQUAL 26
            AND (qt_version VERSION_LESS 6.8.4
                OR (qt_version VERSION_GREATER_EQUAL 6.9 AND qt_version VERSION_LESS 6.9.2)))
        set(trouble "links the framework AGL, which this SDK lacks")
    elseif(sdk_version VERSION_GREATER_EQUAL 26.4
            AND qt_version VERSION_GREATER_EQUAL 6.7 AND qt_version VERSION_LESS 6.11.1)
        set(trouble "has a header (qyieldcpu.h) that does not compile with it for Apple's processors")
    endif()
    set(${result} "${trouble}" PARENT_SCOPE)
endfunction()

# Checks the SDK, and sets the deployment target where it is not set. To be called once Qt is found,
# before the targets.
function(quillmere_set_up_macos)
    option(QUILLMERE_CHECK_XCODE "Refuse an Xcode that this Qt is known not to build with" ON)
    if(QUILLMERE_CHECK_XCODE)
        execute_process(COMMAND xcrun --sdk macosx --show-sdk-version
            OUTPUT_VARIABLE sdk_version OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
        quillmere_sdk_trouble(trouble "${Qt6_VERSION}" "${sdk_version}")
        if(trouble)
            # The leading blank keeps CMake from breaking the line.
            message(FATAL_ERROR " Qt ${Qt6_VERSION} does not build with the macOS SDK "
                "${sdk_version}: it ${trouble}. Choose an Xcode before 26 by DEVELOPER_DIR, or "
                "Qt 6.11.1 or later.")
        endif()
    endif()

    quillmere_least_macos(least "${Qt6_VERSION}" "${QT_SUPPORTED_MIN_MACOS_VERSION}")
    if(NOT CMAKE_OSX_DEPLOYMENT_TARGET)
        set(CMAKE_OSX_DEPLOYMENT_TARGET ${least} PARENT_SCOPE)
    elseif(CMAKE_OSX_DEPLOYMENT_TARGET VERSION_LESS least)
        message(FATAL_ERROR " CMAKE_OSX_DEPLOYMENT_TARGET is ${CMAKE_OSX_DEPLOYMENT_TARGET}, but "
            "with Qt ${Qt6_VERSION} Quillmere needs macOS ${least}.")
    endif()
endfunction()
