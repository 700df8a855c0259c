# Mends what hidl-gen 10 writes and today's compilers refuse.
# g++ has no temporary arrays.
s/\(uint8_t\[32\]\)\{([0-9,]*)\}/std::array<uint8_t, 32>{{\1}}.data()/
# clang gives each translation unit its own, and the linker then finds many.
s/^template<> constexpr std::array/template<> inline constexpr std::array/
# IBase is frozen here with the hash of our text, and on devices with that of theirs, which is what
# getHashChain answers there.
s|\{[0-9,]+\}(\}\.data\(\) /\* )0dc87659868f1c1609c4b363c0e289797af24a2c9db8b666f1f12cf97bfefa78|{236,127,215,158,208,45,250,133,188,73,148,38,173,174,62,190,35,239,5,36,243,205,105,87,19,147,36,184,59,24,202,76}\1ec7fd79ed02dfa85bc499426adae3ebe23ef0524f3cd6957139324b83b18ca4c|
