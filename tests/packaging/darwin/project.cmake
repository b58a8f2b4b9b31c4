# What a Mac has besides its compiler; read after project().
# A plain link line: this machine's linker knows none of Apple's options.
set(CMAKE_CXX_LINK_EXECUTABLE
    "<CMAKE_CXX_COMPILER> <FLAGS> <OBJECTS> -o <TARGET> <LINK_LIBRARIES>")
set(CMAKE_CXX_OSX_COMPATIBILITY_VERSION_FLAG "")
set(CMAKE_CXX_OSX_CURRENT_VERSION_FLAG "")
# The deployment target is told to the compiler, which does not know what to do with it here.
string(APPEND CMAKE_CXX_FLAGS " -Wno-unused-command-line-argument")
# Qt Gui's, which on a Mac is a framework.
if(NOT TARGET WrapOpenGL::WrapOpenGL)
    add_library(WrapOpenGL::WrapOpenGL INTERFACE IMPORTED GLOBAL)
endif()
