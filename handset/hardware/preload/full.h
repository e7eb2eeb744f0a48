// A file system that is full: the files and folders of the list "full". What is opened there for writing is emptied or
// made, as on a disk, and then takes no byte. A file that is opened for changes in place stays as it is: its blocks are
// there already.
#pragma once

namespace preload {

bool is_full(const char* path);

// Never takes a byte (ENOSPC).
inline constexpr char FULL_DEVICE[] = "/dev/full";

}  // namespace preload
