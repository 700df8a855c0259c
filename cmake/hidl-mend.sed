# Mends what hidl-gen 10 writes and today's compilers refuse.
# g++ has no temporary arrays.
s/\(uint8_t\[32\]\)\{([0-9,]*)\}/std::array<uint8_t, 32>{{\1}}.data()/
# clang gives each translation unit its own, and the linker then finds many.
s/^template<> constexpr std::array/template<> inline constexpr std::array/
