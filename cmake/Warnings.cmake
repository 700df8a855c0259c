# orva_warnings: what every target of ours is compiled with. Generated code is exempt.
add_library(orva_warnings INTERFACE)
target_compile_options(orva_warnings INTERFACE -Wall -Wextra -Werror)
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
    target_compile_options(orva_warnings INTERFACE -Wthread-safety)
endif()
if(ORVA_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # What the sanitizers put in keeps g++ 12 from seeing that std::regex and its like are initialised.
    target_compile_options(orva_warnings INTERFACE -Wno-maybe-uninitialized)
endif()
