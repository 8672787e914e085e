# quillorn_fuzz_target(NAME source... LIBS library...): the program fuzz-NAME
# around libFuzzer. Its committed seeds lie in fuzz/seeds/NAME, at least one;
# ./test fuzz runs every bin/fuzz-* with them.
function(quillorn_fuzz_target name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LIBS")
    add_executable(fuzz-${name} ${arg_UNPARSED_ARGUMENTS})
    target_link_libraries(fuzz-${name} PRIVATE ${arg_LIBS} quillorn_warnings)
    target_link_options(fuzz-${name} PRIVATE -fsanitize=fuzzer)
    file(GLOB seeds ${PROJECT_SOURCE_DIR}/fuzz/seeds/${name}/*)
    if(NOT seeds)
        message(FATAL_ERROR "fuzz-${name} has no seeds in fuzz/seeds/${name}")
    endif()
endfunction()
