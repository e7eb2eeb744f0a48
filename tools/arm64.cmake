set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(foreign_name arm64)
set(foreign_prefix aarch64-linux-gnu)
set(foreign_emulator qemu-aarch64)
# As a phone's build has it: with pages of 64 KiB, a quarter of the file would be padding.
set(CMAKE_EXE_LINKER_FLAGS_INIT -Wl,-z,max-page-size=4096)
include(${CMAKE_CURRENT_LIST_DIR}/foreign.cmake)
