# Repeated builds of unchanged files come out of ccache where it is installed.
find_program(QUILLORN_CCACHE ccache)
if(QUILLORN_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${QUILLORN_CCACHE})
endif()
