// The product data file: declares every setting the installer knows, with
// its default, behind four built-in settings describing the machine and the
// run; and the host-name lookup those built-ins use.
#ifndef INSTALLER_INI_SHARED_H_
#define INSTALLER_INI_SHARED_H_

#include <cstdint>

#include "ini/ini.h"

namespace inst {

// The declaration table read by load_datfile(): rows "host", "system_dir",
// "current_dir" and "action" first, then the file's settings in file order,
// ended by a row whose `setting` is null. Every text in it is a new[] copy
// owned by this module. Null outside load_datfile() .. clear_datfile().
extern SettingList* _settings;

// Reads the data file `file` into `_settings`, declares the table in `ini`
// (defaults become first values) and expands the references among the
// values. Returns 1 when the file was read; 0 for a null argument or a file
// that cannot be opened (logged; nothing is declared then).
int load_datfile(Ini* ini, const char* file);
// Releases `_settings` with every text in it and sets it to null.
void clear_datfile();
// The number of rows allocated for `_settings` (10 at first, 5 more each
// time the filled rows reach it, one more for the terminator when the table
// ends exactly full); 0 when there is no table.
int32_t datfile_capacity();

// Fills `name` (`size` bytes) with the machine's host name and returns it.
// When the system cannot give it (logged), "127.0.0.1" cut to size-1
// characters is used instead.
char* tcp_hostname(char* name, int size);

}  // namespace inst

#endif  // INSTALLER_INI_SHARED_H_
