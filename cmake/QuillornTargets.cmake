# quillorn_library(NAME sources...): one static library for one folder, with
# the include root at the top of the tree ("platform/pdf/PDFDocument.h").
function(quillorn_library name)
    add_library(${name} STATIC ${ARGN})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE quillorn_warnings)
endfunction()

# quillorn_compact(target...): code that waits for files and other processes more than it computes.
# A release compiles it for size: a short command's memory is for a good part its own program.
function(quillorn_compact)
    foreach(target ${ARGN})
        target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-Os>)
    endforeach()
endfunction()
