# quillorn_library(NAME sources...): one static library for one folder, with
# the include root at the top of the tree ("platform/pdf/PDFDocument.h").
function(quillorn_library name)
    add_library(${name} STATIC ${ARGN})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE quillorn_warnings)
endfunction()
