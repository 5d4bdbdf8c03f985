// The probes of the machine, run once before the menu: they write what they
// find into the settings store.
#ifndef INSTALLER_INSTALLER_PROBES_H_
#define INSTALLER_INSTALLER_PROBES_H_

#include <string>

#include "ini/ini.h"
#include "init/init.h"

namespace inst {

// Asks for web server items; init_find_http_conf() is the one the program
// uses.
using HttpFinder = int (*)(char* user, char* group, char* root, char* scripts, char* errmsg);
// Runs every probe of `probes` in file order into the store; no probe's
// failure stops the others. A probe with a compare text runs only when that
// text equals, exactly, the value of the control setting, or the control's
// own name when that setting has no value. Without a control ("-") a compare
// text that is a true word runs the probe and any other skips it.
//   Exist    b = "true" or "false": whether the path a (references expanded,
//            255 characters at most) exists as a file or a directory.
//   Copy     a = the value of setting b, or the text b when it has none.
//   HTTP_*   a = the web server item `find` gives; when it fails, "ERROR: %s"
//            with the reason is printed and b = "true".
//   TimeDate b = the local time formatted by strftime with the value of
//            setting a, cut to 999 characters (a field too wide to format
//            in a MiB gives the empty text); logs "TimeDate '%s' is NULL"
//            when setting a has no value.
//   WFile    writes the value of setting b (or the text b) to the path a,
//            creating or replacing it all or nothing (see Replacement); logs
//            "Failed to write (%s), %s" when the file cannot be written, and
//            then leaves it as it was.
//   RFile    b = the whole content of the file at path a, line ends
//            included (a NUL byte ends the value, as it ends any text); an
//            empty file leaves b as it was; logs "Failed to read (%s), %s"
//            when the file cannot be opened or read (a directory, say).
// Settings are written with ini_add_name(), whose rules may refuse a value.
void evaluate_probes(Ini* ini, Init* probes, HttpFinder find = init_find_http_conf);
// Whether the probe's condition lets it run, as evaluate_probes decides;
// false for a null probe.
bool probe_applies(Ini* ini, const IItem* probe);
// Runs one probe into the store as evaluate_probes does, whatever its
// condition says. A web server probe that fails prints its "ERROR: %s" line,
// or, when `failure` is given, leaves the reason there instead.
void run_probe(Ini* ini, const IItem* probe, HttpFinder find, std::string* failure = nullptr);
// Loads the probe file at `path` and evaluates it into the store. Returns 1;
// 0 when the file cannot be loaded, after printing "Error: Failed to load
// init file '%s', %s" with the path and init_error().
int load_probes(Ini* ini, const char* path);

}  // namespace inst

#endif  // INSTALLER_INSTALLER_PROBES_H_
