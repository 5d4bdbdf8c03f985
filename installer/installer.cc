#include "installer/installer.h"

#include <cstring>

#include "lib/paths.h"
#include "lib/strings.h"

namespace inst {

char* myname = nullptr;
char* special_mode = nullptr;
int automate = 0;
int check_only = 0;
int plan_only = 0;

bool description_file(char (&path)[kPathSize], const char* ext) {
  char full[2 * kPathSize] = "";
  if (currentdir(full, kPathSize) == nullptr) full[0] = '\0';
  attach_path(full, str(myname), sizeof full);
  attach_ext(full, ext, sizeof full);
  return scpy(path, full, kPathSize) == static_cast<int>(std::strlen(full));
}

}  // namespace inst
