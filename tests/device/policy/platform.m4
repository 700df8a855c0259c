divert(-1)
# As much of the platform's policy as ours speaks of: its macros, in the sense that they have there.
define(`binder_call', `allow $1 $2:binder { call transfer };
allow $2 $1:binder transfer;
allow $1 $2:fd use;')
define(`add_hwservice', `allow $1 $2:hwservice_manager { add find };
allow $1 hidl_base_hwservice:hwservice_manager add;
neverallow { domain -$1 } $2:hwservice_manager add;')
define(`hal_attribute', `attribute hal_$1;
attribute hal_$1_client;
attribute hal_$1_server;
neverallow { hal_$1_server -halserverdomain } domain:process fork;')
define(`hal_server_domain', `typeattribute $1 halserverdomain;
typeattribute $1 $2_server;
typeattribute $1 $2;')
define(`hal_client_domain', `typeattribute $1 halclientdomain;
typeattribute $1 $2_client;
typeattribute $1 $2;')
define(`init_daemon_domain', `allow init $1_exec:file { getattr open read execute map };
allow init $1:process transition;
allow $1 $1_exec:file { entrypoint open read execute getattr map };
type_transition init $1_exec:process $1;')
define(`r_file_perms', `{ getattr open read ioctl lock map }')
divert
class binder
class chr_file
class fd
class file
class hwservice_manager
class process
class rawip_socket
class tcp_socket
class udp_socket
sid kernel
class binder { impersonate call set_context_mgr transfer }
class chr_file { getattr open read write ioctl lock map }
class fd { use }
class file { getattr open read write ioctl lock map execute entrypoint create }
class hwservice_manager { add find list }
class process { fork transition signal signull sigkill }
class rawip_socket { create }
class tcp_socket { create connect }
class udp_socket { create connect }
attribute data_file_type;
attribute domain;
attribute exec_type;
attribute file_type;
attribute halclientdomain;
attribute halserverdomain;
attribute hwservice_manager_type;
attribute vendor_file_type;
type init, domain;
type ion_device;
type app_data_file, file_type, data_file_type;
type hidl_base_hwservice, hwservice_manager_type;
