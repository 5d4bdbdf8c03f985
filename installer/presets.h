// Values for settings given on the command line, -set NAME=VALUE and
// -answers FILE, that go into the settings store ahead of the questions.
#ifndef INSTALLER_INSTALLER_PRESETS_H_
#define INSTALLER_INSTALLER_PRESETS_H_

#include <string>
#include <vector>

#include "ini/ini.h"

namespace inst {

// Adds the preset of one -set option; the value may be empty.
void preset_set(const char* name, const char* value);
// Adds an answers file, read at the first apply_presets(). It has the data
// file's form: a name, then the value (the rest of the line, possibly
// empty); blank lines and lines starting with '#' are skipped. References
// $(name) in the values are expanded as the data file's are, against the
// file's own names first and then the store's settings.
void preset_answers(const char* file);

// Sets every preset into the store, the answers files in order first and
// then the -set values in order, so that later ones win over earlier ones and
// -set over the files; a preset setting holds its preset value alone. Called
// after the data file loads and again after the probes, so that the probes
// see the presets and cannot replace them. Returns 1 when every preset was
// stored; 0 when an answers file cannot be read or the store refuses a
// preset (a fixed setting, or an empty value for a setting that takes
// none), each printed as "Error: ..." and logged, after storing the others.
int apply_presets(Ini* ini);
// The settings the store took a preset for, each once, in order.
const std::vector<std::string>& preset_names();
// Forgets every preset and answers file.
void presets_clear();

}  // namespace inst

#endif  // INSTALLER_INSTALLER_PRESETS_H_
