# A request makes some hundred calls of small functions, most from library to library. A stub on the
# way of each is one more cache line of code to fetch, which a request's time shows.
add_compile_options($<$<CONFIG:Release>:-fno-plt>)

# orva_direct_calls: for a library whose own functions nobody replaces, so that it calls them without
# a look at its table of symbols.
add_library(orva_direct_calls INTERFACE)
target_compile_options(orva_direct_calls INTERFACE -fno-semantic-interposition)
target_link_options(orva_direct_calls INTERFACE LINKER:-Bsymbolic-functions)
