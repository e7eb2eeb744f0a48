# A toolchain of Debian's cross compilers, for a file of its own that has set the processor, the compilers' prefix and
# Debian's name of the architecture: what the programs need stands in a folder that tools/foreign-root has filled.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${foreign_prefix}-gcc)
set(CMAKE_CXX_COMPILER ${foreign_prefix}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${foreign_prefix})
get_filename_component(foreign_root ${CMAKE_CURRENT_LIST_DIR}/../build/${foreign_name}/root ABSOLUTE)
set(CMAKE_SYSROOT ${foreign_root})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# The emulator does not look under the root for every call by which folders of libraries are found; so they are named.
set(foreign_libraries ${foreign_root}/usr/lib/${foreign_prefix})
set(CMAKE_CROSSCOMPILING_EMULATOR ${foreign_emulator} -L ${foreign_root}
  -E LD_LIBRARY_PATH=${foreign_libraries}/android:${foreign_libraries}:${foreign_root}/lib/${foreign_prefix})
