# The program reads files from anywhere: cheap defences are on in every build.
# Sanitizer builds bring their own checks and clash with _FORTIFY_SOURCE.
add_compile_options(-fstack-protector-strong)
add_link_options(-Wl,-z,relro,-z,now)
add_compile_definitions(_GLIBCXX_ASSERTIONS)
if(CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo)$" AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    add_compile_definitions(_FORTIFY_SOURCE=2)
endif()
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    # For what sanitizers do not go with: limits of memory, confinement, signals of one's own.
    add_compile_definitions(QUILLORN_SANITIZERS)
endif()
