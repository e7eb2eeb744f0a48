// What a phone gets before anything runs in it: the files of its tree, and the host's files that it sees.
#pragma once

#include <filesystem>
#include <vector>

#include "handset/phone/options.h"

namespace handset {

class hardware;
class phone_tree;

// The name of the service's binary.
inline constexpr const char* SERVICE_NAME = "vx-kro-amt";
// Folders of the phone.
inline constexpr const char* PROPERTIES = "/data/property";
inline constexpr const char* DEVICES = "/handset/devices";

// The service's argv[0] in the phone and the configuration file that it reads, in its mode. Both places have both: the
// phone may go on in another mode.
std::filesystem::path service_path_of(const phone_options& options);
std::filesystem::path config_path_of(const phone_options& options);

// Board library, configuration, properties, hardware, devices; then the options' own files.
void fit_out(const phone_options& options, const phone_tree& tree, hardware& parts);
// The options' own binds, devices, the service and the libraries that it loads.
std::vector<bind_mount> binds_of(const phone_options& options, const phone_tree& tree, const hardware& parts);

}  // namespace handset
