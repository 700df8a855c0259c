# ORVA_SANITIZE: a list for -fsanitize=, such as "address,undefined" or "thread", for the whole tree.
set(ORVA_SANITIZE "" CACHE STRING "Sanitizers for the whole tree, as -fsanitize= takes them")
option(ORVA_FUZZ "Build the fuzz targets (clang only)" OFF)
if(ORVA_SANITIZE)
    add_compile_options(-fsanitize=${ORVA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${ORVA_SANITIZE})
    if(ORVA_SANITIZE MATCHES undefined)
        # The product has no RTTI, which that one check reads of every object.
        add_compile_options(-fno-sanitize=vptr)
    endif()
endif()
# Each fuzz target is a program NAME_fuzz; `fuzzers` builds them all.
if(ORVA_FUZZ)
    add_custom_target(fuzzers)
    add_compile_options(-fsanitize=fuzzer-no-link)
    add_link_options(-fsanitize=fuzzer-no-link)
endif()
