// The machine's host name, the one piece of the network layer the installer
// uses.
#ifndef INSTALLER_LIB_HOST_H_
#define INSTALLER_LIB_HOST_H_

namespace inst {

// Fills `name` (`size` bytes) with the machine's host name and returns it.
// When the system cannot give it (logged as "Gethostname failed, %s"),
// "127.0.0.1" cut to size-1 characters is used instead. Returns name as it
// is for a null name or a size below 1.
char* tcp_hostname(char* name, int size);

}  // namespace inst

#endif  // INSTALLER_LIB_HOST_H_
