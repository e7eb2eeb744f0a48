changecom(`#')dnl
define(`r_file_perms', `{ getattr open read ioctl lock map }')dnl
define(`w_file_perms', `{ open append write lock map }')dnl
define(`rx_file_perms', `{ getattr open read ioctl lock map execute execute_no_trans }')dnl
define(`rw_file_perms', `{ getattr open read ioctl lock map append write }')dnl
define(`create_file_perms', `{ create rename setattr unlink getattr open read ioctl lock map append write }')dnl
define(`r_dir_perms', `{ open getattr read search ioctl lock }')dnl
define(`rw_dir_perms', `{ open getattr read search ioctl lock add_name remove_name write }')dnl
define(`create_dir_perms', `{ create reparent rename rmdir setattr open getattr read search ioctl lock add_name remove_name write }')dnl
define(`create_socket_perms_no_ioctl', `{ create read getattr write setattr lock append bind connect getopt setopt shutdown }')dnl
define(`r_dir_file', `allow $1 $2:dir r_dir_perms; allow $1 $2:{ file lnk_file } r_file_perms;')dnl
define(`init_daemon_domain', `allow init $1_exec:file { getattr open read execute };
allow init $1:process transition;
allow $1 $1_exec:file { entrypoint open read execute getattr map };
dontaudit init $1:process noatsecure;
allow init $1:process { siginh rlimitinh };
type_transition init $1_exec:process $1;')dnl
define(`create_pty', `type $1_devpts, fs_type;
type_transition $1 devpts:chr_file $1_devpts;
allow $1 devpts:dir search;
allow $1 ptmx_device:chr_file rw_file_perms;
allow $1 $1_devpts:chr_file { open getattr read write ioctl };
allowxperm $1 $1_devpts:chr_file ioctl unpriv_tty_ioctls;
neverallowxperm * $1_devpts:chr_file ioctl 0x5412;')dnl
define(`unpriv_tty_ioctls', `{ 0x5401-0x5404 0x5411 0x5413-0x5414 0x5450-0x5451 }')dnl
define(`set_prop', `allow $1 $2:property_service set; get_prop($1, $2)')dnl
define(`get_prop', `allow $1 $2:file { getattr open read map };')dnl
define(`system_internal_prop', `type $1, property_type, system_property_type, system_internal_property_type;')dnl
define(`system_restricted_prop', `type $1, property_type, system_property_type, system_restricted_property_type;')dnl
