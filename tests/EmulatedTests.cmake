# Tests that cannot run where what is built runs in an emulator (the aarch64 preset, qemu-user), each
# with its reason. CTest reads this in the build folder.
set(CTEST_CUSTOM_TESTS_IGNORE
    # Starts itself again, which the machine's own kernel refuses.
    ReturnDeathTest.AFailureIgnoredOrUsedEndsTheProcess

    # The handler reads /proc/self/maps through a descriptor opened beforehand, of which qemu makes a
    # copy when it is opened.
    ShrunkenRegions.WhatIsGoneReadsAsZerosAndTheRestStays
    ShrunkenRegions.OfManyThreadsAtATime
    ShrunkenRegions.InAForkedProcessAsWell

    # Counts the server's threads, and qemu has one of its own.
    Services.AreServedByOneThreadThatPollsForCalls

    # An ioctl that qemu does not know never reaches the kernel, whose answer this is about.
    DmaHeapBackend.SaysWhatTheKernelSays

    # Looks for the number of a system call in /proc, where it is the machine's.
    ClientDeaths.KilledAtEachStep

    # Builds strangers' programs, as they would on a machine of that kind.
    Installed.examples
)
