// -check: reads a product's description files, and the templates its copy
// script names, as the runs read them, and reports the mistakes that would
// otherwise pass in silence. Nothing is written, not even the log.
#ifndef INSTALLER_INSTALLER_CHECK_H_
#define INSTALLER_INSTALLER_CHECK_H_

#include <string>
#include <vector>

#include "ini/ini.h"

namespace inst {

// One mistake found in a description file or template.
struct Finding {
  std::string file;   // as shown: relative to the working directory
  int line = 0;       // from 1; 0 for the file as a whole
  bool error = true;  // else a warning
  std::string text;
};

// Checks the description files of the product in the working directory,
// named after myname (.dat, .int, .q, .cpy), every section of the question
// file and the copy script, and the templates that Ini commands take from
// the product's directory. The data file is loaded into `store`, which
// holds its defaults afterwards; nothing runs, no probe and no command.
// Returns the findings grouped by file in that order, templates last, each
// file's by line.
//   Errors: a file that cannot be read; what the loaders reject or keep
//   without meaning (an unknown keyword or question type, a line with too
//   few words); a Loop whose target is not a question of its section; a
//   removal whose source starts with a reference to a setting without a
//   default, or that removes straight from "/" or takes what a pattern
//   matches from a top-level system directory; a copy source or template
//   in the product's directory that is not there; a section in one of the
//   question file and copy script but not in the other.
//   Warnings: a reference to a setting that nothing sets (no declaration,
//   probe, question or command); a default of "b" or "q" for an asked
//   question; a Loop whose setting no question it repeats can change; an
//   Error whose setting nothing changes (neither its section nor a probe);
//   a control that names a setting nothing sets; a line too long for the
//   reader; a setting declared twice.
std::vector<Finding> check_files(Ini* store);
// Runs check_files() and prints every finding as "FILE:LINE: error: TEXT"
// or "FILE:LINE: warning: TEXT" ("FILE: ..." for a whole file), then the
// counts, as "2 errors, 1 warning". Returns 1 when there was an error, else
// 0.
int check_product(Ini* store);

}  // namespace inst

#endif  // INSTALLER_INSTALLER_CHECK_H_
