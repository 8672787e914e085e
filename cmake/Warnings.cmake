# Every target of ours links quillorn_warnings; a warning is an error.
add_library(quillorn_warnings INTERFACE)
target_compile_options(quillorn_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Werror
    -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wnon-virtual-dtor
    -Woverloaded-virtual -Wcast-align -Wformat=2 -Wnull-dereference -Wimplicit-fallthrough)
