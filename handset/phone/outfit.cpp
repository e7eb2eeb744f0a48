#include "handset/phone/outfit.h"

#include "handset/hardware/hardware.h"
#include "handset/sandbox/tree.h"
#include "handset/wire/files.h"

namespace handset {

namespace fs = std::filesystem;

namespace {

constexpr const char* USB_STATE = "/sys/class/android_usb/android0/state";

struct place {
  const char* program_folder;
  const char* config_folder;
};
constexpr place SIMPLIFIED = {"/phone/bin", "/phone/bin"};
constexpr place SYSTEM = {"/system/bin", "/system/etc"};

const place& place_of(const phone_options& options) {
  return options.mode == run_mode::simplified ? SIMPLIFIED : SYSTEM;
}

fs::path service_in(const place& where) {
  return fs::path(where.program_folder) / SERVICE_NAME;
}

fs::path config_in(const place& where) {
  return fs::path(where.config_folder) / (std::string(SERVICE_NAME) + ".cfg");
}

void install_board_library(const phone_options& options, const phone_tree& tree) {
  if (options.board == board_library::absent) return;
  const fs::path folder = program_folder().parent_path() / "lib/board";
  const fs::path library = options.board == board_library::empty ? "amt.empty.misc.so" : "amt.vx5210.misc.so";
  const fs::path target = tree.host_path("/system/lib64/hw");
  fs::create_directories(target);
  std::error_code missing;  // a program copied out of its build tree may have no libraries beside it
  fs::copy_file(folder / library, target / "amt.vx5210.misc.so", missing);
}

void add(std::vector<bind_mount>& binds, const std::vector<bind_mount>& more) {
  binds.insert(binds.end(), more.begin(), more.end());
}

}  // namespace

fs::path service_path_of(const phone_options& options) {
  return service_in(place_of(options));
}

fs::path config_path_of(const phone_options& options) {
  return config_in(place_of(options));
}

void fit_out(const phone_options& options, const phone_tree& tree, hardware& parts) {
  install_board_library(options, tree);
  write_whole_file(tree.host_path(USB_STATE), "CONFIGURED\n");
  const std::string config = options.config.value_or(default_config(options));
  for (const auto& where : {SIMPLIFIED, SYSTEM}) {
    if (options.has_config) write_whole_file(tree.host_path(config_in(where)), config);
  }
  for (const auto& [name, value] : options.properties) {
    write_whole_file(tree.host_path(PROPERTIES) / name, value);
  }
  if (options.has_hardware) parts.install();
  if (options.screen) make_devices(tree.host_path(DEVICES), *options.screen);
  for (const auto& [path, content] : options.files) write_whole_file(tree.host_path(path), content);
}

std::vector<bind_mount> binds_of(const phone_options& options, const phone_tree& tree, const hardware& parts) {
  std::vector<bind_mount> binds = options.binds;
  if (options.screen) add(binds, device_binds(tree.host_path(DEVICES)));
  if (options.has_hardware) add(binds, parts.binds());
  std::error_code ignored;
  if (!fs::is_regular_file(options.service, ignored)) return binds;
  const fs::path binary = fs::canonical(options.service);
  // The libraries that the service loads by name lie beside its folder, on the host as in the phone.
  const fs::path libraries = binary.parent_path().parent_path() / "lib";
  for (const auto& where : {SIMPLIFIED, SYSTEM}) {
    const fs::path inside = service_in(where);
    binds.push_back({binary, inside});
    if (fs::is_directory(libraries, ignored)) binds.push_back({libraries, inside.parent_path().parent_path() / "lib"});
  }
  return binds;
}

}  // namespace handset
