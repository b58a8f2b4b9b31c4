# This machine's clang in the part of a Mac's: enough for CMake to lay out a Mac application, whose
# program is one for this machine.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 21.0.0)
set(CMAKE_SYSTEM_PROCESSOR ${CMAKE_HOST_SYSTEM_PROCESSOR})
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
# This machine's libraries are to be found, under its own names for them.
set(CMAKE_LIBRARY_ARCHITECTURE ${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu)
