// The product data file: declares every setting the installer knows, with
// its default, behind four built-in settings describing the machine and the
// run.
#ifndef INSTALLER_INI_SHARED_H_
#define INSTALLER_INI_SHARED_H_

#include <cstdint>
#include <vector>

#include "ini/ini.h"
#include "lib/lines.h"

namespace inst {

// The declaration table read by load_datfile(): rows "host", "system_dir",
// "current_dir" and "action" first, then the file's settings in file order,
// ended by a row whose `setting` is null. The table and its texts are owned
// by this module's containers; this points into them and owns nothing.
// Null outside load_datfile() .. clear_datfile().
extern SettingList* _settings;

// Reads the data file `file` into `_settings`, declares the table in `ini`
// (defaults become first values) and expands the references among the
// values. Returns 1 when the file was read; 0 for a null argument or a file
// that cannot be opened (logged; nothing is declared then).
int load_datfile(Ini* ini, const char* file);
// Releases `_settings` with every text in it and sets it to null.
void clear_datfile();
// The line of the data file that declared row `row` of `_settings`, from 1;
// 0 for the four built-in rows and for a row that is not in the table.
int datfile_line(int row);
// What the last load_datfile() met: the tails of lines longer than a piece,
// read as lines of their own. Kept until the next load.
const std::vector<Problem>& datfile_problems();

}  // namespace inst

#endif  // INSTALLER_INI_SHARED_H_
