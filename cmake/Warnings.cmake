# Every target of ours links quillorn_warnings; a warning is an error.
add_library(quillorn_warnings INTERFACE)
target_compile_options(quillorn_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Werror
    -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wnon-virtual-dtor
    -Woverloaded-virtual -Wcast-align -Wformat=2 -Wnull-dereference -Wimplicit-fallthrough)

# g++ 12 reports overlapping copies inside std::string's own operator+ where there
# are none, as soon as it optimises ("text" + std::string).
target_compile_options(quillorn_warnings INTERFACE
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)

# clang needs a hand with one header of libqpdf; cmake/clang/qpdf/JSON.hh tells why.
target_include_directories(quillorn_warnings SYSTEM INTERFACE
    $<$<CXX_COMPILER_ID:Clang>:${PROJECT_SOURCE_DIR}/cmake/clang>)
