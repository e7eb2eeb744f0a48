set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(foreign_name armhf)
set(foreign_prefix arm-linux-gnueabihf)
set(foreign_emulator qemu-arm)
# Without these a thread that leaves from a function of the service ends the C library's unwinding here, and the tests'
# own objects on its stack stay. A phone's C library unwinds nothing at all.
set(CMAKE_CXX_FLAGS_INIT "-funwind-tables -Wno-psabi")  # g++ notes what other releases of it did
include(${CMAKE_CURRENT_LIST_DIR}/foreign.cmake)
